#include "GradientColors.hpp"

#include "TestColors.hpp"

#include <doctest/doctest.h>

#include <limits>

using LanternTest::kBlue;
using LanternTest::kRed;
using namespace Lantern;

namespace
{
const Bedrock::Color kNothing{0.f, 0.f, 0.f, 0.f};

Gradient across(std::vector<Gradient::Stop> stops)
{
    return {Gradient::Kind::Linear, {0.f, 0.f}, {100.f, 0.f}, std::move(stops)};
}
}

TEST_CASE("gradient: colours lie evenly between their stops, and the outermost go on")
{
    const GradientColors colors(across({{0.f, kRed}, {0.5f, kBlue}, {1.f, {1.f, 1.f, 1.f, 1.f}}}), 1.0);
    CHECK(colors.at(-5.0, 3.0) == 0xffff0000u);
    CHECK(colors.at(0.0, 3.0) == 0xffff0000u);
    CHECK(colors.at(25.0, 9.0) == 0xff800080u);
    CHECK(colors.at(50.0, 0.0) == 0xff0000ffu);
    CHECK(colors.at(75.0, 0.0) == 0xff8080ffu);
    CHECK(colors.at(130.0, 0.0) == 0xffffffffu);
    CHECK(colors.isOpaque());
}

TEST_CASE("gradient: towards transparent a colour keeps its tone")
{
    const GradientColors colors(across({{0.f, kRed}, {1.f, kNothing}}), 1.0);
    CHECK(colors.at(50.0, 0.0) == 0x80800000u);
    CHECK(colors.at(75.0, 0.0) == 0x40400000u);
    CHECK_FALSE(colors.isOpaque());
    CHECK(GradientColors(across({{0.f, kRed}, {1.f, kRed}}), 0.5).at(10.0, 0.0) == 0x80800000u);
}

TEST_CASE("gradient: two stops at one place are a sharp edge")
{
    const GradientColors colors(across({{0.f, kRed}, {0.3f, kRed}, {0.3f, kBlue}, {1.f, kBlue}}), 1.0);
    CHECK(colors.at(29.9, 0.0) == 0xffff0000u);
    CHECK(colors.at(30.1, 0.0) == 0xff0000ffu);
    const GradientColors quarter(across({{0.25f, kRed}, {0.25f, kBlue}}), 1.0);
    CHECK(quarter.at(25.0, 0.0) == 0xff0000ffu); // the later one counts from there on
}

TEST_CASE("gradient: a colour beyond what there is is the nearest one")
{
    const Bedrock::Color odd{2.f, -1.f, 0.f, 3.f};
    CHECK(GradientColors(across({{0.f, odd}, {1.f, odd}}), 1.0).at(10.0, 0.0) == 0xffff0000u);
}

TEST_CASE("gradient: a radial one grows to its radii, and one without any has its last colour")
{
    const GradientColors colors({Gradient::Kind::Radial, {50.f, 50.f}, {40.f, 20.f}, {{0.f, kRed}, {1.f, kBlue}}}, 1.0);
    CHECK(colors.at(50.0, 50.0) == 0xffff0000u);
    CHECK(colors.at(70.0, 50.0) == 0xff800080u);
    CHECK(colors.at(50.0, 60.0) == 0xff800080u);
    CHECK(colors.at(50.0, 71.0) == 0xff0000ffu);
    const GradientColors flat({Gradient::Kind::Radial, {50.f, 50.f}, {0.f, 0.f}, {{0.f, kRed}, {1.f, kBlue}}}, 1.0);
    CHECK(flat.at(51.0, 50.0) == 0xff0000ffu);
}

TEST_CASE("gradient: with an exponent the half between two colours lies earlier or later")
{
    const auto at = [](float exponent, double x) {
        return GradientColors(across({{0.f, kRed}, {1.f, kBlue, exponent}}), 1.0).at(x, 0.0);
    };
    CHECK(at(1.f, 50.0) == 0xff800080u);
    CHECK(at(0.5f, 25.0) == 0xff800080u);
    CHECK(at(2.f, 50.0) == 0xffbf0040u);
    CHECK(at(0.f, 0.1) == 0xff0000ffu);
    CHECK(at(std::numeric_limits<float>::infinity(), 99.9) == 0xffff0000u);
    CHECK(at(0.5f, 0.0) == 0xffff0000u);
    CHECK(at(0.5f, 100.0) == 0xff0000ffu);
}
