#include "style/InvalidationIndex.hpp"
#include "../../facet/AllocationCounter.hpp"
#include "TestNode.hpp"
#include "sheet/StyleSheetParser.hpp"

#include <doctest/doctest.h>

#include <Facet/NameTable.hpp>

#include <functional>

using CascaraTest::restyledBy;
using CascaraTest::StyleFixture;

TEST_CASE("invalidation: a change restyles only what some selector lets it reach")
{
    // root > panel > 3 Buttons (one .big), 3 Texts; root > other > 2 Buttons
    struct Row
    {
        const char* css;
        std::function<void(StyleFixture&)> change;
        long restyled;
    };
    const auto addClass = [](const char* id, const char* name) { return [=](StyleFixture& f) { f[id].addCSSClass(name); }; };
    const auto pseudo = [](const char* id, const char* name) {
        return [=](StyleFixture& f) { f[id].setPseudoClass(name, true); };
    };
    const Row rows[] = {
        {"N { width: 1 }", addClass("panel", "x"), 0},
        {".x { width: 1 }", addClass("panel", "y"), 0},
        {".x { width: 1 }", addClass("panel", "x"), 1},
        {"Panel.x { width: 1 }", addClass("b1", "x"), 1},
        {".x Button { width: 1 }", addClass("panel", "x"), 3},
        {".x Button { width: 1 }", addClass("root", "x"), 5},
        {".x Button { width: 1 }", addClass("b1", "x"), 0},
        {".x Button.big { width: 1 }", addClass("root", "x"), 1},
        {".x .absent { width: 1 }", addClass("root", "x"), 0},
        {".x > Button { width: 1 }", addClass("root", "x"), 0},
        {".x > Button { width: 1 }", addClass("panel", "x"), 3},
        {".x > * > Button { width: 1 }", addClass("root", "x"), 5},
        {".x > * > Button { width: 1 }", addClass("panel", "x"), 0},
        {".x > Panel Button { width: 1 }", addClass("root", "x"), 5},
        {".x * { width: 1 }", addClass("panel", "x"), 6},
        {".x, .x Text { width: 1 }", addClass("panel", "x"), 4},
        {".x.y Text { width: 1 }",
         [](StyleFixture& f) {
             f["panel"].addCSSClass("x");
             f["panel"].addCSSClass("y");
         },
         3},
        {"Text:not(.x) { width: 1 }", addClass("t1", "x"), 1},
        {":not(.x) > Text { width: 1 }", addClass("panel", "x"), 3},
        {".x Button:not(.big) { width: 1 }", addClass("panel", "x"), 2},
        {"Button:hover { width: 1 }", pseudo("b1", "hover"), 1},
        {"Panel:hover Text { width: 1 }", pseudo("panel", "hover"), 3},
        {"Panel:hover Text { width: 1 }", pseudo("root", "hover"), 0},
        {".x.y Text { width: 1 }", addClass("root", "y"), 0},
        {"Box:not(.y) Text { width: 1 }", addClass("panel", "y"), 0},
        {":hover { width: 1 }", pseudo("root", "drag"), 0},
        {"#a { width: 1 }", [](StyleFixture& f) { f["b1"].setCSSId("b"); }, 0},
        {"#a { width: 1 }", [](StyleFixture& f) { f["b1"].setCSSId("a"); }, 1},
        {"#a Text { width: 1 }", [](StyleFixture& f) { f["panel"].setCSSId("a"); }, 3},
        {"Box Text { width: 1 }", [](StyleFixture& f) { f["panel"].setCSSType("Box"); }, 3},
        {"Panel Text { width: 1 }", [](StyleFixture& f) { f["panel"].setCSSType("Box"); }, 3},
        {".x + Button { width: 1 }", addClass("b1", "x"), 1},
        {".x + Button { width: 1 }", addClass("b3", "x"), 0},
        {".x + * + Button { width: 1 }", addClass("b1", "x"), 1},
        {".x ~ Text { width: 1 }", addClass("b1", "x"), 3},
        {".x ~ Text { width: 1 }", addClass("t2", "x"), 1},
        {".x ~ * Button { width: 1 }", addClass("panel", "x"), 2},
        {".x + Panel > Button { width: 1 }", addClass("panel", "x"), 2},
        {".x > Button + Text { width: 1 }", addClass("panel", "x"), 3},
        {":is(.x, .y) Text { width: 1 }", addClass("panel", "x"), 3},
        {"Panel :is(.x > Text, Image) { width: 1 }", addClass("panel", "x"), 3},
        {"Text:is(.x > *) { width: 1 }", addClass("panel", "x"), 3},
        {":not(.x + *) > Text { width: 1 }", addClass("root", "x"), 0},
        {"Text:not(.x Text) { width: 1 }", addClass("root", "x"), 3},
        {"Button:first-child { width: 1 }", addClass("b1", "x"), 0},
        {"Button:first-child { width: 1 }", [](StyleFixture& f) { f["b3"].setStyleParent(nullptr); }, 1},
        {"Button:first-child { width: 1 }", [](StyleFixture& f) { f["b1"].setStyleParent(nullptr); }, 2},
        {"Panel:first-child Button { width: 1 }", [](StyleFixture& f) { f["panel"].setStyleParent(nullptr); }, 9},
        {"Text:last-child { width: 1 }", [](StyleFixture& f) { f["b1"].setStyleParent(nullptr); }, 1},
        {"Text:last-child { width: 1 }", [](StyleFixture& f) { f["t3"].setStyleParent(nullptr); }, 2},
        {"Text:last-child { width: 1 }", [](StyleFixture& f) { f["b1"].setStyleParent(&f["other"]); }, 2},
        {"*:nth-child(2n) { width: 1 }", [](StyleFixture& f) { f["t2"].setStyleParent(nullptr); }, 2},
        {"*:nth-child(2n) { width: 1 }", [](StyleFixture& f) { f["b1"].setStyleParent(nullptr); }, 6},
        {".big + Button { width: 1 }", [](StyleFixture& f) { f["t1"].setStyleParent(nullptr); }, 2},
        {".big ~ Text { width: 1 }", [](StyleFixture& f) { f["b1"].setStyleParent(nullptr); }, 6},
        {"[id=\"a\"] { width: 1 }", [](StyleFixture& f) { f["b1"].setCSSId("a"); }, 1},
        {"[text] { width: 1 }", [](StyleFixture& f) { f["b1"].setCSSId("a"); }, 0},
        {".x { width: 1 }", [](StyleFixture& f) { f["panel"].setStyleParent(nullptr); }, 7},
        {".x { width: 1 }", [](StyleFixture& f) { f["panel"].setStyleParent(&f["root"]); }, 0},
        {".x { width: 1 }", [](StyleFixture& f) { f["panel"].updateStyle(); }, 7},
    };
    int number = 0;
    for (const Row& row : rows) {
        ++number;
        CAPTURE(number);
        INFO(std::string(row.css));
        StyleFixture fixture;
        fixture.add("", "Root", "root");
        fixture.add("root", "Panel", "panel");
        fixture.add("panel", "Button", "b1", "big");
        fixture.add("panel", "Button", "b2");
        fixture.add("panel", "Button", "b3");
        fixture.add("panel", "Text", "t1");
        fixture.add("panel", "Text", "t2");
        fixture.add("panel", "Text", "t3");
        fixture.add("root", "Panel", "other");
        fixture.add("other", "Button", "b4");
        fixture.add("other", "Button", "b5");
        fixture.sheet(row.css);
        CHECK(restyledBy([&] { row.change(fixture); }) == row.restyled);
    }
}

TEST_CASE("invalidation: setting what is set already restyles nothing")
{
    StyleFixture fixture;
    auto& node = fixture.add("", "N", "n", "a");
    node.setPseudoClass("on", true);
    fixture.sheet("N.a:on { width: 1 } * { height: 1 }");
    CHECK(restyledBy([&node] {
              node.addCSSClass("a");
              node.removeCSSClass("b");
              node.removeCSSClasses({"b", "c"});
              node.setPseudoClass("on", true);
              node.setPseudoClass("off", false);
              node.setCSSId("n");
              node.setCSSType("N");
              node.setStyleParent(nullptr);
          })
          == 0);
}

TEST_CASE("invalidation: a node whose declarations stay the same gets no writes")
{
    StyleFixture fixture;
    auto& node = fixture.add("", "N", "n");
    fixture.sheet("N { width: 1; text: a } .x { height: 1 }");
    node.resetChanges();
    // A value written past the engine would be overwritten.
    node.width.setValue(9.f, Facet::kStyleLayer);
    node.resetChanges();
    node.addCSSClass("x");
    CHECK(node.resetChanges() == 1);
    CHECK(node.width == 9.f);
    node.updateStyle();
    fixture.sheet("M { width: 2 }");
    CHECK(node.resetChanges() == 0);
}

TEST_CASE("invalidation: a node is tried only against rules that its features lead to")
{
    StyleFixture fixture;
    std::string css;
    for (int i = 0; i < 100; ++i)
        css += ".c" + std::to_string(i) + " { width: 1 } T" + std::to_string(i) + " { width: 1 } #i" + std::to_string(i)
            + " { width: 1 } N:p" + std::to_string(i) + " { width: 1 }\n";
    fixture.sheet(css.c_str());
    auto& node = fixture.add("", "T5", "i7", "c3 c4");
    const long before = fixture.engine.counters().selectorsTested;
    node.updateStyle();
    CHECK(fixture.engine.counters().selectorsTested - before == 4);
}

TEST_CASE("invalidation: rules for what stands inside something else are not tried elsewhere")
{
    StyleFixture fixture;
    std::string css;
    for (int i = 0; i < 10; ++i)
        css += ".panel" + std::to_string(i) + " N { width: 1 } #panel" + std::to_string(i) + " > N { width: 1 }\n";
    fixture.sheet(css.c_str());
    fixture.add("", "P", "panel3", "panel4");
    auto& node = fixture.add("panel3", "N", "n");
    const long before = fixture.engine.counters().selectorsTested;
    node.updateStyle();
    // Two rules; the set of what stands above has few bits, so some more may be tried.
    CHECK(fixture.engine.counters().selectorsTested - before >= 2);
    CHECK(fixture.engine.counters().selectorsTested - before <= 5);
    CHECK(node.width == 1.f);
}

TEST_CASE("invalidation: a state that goes on and off allocates nothing once it has been there")
{
    StyleFixture fixture;
    auto& panel = fixture.add("", "Panel", "panel");
    auto& button = fixture.add("panel", "Button", "b");
    fixture.sheet("Panel:hover Button { width: 1; height: 2 } Button { width: 3 } Panel:hover { height: 1 }");
    const QByteArray hover("hover");
    const auto blink = [&] {
        panel.setPseudoClass(hover, true);
        panel.setPseudoClass(hover, false);
    };
    blink();
    const long before = FacetTest::allocations();
    const long restyled = restyledBy([&blink] {
        for (int i = 0; i < 50; ++i)
            blink();
    });
    CHECK(FacetTest::allocations() == before);
    CHECK(restyled == 200);
    CHECK(button.width == 3.f);
}

TEST_CASE("invalidation: the index names what a feature reaches, at its own node and below")
{
    using namespace Cascara;
    std::vector<std::unique_ptr<StyleSheet>> sheets;
    sheets.push_back(StyleSheetParser::parse(
        QStringLiteral(".a { x: 1 } .b > C { x: 1 } .b > .d > C { x: 1 } .b C { x: 1 } .b C { x: 2 } :not(.e) C { x: 1 }"),
        QStringLiteral("test.css"), QString()));
    InvalidationIndex index;
    index.build(sheets);
    const auto cssClass = [](const char* name) {
        return Feature{Feature::Kind::Class, Facet::NameTable::instance().number(QByteArray(name))};
    };
    CHECK(index.reachesSelf(cssClass("a")));
    CHECK(index.reachOthers(cssClass("a")) == nullptr);
    CHECK_FALSE(index.reachesSelf(cssClass("b")));
    std::vector<int> depths;
    REQUIRE(index.reachOthers(cssClass("b")));
    for (const auto& reach : *index.reachOthers(cssClass("b")))
        depths.push_back(reach.levels);
    CHECK(depths == std::vector<int>{1, 2, InvalidationIndex::Reach::kAny}); // each once
    REQUIRE(index.reachOthers(cssClass("e")));
    CHECK(index.reachOthers(cssClass("e"))->size() == 1);
    CHECK(index.reachOthers(cssClass("x")) == nullptr);
    index.build({});
    CHECK_FALSE(index.reachesSelf(cssClass("a")));
    CHECK(index.reachOthers(cssClass("b")) == nullptr);
}
