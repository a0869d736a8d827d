#include "motion/ValueMixer.hpp"

#include <Facet/StyleConversion.hpp>

#include <doctest/doctest.h>

#include <string>

using Cascara::ValueMixer;

namespace
{
std::string mixed(const char* from, const char* to, double progress)
{
    ValueMixer mixer(QString::fromLatin1(from), QString::fromLatin1(to));
    return mixer.at(progress).toString().toStdString();
}

std::string color(const char* from, const char* to, double progress)
{
    ValueMixer mixer(QString::fromLatin1(from), QString::fromLatin1(to));
    Bedrock::Color result;
    REQUIRE(Facet::StyleConversion<Bedrock::Color>::read(mixer.at(progress), result, nullptr));
    return result.toString().toStdString();
}
}

TEST_CASE("value mixer: numbers of one unit are mixed, and beyond the ends too")
{
    CHECK(mixed("10", "20", 0.0) == "10");
    CHECK(mixed("10", "20", 0.25) == "12.5");
    CHECK(mixed("10px", "0px", 0.5) == "5px");
    CHECK(mixed("10%", "30%", 1.0) == "30%");
    CHECK(mixed("1rad", "3rad", 1.5) == "4rad");
    CHECK(mixed("10 20", "20 0", 0.5) == "15 10");
    CHECK(mixed("1px", "3px 5px", 0.5) == "2px 3px 2px 3px");
    CHECK(mixed("1px 2px 3px", "3px", 1.0) == "3px 3px 3px 3px");
    CHECK(mixed("inset 1px, 2px", "inset 3px, 4px", 0.5) == "inset 2px, 3px");
    CHECK(mixed("inset 1px, 2px", "outset 3px, 4px", 0.4) == "inset 1px, 2px");
}

TEST_CASE("value mixer: colours are mixed premultiplied, so that nothing turns grey towards transparent")
{
    CHECK(color("#FF0000", "#0000FF", 0.5) == "#800080");
    CHECK(color("#FF0000", "#00000000", 0.5) == "#FF000080");
    CHECK(color("#FF0000", "#00000000", 1.0) == "#00000000");
    CHECK(color("#FFFFFF", "#000000", 0.0) == "#FFFFFF");
    CHECK(color("#808080", "#FFFFFF", 1.5) == "#FFFFFF");
    CHECK(color("#80808080", "#808080", 1.5) == "#A0A0A0"); // beyond the end nothing is more than opaque
}

TEST_CASE("value mixer: what cannot be mixed is the first until halfway")
{
    CHECK(mixed("10px", "50%", 0.49) == "10px");
    CHECK(mixed("10px", "50%", 0.5) == "50%");
    CHECK(mixed("auto", "5px", 0.4) == "auto");
    CHECK(mixed("10px", "5em", 0.4) == "10px");
    CHECK(mixed("left", "right", 0.6) == "right");
    CHECK(mixed("#FF0000", "5", 0.4) == "#FF0000");
    CHECK(mixed("1 2", "3 a", 0.2) == "1 2");
    CHECK(mixed("calc(10px + 5%)", "5px", 0.2) == "calc(10px + 5%)");
}
