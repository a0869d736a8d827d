#include "TestNode.hpp"

#include <doctest/doctest.h>

using Cascara::Styleable;
using CascaraTest::restyledBy;
using CascaraTest::StyleFixture;
using CascaraTest::TestNode;

TEST_CASE("styleable: a node outside any tree is styled as one without ancestors")
{
    StyleFixture fixture;
    fixture.sheet("N { width: 1 } Root N { height: 1 }");
    TestNode node("N");
    CHECK(node.width == 1.f);
    CHECK(node.height == 0.f);
}

TEST_CASE("styleable: taking a parent and leaving it restyles what is below")
{
    StyleFixture fixture;
    fixture.sheet(".dark N { width: 1 }");
    fixture.add("", "Root", "dark", "dark");
    fixture.add("", "Root", "light");
    fixture.add("dark", "Panel", "panel");
    auto& node = fixture.add("panel", "N", "n");
    CHECK(node.width == 1.f);
    fixture["panel"].setStyleParent(&fixture["light"]);
    CHECK(node.width == 0.f);
    fixture["panel"].setStyleParent(&fixture["dark"]);
    CHECK(node.width == 1.f);
    fixture["panel"].setStyleParent(nullptr);
    CHECK(node.width == 0.f);
}

TEST_CASE("styleable: children of a destroyed node are styled without it")
{
    StyleFixture fixture;
    fixture.sheet("Root N { width: 1 }");
    fixture.add("", "Root", "root");
    auto& node = fixture.add("root", "N", "n");
    CHECK(node.width == 1.f);
    fixture.nodes.erase("root");
    CHECK(node.styleParent() == nullptr);
    CHECK(node.width == 0.f);
}

TEST_CASE("styleable: classes keep their order, twice is once, and absent ones are silent")
{
    TestNode node;
    node.addCSSClass("b");
    node.addCSSClass("a");
    node.addCSSClass("b");
    CHECK(node.cssClasses() == QList<QByteArray>{"b", "a"});
    node.removeCSSClass("c");
    node.removeCSSClasses({"c", "b"});
    CHECK(node.cssClasses() == QList<QByteArray>{"a"});
    CHECK(node.hasCSSClass("a"));
    CHECK_FALSE(node.hasCSSClass("b"));
    node.setPseudoClass("on", true);
    node.setPseudoClass("on", true);
    node.setPseudoClass("off", false);
    CHECK(node.pseudoClasses() == QList<QByteArray>{"on"});
    CHECK(node.hasPseudoClass("on"));
    node.setPseudoClass("on", false);
    CHECK_FALSE(node.hasPseudoClass("on"));
}

TEST_CASE("styleable: several classes removed at once are one change")
{
    StyleFixture fixture;
    auto& node = fixture.add("", "N", "n", "a b c");
    fixture.sheet(".a { width: 1 } .b { width: 2 } .c { height: 1 }");
    node.resetChanges();
    CHECK(restyledBy([&node] { node.removeCSSClasses({"a", "b", "x"}); }) == 1);
    CHECK(node.resetChanges() == 1);
    CHECK(node.width == 0.f);
    CHECK(node.height == 1.f);
}

TEST_CASE("styleable: a type, an id and a state count as soon as they are set")
{
    StyleFixture fixture;
    fixture.sheet("M { width: 1 } #m { height: 2 } N:on { text: on }");
    auto& node = fixture.add("", "N", "n");
    node.setPseudoClass("on", true);
    CHECK(node.text == QStringLiteral("on"));
    node.setCSSType("M");
    CHECK(node.cssType() == "M");
    CHECK(node.width == 1.f);
    CHECK(node.text == QString());
    node.setCSSId("m");
    CHECK(node.cssId() == "m");
    CHECK(node.height == 2.f);
    node.setCSSId({});
    CHECK(node.cssId().isEmpty());
    CHECK(node.height == 0.f);
}

TEST_CASE("styleable: what is said again restyles nothing")
{
    StyleFixture fixture;
    fixture.sheet("N, .a, #n, :on, Root N { width: 1 }");
    auto& root = fixture.add("", "Root", "root");
    auto& node = fixture.add("root", "N", "n", "a");
    node.setPseudoClass("on", true);
    CHECK(restyledBy([&] {
              node.setCSSType("N");
              node.setCSSId("n");
              node.addCSSClass("a");
              node.removeCSSClass("b");
              node.removeCSSClasses({});
              node.removeCSSClasses({"b", "c"});
              node.setPseudoClass("on", true);
              node.setPseudoClass("off", false);
              node.setStyleParent(&root);
          })
          == 0);
}

TEST_CASE("styleable: a class that is named twice in a list goes once")
{
    TestNode node;
    node.addCSSClass("a");
    node.addCSSClass("b");
    node.removeCSSClasses({"a", "a"});
    CHECK(node.cssClasses() == QList<QByteArray>{"b"});
    node.addCSSClass("a");
    CHECK(node.cssClasses() == QList<QByteArray>{"b", "a"}); // it comes back as the last one
}

TEST_CASE("styleable: parents list their children in the order in which they came, until they go")
{
    StyleFixture fixture;
    auto& root = fixture.add("", "Root", "root");
    auto& other = fixture.add("", "Root", "other");
    for (const char* id : {"a", "b", "c"})
        fixture.add("root", "N", id);
    using Children = std::vector<Styleable*>;
    CHECK(root.styleChildren() == Children{&fixture["a"], &fixture["b"], &fixture["c"]});
    fixture["a"].setStyleParent(&other);
    CHECK(other.styleChildren() == Children{&fixture["a"]});
    fixture["a"].setStyleParent(&root);
    CHECK(other.styleChildren().empty());
    CHECK(root.styleChildren() == Children{&fixture["b"], &fixture["c"], &fixture["a"]});
    fixture.nodes.erase("c");
    CHECK(root.styleChildren() == Children{&fixture["b"], &fixture["a"]});
    CHECK(&fixture["a"].node() == static_cast<Facet::Node*>(&fixture["a"]));
}
