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
/// A node N with a width of 0, and of 100 with the class "far".
struct MotionFixture : StyleFixture
{
    explicit MotionFixture(const char* transition = "width 1s linear")
    {
        add("", "Root", "root");
        add("root", "N", "n");
        sheet((std::string("N { transition: ") + transition + " } .far { width: 100 }").c_str());
        engine.advance(0.0);
    }
    TestNode& n() { return (*this)["n"]; }
    float widthAfter(double seconds)
    {
        engine.advance(seconds);
        return n().width;
    }
};
}

TEST_CASE("running transitions: a change moves from the value that shows to its end in frame time")
{
    MotionFixture fixture;
    TestNode& n = fixture.n();
    n.addCSSClass("far");
    CHECK(n.width == 0.f);
    CHECK(fixture.engine.isMoving());
    CHECK(fixture.widthAfter(0.25) == 25.f);
    CHECK(fixture.widthAfter(0.5) == 75.f);
    CHECK(fixture.widthAfter(0.25) == 100.f);
    CHECK_FALSE(fixture.engine.isMoving());
    n.removeCSSClass("far"); // and back to the default
    CHECK(fixture.widthAfter(0.75) == 25.f);
    CHECK(fixture.widthAfter(0.5) == 0.f);
    CHECK_FALSE(n.width.hasValue(Facet::kStyleLayer));
    CHECK_FALSE(fixture.engine.isMoving());
}

TEST_CASE("running transitions: the same value comes of any partition of time")
{
    for (const int parts : {1, 3, 64}) {
        MotionFixture fixture("width 1s ease-in-out 0.25s");
        fixture.n().addCSSClass("far");
        for (int i = 0; i < parts; ++i)
            fixture.engine.advance(0.75 / parts);
        CHECK(fixture.n().width == doctest::Approx(50.f));
    }
}

TEST_CASE("running transitions: delays wait, and negative ones begin on the way")
{
    MotionFixture fixture("width 1s linear 0.5s");
    fixture.n().addCSSClass("far");
    CHECK(fixture.widthAfter(0.5) == 0.f);
    CHECK(fixture.widthAfter(0.1) == doctest::Approx(10.f));
    MotionFixture begun("width 1s linear -0.5s");
    begun.n().addCSSClass("far");
    CHECK(begun.n().width == 50.f); // at once
}

TEST_CASE("running transitions: one that is reversed takes the time of the way it has come")
{
    MotionFixture fixture;
    TestNode& n = fixture.n();
    n.addCSSClass("far");
    fixture.engine.advance(0.25);
    n.removeCSSClass("far");
    CHECK(n.width == 25.f);
    CHECK(fixture.widthAfter(0.125) == 12.5f);
    n.addCSSClass("far"); // and once more: of a quarter of the way half has been gone back
    CHECK(n.width == 12.5f);
    CHECK(fixture.widthAfter(0.4375) == doctest::Approx(56.25f));
    CHECK(fixture.widthAfter(0.4375) == 100.f);
    CHECK_FALSE(fixture.engine.isMoving());
}

TEST_CASE("running transitions: one that is reversed shortens a negative delay, too")
{
    MotionFixture fixture("width 1s linear -0.5s");
    TestNode& n = fixture.n();
    n.addCSSClass("far");
    CHECK(fixture.widthAfter(0.25) == 75.f);
    n.removeCSSClass("far"); // three quarters of the time and of the delay
    CHECK(n.width == 37.5f);
    CHECK(fixture.widthAfter(0.375) == 0.f);
    CHECK_FALSE(fixture.engine.isMoving());
}

TEST_CASE("running transitions: another rule with the same value moves nothing")
{
    MotionFixture fixture;
    TestNode& n = fixture.n();
    fixture.sheet(".same { width: 100px }");
    n.addCSSClass("far");
    fixture.engine.advance(1.0);
    CHECK_FALSE(fixture.engine.isMoving());
    n.addCSSClass("same");
    CHECK_FALSE(fixture.engine.isMoving());
    CHECK(n.width == 100.f);
}

TEST_CASE("running transitions: one that is reversed waits its whole delay")
{
    MotionFixture fixture("width 1s linear 0.5s");
    TestNode& n = fixture.n();
    n.addCSSClass("far");
    CHECK(fixture.widthAfter(0.75) == 25.f);
    n.removeCSSClass("far");
    CHECK(fixture.widthAfter(0.5) == 25.f);
    CHECK(fixture.widthAfter(0.125) == 12.5f);
    CHECK(fixture.widthAfter(0.125) == 0.f);
}

TEST_CASE("running transitions: another end on the way begins at the value that shows, with its whole time")
{
    MotionFixture fixture;
    TestNode& n = fixture.n();
    fixture.sheet(".other { width: 45 }");
    n.addCSSClass("far");
    fixture.engine.advance(0.25);
    n.addCSSClass("other");
    CHECK(n.width == 25.f);
    CHECK(fixture.widthAfter(0.5) == 35.f);
    CHECK(fixture.widthAfter(0.5) == 45.f);
}

TEST_CASE("running transitions: nothing moves because a node was made, came to a parent, or a sheet was loaded")
{
    MotionFixture fixture;
    auto& made = fixture.add("root", "N", "made");
    made.addCSSClass("far");
    CHECK(made.width == 100.f);
    fixture.engine.advance(0.1);
    made.removeCSSClass("far");
    CHECK(made.width == 100.f); // a change
    fixture.engine.advance(1.0);
    made.setStyleParent(nullptr);
    fixture.sheet("Root N { width: 50 }");
    CHECK(fixture.n().width == 50.f);
    made.setStyleParent(&fixture["root"]);
    CHECK(made.width == 50.f);
    CHECK_FALSE(fixture.engine.isMoving());
    fixture.engine.clearStyleSheets();
    CHECK(fixture.n().width == 0.f);
}

TEST_CASE("running transitions: another time leaves one that runs alone, another attribute ends it")
{
    MotionFixture fixture;
    TestNode& n = fixture.n();
    fixture.sheet(".slow { transition: width 10s } .none { transition: height 1s }");
    n.addCSSClass("far");
    fixture.engine.advance(0.25);
    n.addCSSClass("slow");
    CHECK(fixture.widthAfter(0.25) == 50.f);
    n.addCSSClass("none");
    CHECK(n.width == 100.f);
    CHECK_FALSE(fixture.engine.isMoving());
}

TEST_CASE("running transitions: what the code sets stays above, and holding keeps the value that shows")
{
    MotionFixture fixture;
    TestNode& n = fixture.n();
    n.addCSSClass("far");
    fixture.engine.advance(0.25);
    n.width = 7.f;
    CHECK(fixture.widthAfter(0.25) == 7.f);
    n.width.clearValue(Facet::kUserLayer);
    CHECK(n.width == 50.f);
    fixture.engine.hold(n, {"width", "height"});
    CHECK(n.width == 50.f);
    CHECK_FALSE(fixture.engine.isMoving());
    CHECK(fixture.widthAfter(1.0) == 50.f);
    n.width.clearValue(Facet::kUserLayer);
    CHECK(n.width == 100.f);
    n.width = 3.f;
    n.removeCSSClass("far"); // below what shows: no motion
    CHECK_FALSE(fixture.engine.isMoving());
}

TEST_CASE("running transitions: with reduced motion nothing moves, and what moves ends")
{
    MotionFixture fixture;
    const auto before = fixture.engine.media();
    auto media = before;
    media.reducesMotion = true;
    fixture.n().addCSSClass("far");
    fixture.engine.setMedia(media);
    CHECK(fixture.widthAfter(0.1) == 100.f);
    fixture.n().removeCSSClass("far");
    CHECK(fixture.n().width == 0.f);
    CHECK_FALSE(fixture.engine.isMoving());
    fixture.engine.setMedia(before);
}

TEST_CASE("running transitions: colours and inherited values move, settings and texts jump")
{
    StyleFixture fixture;
    auto& root = fixture.add("", "Root", "root");
    auto& n = fixture.add("root", "N", "n");
    fixture.sheet("N { transition: 1s linear; } Root { font-size: 10; } Root.x { font-size: 20 } "
                  "N { color: red; text: a } Root.x N { color: rgb(0 0 255); text: b }");
    fixture.engine.advance(0.0);
    root.addCSSClass("x");
    CHECK(n.text == QStringLiteral("b"));
    fixture.engine.advance(0.5);
    CHECK(n.color->toString() == QStringLiteral("#800080"));
    CHECK(n.fontSize == 15.f);
    CHECK(root.fontSize == 20.f);
    fixture.engine.advance(0.5);
    CHECK(n.color->toString() == QStringLiteral("#0000FF"));
}

TEST_CASE("running transitions: they come from variables, and a mistake is reported and moves nothing")
{
    MotionFixture fixture("var(--t, none)");
    TestNode& n = fixture.n();
    fixture.sheet("N { --t: width 2s linear } ");
    n.addCSSClass("far");
    CHECK(fixture.widthAfter(1.0) == 50.f);
    fixture.engine.clearStyleSheets();
    expectWarning("StyleEngine # test.css:1:16: transition: expected an attribute or all, a time, a timing function and a delay, "
                  "got 'width 1px'; the declaration is skipped");
    fixture.sheet("N { transition: width 1px } N { height: 1 }");
    CHECK(n.height == 1.f);
    expectWarning("StyleEngine # test.css:1:24: transition: expected an attribute or all, a time, a timing function and a delay, "
                  "got 'width 1px' with --t (test.css:1:5); the default is used");
    fixture.sheet("N { --t: width 1px;    transition: var(--t) } .far { width: 9 }");
    fixture.engine.advance(0.0);
    n.removeCSSClass("far");
    CHECK(n.width == 0.f);
}

TEST_CASE("running transitions: moving allocates nothing and restyles nothing")
{
    MotionFixture fixture;
    fixture.n().addCSSClass("far");
    fixture.engine.advance(0.01);
    const long before = FacetTest::allocations();
    CHECK(restyledBy([&] {
              for (int i = 0; i < 10; ++i)
                  fixture.engine.advance(0.01);
          })
          == 0);
    CHECK(FacetTest::allocations() == before);
    CHECK(fixture.n().width == doctest::Approx(11.f));
}

TEST_CASE("running transitions: a listener may destroy the node, and change styles on the way")
{
    MotionFixture fixture;
    auto& other = fixture.add("root", "N", "other");
    fixture.engine.advance(0.0);
    bool isGone = false;
    fixture.n().width.addListener([&] {
        if (fixture.n().width < 20.f || isGone)
            return;
        isGone = true;
        other.addCSSClass("far");
        fixture.nodes.erase("n");
    });
    fixture.n().addCSSClass("far");
    for (int i = 0; i < 10; ++i)
        fixture.engine.advance(0.125);
    CHECK(isGone);
    CHECK(other.width > 50.f);
    fixture.engine.advance(1.0);
    CHECK(other.width == 100.f);
    CHECK_FALSE(fixture.engine.isMoving());
}

TEST_CASE("running transitions: the longhands say the same one by one, and each comes from the rule that wins it")
{
    MotionFixture fixture("height 9s linear");
    TestNode& n = fixture.n();
    fixture.sheet("N { transition-property: width; transition-delay: 0.5s } .n { transition-duration: 1s }");
    n.addCSSClass("n");
    n.addCSSClass("far");
    CHECK(fixture.widthAfter(1.0) == 50.f);
}

TEST_CASE("running transitions: no duration for the next one leaves one that runs alone, a property that is not named ends it")
{
    MotionFixture fixture;
    TestNode& n = fixture.n();
    fixture.sheet(".at-once { transition-duration: 0s } .again { width: 100 } .none { transition-property: none }");
    n.addCSSClass("far");
    fixture.engine.advance(0.25);
    n.addCSSClass("at-once");
    CHECK(fixture.widthAfter(0.25) == 50.f);
    n.addCSSClass("again"); // the same end
    CHECK(fixture.widthAfter(0.25) == 75.f);
    n.addCSSClass("none");
    CHECK(n.width == 100.f);
    CHECK_FALSE(fixture.engine.isMoving());
}

TEST_CASE("running transitions: a wrong longhand costs itself, and a list may be that of the parent")
{
    MotionFixture fixture;
    TestNode& n = fixture.n();
    expectWarning(
        "StyleEngine # test.css:1:25: transition-duration: expected a time that is not negative, as in 0.2s or 200ms, got "
        "'soon'; the declaration is skipped");
    fixture.sheet("N { transition-duration: soon; transition-delay: 0.5s }");
    n.addCSSClass("far");
    CHECK(fixture.widthAfter(1.0) == 50.f);
    fixture.engine.advance(1.0);
    fixture.sheet("Root { transition: width 4s linear } N { transition: inherit } ");
    fixture.engine.advance(0.0);
    n.removeCSSClass("far");
    CHECK(fixture.widthAfter(1.0) == 75.f);
}

TEST_CASE("running transitions: holding leaves a run-time value that hides the motion as it is")
{
    MotionFixture fixture;
    TestNode& n = fixture.n();
    n.addCSSClass("far");
    fixture.engine.advance(0.25);
    n.width = 7.f;
    fixture.engine.hold(n, {"width"});
    CHECK(n.width == 7.f);
    CHECK_FALSE(fixture.engine.isMoving());
}

TEST_CASE("running transitions: rounded steps reach the end in the frame that they are meant to")
{
    MotionFixture fixture;
    fixture.n().addCSSClass("far");
    for (int i = 0; i < 10; ++i)
        fixture.engine.advance(0.1);
    CHECK(fixture.n().width == 100.f);
    CHECK_FALSE(fixture.engine.isMoving());
}

TEST_CASE("running transitions: a value that does not fit leaves one that runs alone")
{
    MotionFixture fixture;
    fixture.sheet(".odd { width: wide }");
    TestNode& n = fixture.n();
    n.addCSSClass("far");
    fixture.engine.advance(1.0);
    n.removeCSSClass("far");
    fixture.engine.advance(0.5);
    expectWarning("StyleEngine # test.css:1:8: width: expected a number, got 'wide'; the declaration is skipped");
    n.addCSSClass("odd");
    CHECK(n.width == 50.f);
    CHECK(fixture.widthAfter(0.25) == 25.f);
    CHECK(fixture.widthAfter(0.25) == 0.f);
    CHECK_FALSE(n.width.hasValue(Facet::kStyleLayer));
}
