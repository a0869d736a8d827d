#include "shared/AttributeDefaults.hpp"

#include "TestHost.hpp"

#include <Facet/AttributeT.hpp>

#include <doctest/doctest.h>

using Bedrock::makeIntrusive;
using Facet::StyleTerm;
using TestSupport::TestHost;

TEST_CASE("attribute defaults: words are read as a style sheet reads them")
{
    struct Row
    {
        const char* word;
        StyleTerm::Kind kind;
        const char* text;
        double number;
        const char* unit;
    };
    const Row rows[] = {
        {"none", StyleTerm::Kind::Ident, "none", 0.0, ""},        {"3", StyleTerm::Kind::Number, "3", 3.0, ""},
        {"-1.5", StyleTerm::Kind::Number, "-1.5", -1.5, ""},      {"50%", StyleTerm::Kind::Percentage, "50%", 50.0, ""},
        {"12PX", StyleTerm::Kind::Dimension, "12PX", 12.0, "px"}, {"#ffcc00", StyleTerm::Kind::Hash, "ffcc00", 0.0, ""},
    };
    for (const Row& row : rows) {
        CAPTURE(row.word);
        const auto value = Tavola::styleValueOf(QLatin1String(row.word));
        REQUIRE(value.terms.size() == 1);
        const StyleTerm& term = value.terms.first();
        CHECK(term.kind == row.kind);
        CHECK(term.text == row.text);
        CHECK(term.number == row.number);
        CHECK(term.unit == row.unit);
    }
    CHECK(Tavola::styleValueOf(QStringLiteral(" 1px  2px ")).terms.size() == 2);
    CHECK(Tavola::styleValueOf(QString()).terms.isEmpty());
}

TEST_CASE("attribute defaults: a style sheet and a run-time value go before a default")
{
    TestHost host;
    host.style("Widget.styled { width: 70px }");
    const auto widget = makeIntrusive<Trellis::Widget>(&host.mainWidget());
    Tavola::setDefaults(*widget, {{"width", "50px"}, {"height", "40px"}});
    CHECK(widget->size() == Vecta::Vector2f(50.f, 40.f));
    widget->addCSSClass("styled");
    CHECK(widget->size() == Vecta::Vector2f(70.f, 40.f));
    Tavola::setDefault(*widget, "width", "60px");
    CHECK(widget->width() == 70.f);
}

TEST_CASE("attribute defaults: hidden goes before every style, shown leaves the display to the styles")
{
    TestHost host;
    host.style("Widget.gone { display: none }");
    const auto widget = makeIntrusive<Trellis::Widget>(&host.mainWidget());
    Tavola::setShown(*widget, false);
    CHECK_FALSE(widget->isVisible());
    Tavola::setShown(*widget, true);
    CHECK(widget->isVisible());
    widget->addCSSClass("gone");
    CHECK_FALSE(widget->isVisible());
}

TEST_CASE("attribute defaults: content may be moved, turned and scaled unless a style says otherwise")
{
    TestHost host;
    host.style("Widget.fixed { movable: false }");
    const auto widget = makeIntrusive<Trellis::Widget>(&host.mainWidget());
    Tavola::setFreeByDefault(*widget);
    for (const char* freedom : {"movable", "rotatable", "scalable"})
        CHECK(widget->attribute(freedom)->toText() == "true");
    widget->addCSSClass("fixed");
    CHECK(widget->attribute("movable")->toText() == "false");
}
