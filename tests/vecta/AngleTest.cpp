#include <Vecta/Angle.hpp>

#include <doctest/doctest.h>

#include <cmath>
#include <limits>
#include <string>

using namespace Vecta;

TEST_CASE("angle: degrees and radians are the same directions")
{
    CHECK(degreesToRadians(180.0) == kPi);
    CHECK(degreesToRadians(-90.f) == -kPiOf<float> / 2.f);
    CHECK(radiansToDegrees(kTwoPi) == doctest::Approx(360.0));
    CHECK(radiansToDegrees(degreesToRadians(33.0)) == doctest::Approx(33.0));
}

TEST_CASE("angle: wrapping keeps the direction and lies within one turn")
{
    struct Row
    {
        std::string name;
        double angle, wrapped;
    };
    for (const Row& row : {Row{"none", 0.0, 0.0}, Row{"within", 1.5, 1.5}, Row{"a full turn", kTwoPi, 0.0},
                           Row{"minus a quarter", -kPi / 2, kPi * 1.5}, Row{"several turns", 1.0 + 6 * kPi, 1.0},
                           Row{"several turns back", 1.0 - 6 * kPi, 1.0}}) {
        INFO(row.name);
        CHECK(wrappedAngle(row.angle) == doctest::Approx(row.wrapped));
    }
    // A full turn less a little is not a float: it must not come out as the full turn.
    CHECK(wrappedAngle(-1e-9f) == 0.f);
    CHECK(std::isnan(wrappedAngle(std::numeric_limits<float>::infinity())));
}

TEST_CASE("angle: the shortest turn goes through zero where that is shorter")
{
    CHECK(shortestTurn(0.1, 0.3) == doctest::Approx(0.2));
    CHECK(shortestTurn(0.1, kTwoPi - 0.1) == doctest::Approx(-0.2));
    CHECK(shortestTurn(kTwoPi - 0.1f, 0.1) == doctest::Approx(0.2));
    CHECK(shortestTurn(3.f, 3.f + 4.f * float(kTwoPi)) == doctest::Approx(0.f).epsilon(1e-5));
    CHECK(std::abs(shortestTurn(0.0, kPi)) == doctest::Approx(kPi));
}
