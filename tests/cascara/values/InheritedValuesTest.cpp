#include "values/InheritedValues.hpp"

#include <doctest/doctest.h>

using Cascara::InheritedValue;
using Cascara::InheritedValues;

namespace
{
InheritedValue value(int attribute, int serial)
{
    return {attribute, serial, std::make_shared<const Facet::StyleValue>()};
}
}

TEST_CASE("inherited values: own ones go before, and initial takes one out")
{
    const auto above = InheritedValues::merge(nullptr, {value(3, 30), value(1, 10)});
    REQUIRE(above);
    CHECK(above->all().front().attribute == 1);
    const auto below = InheritedValues::merge(above, {value(3, 31), {1, 11, nullptr}, value(2, 20)});
    REQUIRE(below);
    CHECK(below->all().size() == 2);
    CHECK(below->find(1) == nullptr);
    CHECK(below->find(2)->serial == 20);
    CHECK(below->find(3)->serial == 31);
    CHECK(InheritedValues::merge(above, {}) == above);
    CHECK(InheritedValues::merge(nullptr, {{1, 11, nullptr}}) == nullptr);
}

TEST_CASE("inherited values: two sets differ in what one of them lacks and in other serials")
{
    const auto a = InheritedValues::merge(nullptr, {value(1, 10), value(2, 20), value(4, 40)});
    const auto b = InheritedValues::merge(nullptr, {value(2, 20), value(3, 30), value(4, 41)});
    CHECK(InheritedValues::difference(a.get(), b.get()) == std::vector<int>{1, 3, 4});
    CHECK(InheritedValues::difference(a.get(), nullptr) == std::vector<int>{1, 2, 4});
    CHECK(InheritedValues::difference(nullptr, b.get()) == std::vector<int>{2, 3, 4});
    CHECK(InheritedValues::difference(nullptr, nullptr).empty());
}

TEST_CASE("inherited values: what looks of a text are inherited, and nothing else")
{
    for (const char* name : {"color", "font-family", "font-size", "font-style", "font-weight", "letter-spacing", "line-height",
                             "text-align", "caret-color"})
        CHECK(Cascara::isInheritedAttribute(name));
    for (const char* name : {"width", "opacity", "background-color", "text", "align", "vertical-align", "max-lines", "colors"})
        CHECK_FALSE(Cascara::isInheritedAttribute(name));
}
