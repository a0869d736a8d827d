#include "LogCapture.hpp"
#include "TestNode.hpp"

#include <doctest/doctest.h>

using CascaraTest::restyledBy;
using CascaraTest::StyleFixture;
using CascaraTest::TestNode;

TEST_CASE("restyler: a listener may change classes of its own node while it is styled")
{
    StyleFixture fixture;
    auto& node = fixture.add("", "N", "n");
    fixture.sheet(".a { width: 1; height: 1; text: a } .b { width: 2; height: 2; list: b }");
    node.width.addListener([&node] {
        if (node.width == 1.f)
            node.addCSSClass("b");
    });
    node.addCSSClass("a");
    CHECK(node.width == 2.f);
    CHECK(node.height == 2.f);
    CHECK(node.text == QStringLiteral("a"));
    CHECK(node.list.value() == QStringList{"b"});
    node.removeCSSClass("b");
    CHECK(node.height == (node.hasCSSClass("b") ? 2.f : 1.f));
}

TEST_CASE("restyler: a listener may take away the class that is being styled")
{
    StyleFixture fixture;
    auto& node = fixture.add("", "N", "n");
    fixture.sheet(".a { width: 1; height: 1; text: a; list: a }");
    for (Facet::Attribute* attribute : {static_cast<Facet::Attribute*>(&node.width), static_cast<Facet::Attribute*>(&node.list)})
        attribute->addListener([&node] { node.removeCSSClass("a"); });
    node.addCSSClass("a");
    CHECK_FALSE(node.width.hasValue(Facet::kStyleLayer));
    CHECK_FALSE(node.height.hasValue(Facet::kStyleLayer));
    CHECK_FALSE(node.text.hasValue(Facet::kStyleLayer));
    CHECK_FALSE(node.list.hasValue(Facet::kStyleLayer));
}

TEST_CASE("restyler: code inside a listener reads styled values of the change it makes")
{
    StyleFixture fixture;
    fixture.add("", "Root", "root");
    auto& first = fixture.add("root", "N", "a");
    auto& second = fixture.add("root", "N", "b");
    fixture.sheet(".x N { width: 1 } .y { text: read }");
    QString read;
    first.width.addListener([&] {
        second.addCSSClass("y");
        read = second.text;
    });
    fixture["root"].addCSSClass("x");
    CHECK(read == QStringLiteral("read"));
    CHECK(second.width == 1.f);
}

TEST_CASE("restyler: a listener may destroy its node, its siblings and its parent")
{
    StyleFixture fixture;
    fixture.add("", "Root", "root");
    fixture.add("root", "Panel", "panel");
    fixture.add("panel", "N", "a");
    fixture.add("panel", "N", "b");
    auto& c = fixture.add("panel", "N", "c");
    fixture.sheet(".x N { width: 1; height: 1 }");
    SUBCASE("its node")
    {
        fixture["a"].width.addListener([&fixture] { fixture.nodes.erase("a"); });
        fixture["root"].addCSSClass("x");
        CHECK(fixture.styled() == "b c");
    }
    SUBCASE("its siblings")
    {
        fixture["a"].width.addListener([&fixture] {
            fixture.nodes.erase("b");
            fixture.nodes.erase("c");
        });
        fixture["root"].addCSSClass("x");
        CHECK(fixture.styled() == "a");
        CHECK(fixture["a"].height == 1.f);
    }
    SUBCASE("its parent")
    {
        fixture["a"].width.addListener([&fixture] { fixture.nodes.erase("panel"); });
        fixture["root"].addCSSClass("x");
        CHECK(fixture.styled().empty());
        CHECK(c.styleParent() == nullptr);
    }
    SUBCASE("the node whose class was changed")
    {
        fixture["a"].width.addListener([&fixture] { fixture.nodes.erase("root"); });
        fixture["root"].addCSSClass("x");
        CHECK(fixture.styled().empty());
    }
}

TEST_CASE("restyler: a listener may destroy its node while a value is withdrawn")
{
    StyleFixture fixture;
    auto& node = fixture.add("", "N", "n", "a");
    fixture.sheet(".a { width: 1; height: 1 }");
    node.width.addListener([&fixture] { fixture.nodes.erase("n"); });
    node.removeCSSClass("a");
    CHECK(fixture.nodes.empty());
}

TEST_CASE("restyler: a listener may add children and move nodes")
{
    StyleFixture fixture;
    fixture.add("", "Root", "root");
    fixture.add("", "Root", "elsewhere");
    fixture.add("root", "N", "a");
    fixture.add("root", "N", "b");
    fixture.sheet(".x N { width: 1; height: 1 }");
    bool done = false;
    fixture["a"].width.addListener([&] {
        if (std::exchange(done, true))
            return;
        for (int i = 0; i < 20; ++i)
            fixture.add("root", "N", ("new" + std::to_string(i)).c_str());
        fixture["b"].setStyleParent(&fixture["elsewhere"]);
    });
    fixture["root"].addCSSClass("x");
    CHECK(fixture["a"].height == 1.f);
    CHECK(fixture["b"].width == 0.f);
    for (int i = 0; i < 20; ++i)
        CHECK(fixture["new" + std::to_string(i)].height == 1.f);
}

TEST_CASE("restyler: a listener may exchange the style sheets")
{
    StyleFixture fixture;
    auto& a = fixture.add("", "N", "a");
    auto& b = fixture.add("", "N", "b");
    bool done = false;
    a.width.addListener([&] {
        if (std::exchange(done, true))
            return;
        fixture.engine.clearStyleSheets();
        fixture.sheet("N { width: 5; list: new }");
    });
    fixture.sheet("N { height: 1; text: old; width: 1; list: old }");
    for (TestNode* node : {&a, &b}) {
        CHECK(node->width == 5.f);
        CHECK(node->height == 0.f);
        CHECK(node->list.value() == QStringList{"new"});
        CHECK(node->text == QString());
    }
}

TEST_CASE("restyler: listeners that undo each other for ever are stopped with an error")
{
    StyleFixture fixture;
    auto& node = fixture.add("", "N", "n");
    fixture.sheet(".a { width: 1 }");
    bool on = true;
    node.width.addListener([&] {
        on = !on;
        if (on)
            node.addCSSClass("a");
        else
            node.removeCSSClass("a");
    });
    TestSupport::expectError(
        "StyleEngine # Restyling does not settle: attribute listeners keep changing what the style sheets match; "
        "the innermost change is not styled");
    node.addCSSClass("a");
    // The engine still works.
    auto& other = fixture.add("", "N", "other", "a");
    CHECK(other.width == 1.f);
}

// ---- Nodes under construction -------------------------------------------------------------------------------------------

namespace
{
/// As a widget that is made in a tree: its base is styled before it has its own attributes.
class LateNode : public TestNode
{
public:
    LateNode(Cascara::Styleable& parent) : TestNode(parent, "Late") {}
    Facet::AttributeT<float> gap{this, "late-gap"};
    Facet::AttributeT<float> edge{this, "late-edge"};
};
}

TEST_CASE("restyler: attributes that come after a node was styled get their values when styles are finished")
{
    const Facet::AttributeT<float> known(nullptr, "late-gap"); // the root, which is matched first, has none
    for (const char* css : {"* { late-gap: 5 } ", "Root > * { late-gap: 5 }", ":not(Root) { late-gap: 5; width: 1 }"}) {
        INFO(css);
        StyleFixture fixture;
        auto& root = fixture.add("", "Root", "root");
        fixture.sheet(css);
        LateNode late(root);
        CHECK(late.gap == 0.f);
        CHECK(fixture.engine.isStylingUnfinished());
        CHECK(restyledBy([&] { fixture.engine.finishStyling(); }) == 1);
        CHECK(late.gap == 5.f);
        CHECK_FALSE(late.edge.hasValue(Facet::kStyleLayer));
        CHECK_FALSE(fixture.engine.isStylingUnfinished());
        CHECK(restyledBy([&] { fixture.engine.finishStyling(); }) == 0);
    }
}

TEST_CASE("restyler: the first attribute of a name is styled without a warning, though the name was not known before")
{
    struct Newcomer : TestNode
    {
        explicit Newcomer(Cascara::Styleable& parent) : TestNode(parent, "Newcomer") {}
        Facet::AttributeT<float> gap{this, "first-of-its-name"};
    };
    StyleFixture fixture;
    auto& root = fixture.add("", "Root", "root");
    fixture.sheet("Root > * { first-of-its-name: 4 }");
    const Newcomer newcomer(root);
    fixture.engine.finishStyling();
    CHECK(newcomer.gap == 4.f);
}

TEST_CASE("restyler: attributes that come late are styled at once by updateStyle, and need no more")
{
    const Facet::AttributeT<float> known(nullptr, "late-gap");
    StyleFixture fixture;
    auto& root = fixture.add("", "Root", "root");
    fixture.sheet("* { late-gap: 5 }");
    LateNode late(root);
    late.updateStyle();
    CHECK(late.gap == 5.f);
    int changes = 0;
    late.gap.addListener([&changes] { ++changes; });
    fixture.engine.finishStyling();
    CHECK(changes == 0);
}

TEST_CASE("restyler: an attribute that a node gets long after its construction is styled, too")
{
    const Facet::AttributeT<float> known(nullptr, "late-gap");
    StyleFixture fixture;
    auto& node = fixture.add("", "N", "n");
    fixture.sheet("N { late-gap: 3 }");
    CHECK_FALSE(fixture.engine.isStylingUnfinished());
    Facet::AttributeT<float> late(&node, "late-gap");
    Facet::AttributeT<float> other(&node, "late-other");
    fixture.engine.finishStyling();
    CHECK(late == 3.f);
    CHECK_FALSE(other.hasValue(Facet::kStyleLayer));
}

TEST_CASE("restyler: a name that no attribute has is a warning when the node is complete, not before")
{
    StyleFixture fixture;
    auto& root = fixture.add("", "Root", "root");
    fixture.sheet("Root > * { never-an-attribute: 3 }");
    {
        LateNode late(root);
        TestSupport::expectWarning(
            "StyleEngine # test.css:1:12: never-an-attribute: no attribute has this name; the declaration is skipped");
        fixture.engine.finishStyling();
    }
    LateNode another(root);
    fixture.engine.finishStyling();
}

TEST_CASE("restyler: a node that ends before styles are finished is passed over")
{
    StyleFixture fixture;
    auto& root = fixture.add("", "Root", "root");
    fixture.sheet("Root > * { late-gap: 5; never-either: 1 }");
    {
        const LateNode late(root);
        CHECK(fixture.engine.isStylingUnfinished());
    }
    CHECK(restyledBy([&] { fixture.engine.finishStyling(); }) == 0);
}

TEST_CASE("restyler: variables go with the last sheet that defines one, and come back with another")
{
    StyleFixture fixture;
    fixture.add("", "Root", "root");
    auto& node = fixture.add("root", "N", "n");
    const char* const user = "N { width: var(--gap, 1) }";
    for (int round = 0; round < 2; ++round) {
        CAPTURE(round);
        fixture.sheet("Root { --gap: 5 } N { width: var(--gap, 1) }");
        CHECK(node.width == 5.f);
        Cascara::StyleEngine::instance().clearStyleSheets();
        CHECK_FALSE(node.width.hasValue(Facet::kStyleLayer));
        fixture.sheet(user);
        CHECK(node.width == 1.f);
        Cascara::StyleEngine::instance().clearStyleSheets();
    }
}
