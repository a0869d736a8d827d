#include "../../facet/AllocationCounter.hpp"
#include "LogCapture.hpp"
#include "TestNode.hpp"

#include <doctest/doctest.h>

#include <string>

using CascaraTest::restyledBy;
using CascaraTest::StyleFixture;
using CascaraTest::TestNode;
using TestSupport::expectWarning;

namespace
{
const char* const kGrow = "@keyframes grow { from { width: 0 } to { width: 100 } } ";

/// A tree whose root is `:root`, with a node n of type N below it.
struct AnimationFixture : StyleFixture
{
    explicit AnimationFixture(const std::string& css = std::string(kGrow) + ".go { animation: grow 1s linear }")
    {
        add("", "Root", "root").setPseudoClass("root", true);
        sheet(css.c_str());
        add("root", "N", "n");
        frame();
    }
    TestNode& n() { return (*this)["n"]; }
    void frame(double seconds = 0.0)
    {
        engine.advance(seconds);
        engine.beginAnimations();
    }
};
}

TEST_CASE("running animations: values go through the keyframes in frame time, and the value at rest comes back")
{
    AnimationFixture fixture;
    TestNode& n = fixture.n();
    fixture.sheet("N { width: 7 }");
    n.addCSSClass("go");
    CHECK(n.width == 7.f);
    CHECK(fixture.engine.isMoving());
    fixture.engine.beginAnimations();
    CHECK(n.width == 0.f);
    fixture.frame(0.25);
    CHECK(n.width == 25.f);
    fixture.frame(0.5);
    CHECK(n.width == 75.f);
    CHECK(fixture.engine.isMoving());
    fixture.frame(0.25);
    CHECK(n.width == 7.f);
    CHECK_FALSE(fixture.engine.isMoving());
    n.removeCSSClass("go");
    CHECK(n.width == 7.f);
}

TEST_CASE("running animations: the default at rest needs no style value when they end")
{
    AnimationFixture fixture;
    TestNode& n = fixture.n();
    n.addCSSClass("go");
    fixture.frame();
    CHECK(n.width.hasValue(Facet::kStyleLayer));
    fixture.frame(1.0);
    CHECK(n.width == 0.f);
    CHECK_FALSE(n.width.hasValue(Facet::kStyleLayer));
}

TEST_CASE("running animations: the same value comes of any partition of time")
{
    for (const int parts : {1, 3, 64, 1000}) {
        CAPTURE(parts);
        AnimationFixture fixture(std::string(kGrow) + ".go { animation: grow 1s linear 0.25s 3 alternate }");
        fixture.n().addCSSClass("go");
        fixture.frame();
        for (int i = 0; i < parts; ++i)
            fixture.frame(1.5 / parts);
        CHECK(fixture.n().width == doctest::Approx(75.0)); // a quarter of the way back
        for (int i = 0; i < parts; ++i)
            fixture.frame(1.75 / parts);
        CHECK(fixture.n().width == 0.f);
        CHECK_FALSE(fixture.engine.isMoving());
    }
}

TEST_CASE("running animations: one that is removed ends at once, and one that is named again begins anew")
{
    AnimationFixture fixture;
    TestNode& n = fixture.n();
    n.addCSSClass("go");
    fixture.frame();
    fixture.frame(0.5);
    CHECK(n.width == 50.f);
    n.removeCSSClass("go");
    CHECK(n.width == 0.f);
    CHECK_FALSE(n.width.hasValue(Facet::kStyleLayer));
    CHECK_FALSE(fixture.engine.isMoving());
    n.addCSSClass("go");
    fixture.frame();
    fixture.frame(0.25);
    CHECK(n.width == 25.f);
}

TEST_CASE("running animations: one begins when its node enters the tree, and again when it comes back")
{
    AnimationFixture fixture(std::string(kGrow) + "M { animation: grow 1s linear both }");
    auto& group = fixture.add("", "Group", "group");
    auto& made = fixture.add("group", "M", "made");
    fixture.frame();
    fixture.frame(5.0);
    CHECK(made.width == 0.f);
    CHECK_FALSE(fixture.engine.isMoving()); // waits for the tree without frames
    CHECK_FALSE(made.width.hasValue(Facet::kStyleLayer));
    group.setStyleParent(&fixture["root"]);
    CHECK(fixture.engine.isMoving());
    fixture.frame();
    fixture.frame(0.5);
    CHECK(made.width == 50.f);
    group.setStyleParent(nullptr);
    CHECK(made.width == 0.f);
    fixture.frame(0.25);
    CHECK(made.width == 0.f);
    group.setStyleParent(&fixture["root"]);
    fixture.frame(0.1);
    CHECK(made.width == 0.f);
    fixture.frame(0.25);
    CHECK(made.width == 25.f);
}

TEST_CASE("running animations: until the end of the frame in which a node comes all is at rest")
{
    AnimationFixture fixture(std::string(kGrow) + "M { width: 80; animation: grow 1s linear }");
    auto& made = fixture.add("root", "M", "made");
    CHECK(made.width == 80.f);
    fixture.engine.beginAnimations();
    CHECK(made.width == 0.f); // what the first picture shows
}

TEST_CASE("running animations: a sheet that is loaded moves nothing that stands already")
{
    AnimationFixture fixture(kGrow);
    fixture.sheet("N { animation: grow 1s linear both }");
    fixture.frame();
    fixture.frame(0.5);
    CHECK(fixture.n().width == 0.f);
    CHECK_FALSE(fixture.engine.isMoving());
    CHECK_FALSE(fixture.n().width.hasValue(Facet::kStyleLayer));
    auto& made = fixture.add("root", "N", "made");
    fixture.frame();
    fixture.frame(0.5);
    CHECK(made.width == 50.f);
    // One that is under way goes on by the keyframes that hold now.
    fixture.sheet("@keyframes grow { from { width: 0 } to { width: 10 } }");
    fixture.frame();
    CHECK(made.width == 5.f);
    fixture.frame(0.25);
    CHECK(made.width == 7.5f);
    fixture.engine.clearStyleSheets();
    CHECK(made.width == 0.f);
    CHECK_FALSE(fixture.engine.isMoving());
}

TEST_CASE("running animations: what rules say meanwhile is the value at rest, and moves nothing")
{
    AnimationFixture fixture("@keyframes away { to { width: 100 } } .go { animation: away 1s linear } "
                             "N { width: 20; transition: width 1s linear } .wide { width: 60 }");
    TestNode& n = fixture.n();
    n.addCSSClass("go");
    fixture.frame();
    CHECK(n.width == 20.f);
    fixture.frame(0.5);
    CHECK(n.width == 60.f);
    n.addCSSClass("wide"); // where the way begins
    CHECK(n.width == 80.f);
    fixture.frame(0.25);
    CHECK(n.width == 90.f);
    fixture.frame(0.25);
    CHECK(n.width == 60.f);
    CHECK_FALSE(fixture.engine.isMoving());
}

TEST_CASE("running animations: a transition under way ends where an animation begins")
{
    AnimationFixture fixture("@keyframes away { to { width: 100 } } .go { animation: away 1s linear } "
                             "N { transition: width 1s linear } .wide { width: 60 }");
    TestNode& n = fixture.n();
    n.addCSSClass("wide");
    fixture.frame(0.5);
    CHECK(n.width == 30.f);
    n.addCSSClass("go");
    CHECK(n.width == 30.f);
    fixture.frame();
    CHECK(n.width == 60.f);
    fixture.frame(0.5);
    CHECK(n.width == 80.f);
}

TEST_CASE("running animations: of several the last one named counts, and what it leaves the others have")
{
    AnimationFixture fixture("@keyframes a { from, to { width: 10; height: 10 } } @keyframes b { from, to { width: 20 } } "
                             ".go { animation: a 2s, b 1s }");
    TestNode& n = fixture.n();
    n.addCSSClass("go");
    fixture.frame();
    CHECK(n.width == 20.f);
    CHECK(n.height == 10.f);
    fixture.frame(1.5);
    CHECK(n.width == 10.f);
    fixture.frame(0.5);
    CHECK(n.width == 0.f);
    CHECK(n.height == 0.f);
}

TEST_CASE("running animations: another list of them leaves one alone that it still names")
{
    AnimationFixture fixture(std::string(kGrow)
                             + "@keyframes tall { from { height: 0 } to { height: 100 } } "
                               ".go { animation: grow 1s linear } .more { animation: tall 1s linear, grow 2s linear }");
    TestNode& n = fixture.n();
    n.addCSSClass("go");
    fixture.frame();
    fixture.frame(0.5);
    n.addCSSClass("more");
    fixture.frame();
    CHECK(n.width == 25.f); // as if it had had this duration from the beginning
    CHECK(n.height == 0.f);
    fixture.frame(0.5);
    CHECK(n.width == 50.f);
    CHECK(n.height == 50.f);
}

TEST_CASE("running animations: a paused one stands still without frames, and goes on from there")
{
    AnimationFixture fixture(std::string(kGrow) + ".go { animation: grow 1s linear } .stop { animation-play-state: paused }");
    TestNode& n = fixture.n();
    n.addCSSClass("go");
    fixture.frame();
    fixture.frame(0.25);
    n.addCSSClass("stop");
    fixture.frame(0.5);
    CHECK(n.width == 25.f);
    CHECK_FALSE(fixture.engine.isMoving());
    n.removeCSSClass("stop");
    CHECK(fixture.engine.isMoving());
    fixture.frame();
    fixture.frame(0.25);
    CHECK(n.width == 50.f);
}

TEST_CASE("running animations: the end is kept where the fill mode says so, without frames")
{
    AnimationFixture fixture(std::string(kGrow) + ".go { animation: grow 1s linear 1s both }");
    TestNode& n = fixture.n();
    fixture.sheet("N { width: 7 }");
    n.addCSSClass("go");
    fixture.frame();
    CHECK(n.width == 0.f); // in the delay
    fixture.frame(2.0);
    CHECK(n.width == 100.f);
    CHECK_FALSE(fixture.engine.isMoving());
    fixture.frame(5.0);
    CHECK(n.width == 100.f);
    n.removeCSSClass("go");
    CHECK(n.width == 7.f);
}

TEST_CASE("running animations: what the code sets stays above, and holding keeps the value that shows")
{
    AnimationFixture fixture("@keyframes grow { from { width: 0; height: 0 } to { width: 100; height: 100 } } "
                             ".go { animation: grow 1s linear }");
    TestNode& n = fixture.n();
    n.addCSSClass("go");
    fixture.frame();
    n.height = 7.f;
    fixture.frame(0.5);
    CHECK(n.width == 50.f);
    CHECK(n.height == 7.f);
    fixture.engine.hold(n, {"width", "height", "font-size"});
    CHECK(n.width == 50.f);
    CHECK(n.width.hasValue(Facet::kUserLayer));
    CHECK(n.height == 7.f);
    fixture.frame(0.25);
    CHECK(n.width == 50.f);
    n.width.clearValue(Facet::kUserLayer);
    n.height.clearValue(Facet::kUserLayer);
    CHECK(n.width == 0.f); // held ones do not move any more
    fixture.frame(0.1);
    CHECK(n.width == 0.f);
    CHECK(n.height == 0.f);
}

TEST_CASE("running animations: with reduced motion none takes any time")
{
    AnimationFixture fixture(std::string(kGrow)
                             + ".go { animation: grow 1s linear 1s forwards } .for-ever { animation: grow 1s infinite }");
    const auto before = fixture.engine.media();
    auto media = before;
    TestNode& n = fixture.n();
    n.addCSSClass("go");
    fixture.frame();
    fixture.frame(1.5);
    CHECK(n.width == 50.f);
    media.reducesMotion = true;
    fixture.engine.setMedia(media);
    fixture.frame(0.01);
    CHECK(n.width == 100.f);
    CHECK_FALSE(fixture.engine.isMoving());
    auto& made = fixture.add("root", "N", "made", "go");
    fixture.frame();
    CHECK(made.width == 100.f); // from the first picture on
    n.removeCSSClass("go");
    n.addCSSClass("for-ever");
    fixture.frame();
    CHECK(n.width == 0.f);
    CHECK_FALSE(fixture.engine.isMoving());
    fixture.engine.setMedia(before);
}

TEST_CASE("running animations: keyframes in @media hold where the condition does, and the last ones of a name count")
{
    AnimationFixture fixture("@keyframes x { from, to { width: 1 } } "
                             "@media (prefers-reduced-motion: no-preference) { @keyframes x { from, to { width: 2 } } } "
                             "@media (prefers-reduced-motion: reduce) { @keyframes x { from, to { width: 3 } } } "
                             ".go { animation: x 1s }");
    fixture.n().addCSSClass("go");
    fixture.frame();
    CHECK(fixture.n().width == 2.f);
}

TEST_CASE("running animations: keyframes take variables, shorthands, colours, and the words that every attribute takes")
{
    AnimationFixture fixture(
        "N { --w: 40; width: 9; color: red } Root { color: lime } "
        "@keyframes x { from { width: var(--w); color: rgb(0 0 255) } to { width: initial; color: inherit } } "
        ".x { animation: x 1s linear }");
    TestNode& n = fixture.n();
    n.addCSSClass("x");
    fixture.frame();
    CHECK(n.width == 40.f);
    CHECK(n.color->toString() == QStringLiteral("#0000FF"));
    fixture.frame(0.5);
    CHECK(n.width == 20.f);
    CHECK(n.color->toString() == QStringLiteral("#008080"));
}

TEST_CASE("running animations: mistakes are reported with their place, once, and cost what is wrong")
{
    AnimationFixture fixture(kGrow);
    expectWarning(
        "StyleEngine # test.css:1:7: animation-name: there are no @keyframes 'grwo' (did you mean 'grow'?); nothing moves");
    fixture.sheet(".go { animation: grwo 1s, grow 1s linear }");
    fixture.frame();
    fixture.n().addCSSClass("go");
    fixture.frame();
    fixture.frame(0.5);
    CHECK(fixture.n().width == 50.f);
    expectWarning("StyleEngine # test.css:1:21: width: expected a number, got 'wide'; the declaration is skipped");
    fixture.sheet("@keyframes x { to { width: wide; height: 4 } } .x { animation: x 1s linear }");
    auto& made = fixture.add("root", "N", "made", "x");
    auto& other = fixture.add("root", "N", "other", "x");
    fixture.frame();
    fixture.frame(0.5);
    CHECK(made.height == 2.f);
    CHECK(other.height == 2.f);
    CHECK(made.width == 0.f);
}

TEST_CASE("running animations: running allocates nothing and restyles nothing, to the end")
{
    AnimationFixture fixture(
        "@keyframes x { from { width: 0; color: red } to { width: 100; color: blue } } .go { animation: x 1s }");
    fixture.n().addCSSClass("go");
    fixture.frame();
    fixture.frame(0.01);
    const long before = FacetTest::allocations();
    CHECK(restyledBy([&] {
              for (int i = 0; i < 10; ++i)
                  fixture.frame(0.01);
          })
          == 0);
    CHECK(FacetTest::allocations() == before);
    CHECK(restyledBy([&] { fixture.frame(1.0); }) == 0);
}

TEST_CASE("running animations: a listener may destroy the node, end the animation, and change styles on the way")
{
    AnimationFixture fixture;
    auto& other = fixture.add("root", "N", "other");
    auto& third = fixture.add("root", "N", "third");
    fixture.frame();
    bool isGone = false;
    fixture.n().width.addListener([&] {
        if (isGone || fixture.n().width < 20.f)
            return;
        isGone = true;
        other.addCSSClass("go");
        third.removeCSSClass("go");
        fixture.nodes.erase("n");
    });
    fixture.n().addCSSClass("go");
    third.addCSSClass("go");
    for (int i = 0; i < 6; ++i)
        fixture.frame(0.125);
    CHECK(isGone);
    CHECK(third.width == 0.f);
    CHECK(other.width > 0.f);
    fixture.frame(1.0);
    CHECK(other.width == 0.f);
    CHECK_FALSE(fixture.engine.isMoving());
}

TEST_CASE("running animations: in a delay that shows nothing the node has what rules say, and transitions move it")
{
    AnimationFixture fixture("@keyframes away { to { width: 100 } } .go { animation: away 1s linear 1s } "
                             "N { width: 20; transition: width 1s linear } .wide { width: 60 }");
    TestNode& n = fixture.n();
    n.addCSSClass("go");
    fixture.frame();
    CHECK(n.width == 20.f);
    n.addCSSClass("wide");
    CHECK(n.width == 20.f);
    fixture.frame(0.5);
    CHECK(n.width == 40.f);
    fixture.frame(0.5); // the way begins where it is now
    CHECK(n.width == 60.f);
    fixture.frame(0.5);
    CHECK(n.width == 80.f);
    fixture.frame(0.5);
    CHECK(n.width == 60.f);
}

TEST_CASE("running animations: unset is the default of what is not inherited, whatever the parent has")
{
    AnimationFixture fixture("Root { width: 50 } @keyframes x { from { width: unset } to { width: inherit } } "
                             ".go { animation: x 1s linear }");
    fixture.n().addCSSClass("go");
    fixture.engine.beginAnimations();
    CHECK(fixture.n().width == 0.f);
    fixture.frame(0.5);
    CHECK(fixture.n().width == 25.f);
}

TEST_CASE("running animations: a keyframe says how values go on from it, and words stand for defaults and for what is inherited")
{
    AnimationFixture fixture("Root { color: lime } N { width: 30; color: red } "
                             "@keyframes x { from { width: 0; animation-timing-function: step-end } 50% { width: 10 } "
                             "to { width: unset; color: unset; } } .x { animation: x 1s linear }");
    TestNode& n = fixture.n();
    n.addCSSClass("x");
    fixture.frame();
    fixture.frame(0.49);
    CHECK(n.width == 0.f);
    fixture.frame(0.26);
    CHECK(n.width == 5.f); // halfway from 10 to the default
    fixture.frame(0.2499);
    CHECK(n.color->toString() == QStringLiteral("#00FF00"));
}

TEST_CASE("running animations: what a finger took does not move again, but by the next animation")
{
    AnimationFixture fixture(std::string(kGrow)
                             + "@keyframes next { from { width: 0 } to { width: 10 } } "
                               ".go { animation: grow 1s linear } .next { animation: next 1s linear }");
    TestNode& n = fixture.n();
    n.addCSSClass("go");
    fixture.frame();
    fixture.frame(0.5);
    fixture.engine.hold(n, {"width"});
    CHECK(n.width == 50.f);
    n.addCSSClass("other");
    fixture.frame(0.25);
    CHECK(n.width == 50.f);
    CHECK_FALSE(n.width.hasValue(Facet::kStyleLayer));
    n.addCSSClass("next");
    n.width.clearValue(Facet::kUserLayer);
    fixture.frame();
    fixture.frame(0.5);
    CHECK(n.width == 5.f);
}

TEST_CASE("running animations: one that comes with a sheet in the frame of its node begins")
{
    AnimationFixture fixture(kGrow);
    auto& made = fixture.add("root", "M", "made");
    fixture.sheet("M { animation: grow 1s linear }");
    fixture.frame();
    fixture.frame(0.5);
    CHECK(made.width == 50.f);
}

TEST_CASE("running animations: nodes of the same rules have each the animation that its variables say")
{
    AnimationFixture fixture(std::string(kGrow)
                             + "M { animation: var(--name) 1s linear } #a { --name: grow } #b { --name: none }");
    auto& a = fixture.add("root", "M", "a");
    auto& b = fixture.add("root", "M", "b");
    fixture.frame();
    fixture.frame(0.5);
    CHECK(a.width == 50.f);
    CHECK(b.width == 0.f);
    CHECK_FALSE(b.width.hasValue(Facet::kStyleLayer));
}

TEST_CASE("running animations: a name may come from a variable, and a wrong value in one is reported")
{
    AnimationFixture fixture(std::string(kGrow)
                             + "Root { --name: grow; --time: soon } .go { animation: 1s linear var(--name) } ");
    TestNode& n = fixture.n();
    n.addCSSClass("go");
    fixture.frame();
    fixture.frame(0.5);
    CHECK(n.width == 50.f);
    expectWarning(
        "StyleEngine # test.css:1:7: animation-duration: expected a time that is not negative, as in 0.2s or 200ms, got "
        "'soon' with --time (test.css:1:78); the default is used");
    fixture.sheet(".go { animation-duration: var(--time) }");
    fixture.frame();
    CHECK(n.width == 0.f);
    CHECK_FALSE(fixture.engine.isMoving());
}
