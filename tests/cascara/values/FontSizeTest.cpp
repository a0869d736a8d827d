#include "values/FontSize.hpp"

#include <doctest/doctest.h>

using Facet::StyleTerm;
using Facet::StyleValue;
using Kind = Facet::StyleTerm::Kind;

TEST_CASE("font size: lengths in em are multiples of it, and so are percentages of font-size alone")
{
    StyleValue value{{{Kind::Dimension, "1.5em", 1.5, "em"}, {Kind::Percentage, "50%", 50, {}}}};
    CHECK(Cascara::usesFontSize("padding", value));
    StyleValue padding = value;
    Cascara::resolveFontSize("padding", padding, 20.0);
    CHECK(padding.toString() == QStringLiteral("30px 50%"));
    Cascara::resolveFontSize("font-size", value, 20.0);
    CHECK(value.toString() == QStringLiteral("30px 10px"));
}

TEST_CASE("font size: a value without em depends on it only as a percentage of font-size")
{
    const StyleValue percentage{{{Kind::Percentage, "50%", 50, {}}}};
    CHECK(Cascara::usesFontSize("font-size", percentage));
    CHECK_FALSE(Cascara::usesFontSize("width", percentage));
    CHECK_FALSE(Cascara::usesFontSize("font-size", {{{Kind::Dimension, "5px", 5, "px"}}}));
}
