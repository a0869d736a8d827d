#include "motion/Animatable.hpp"

#include <doctest/doctest.h>

#include <string>

TEST_CASE("animatable: places, sizes and looks take part in motion, settings and texts do not")
{
    for (const char* name : {"opacity", "width", "min-height", "location", "rotation", "scale", "background-color", "color",
                             "padding", "font-size"}) {
        CAPTURE(std::string(name));
        CHECK(Cascara::isAnimatable(name));
    }
    for (const char* name : {"tooltip-timeout", "animation-time", "text", "source", "movable", "card-size", "period", "display",
                             "font-family", "transition-duration", ""}) {
        CAPTURE(std::string(name));
        CHECK_FALSE(Cascara::isAnimatable(name));
    }
}

TEST_CASE("animatable: a misspelt name has the nearest suggested, and another none")
{
    CHECK(Cascara::nearestAnimatable(QStringLiteral("opactiy")) == QStringLiteral(" (did you mean 'opacity'?)"));
    CHECK(Cascara::nearestAnimatable(QStringLiteral("tooltip-timeout")).isEmpty());
}
