#include "motion/Animatable.hpp"

#include <doctest/doctest.h>

#include <QFile>
#include <QRegularExpression>

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

TEST_CASE("animatable: the documentation lists all of them, and no others")
{
    QFile file(QStringLiteral(TAVOLA_DOCS "/style-attributes.md"));
    REQUIRE(file.open(QFile::ReadOnly));
    const QString text = QString::fromUtf8(file.readAll());
    const int start = text.indexOf(QStringLiteral("These attributes take part:"));
    const int end = text.indexOf(QStringLiteral("width`.\n"), start);
    REQUIRE(start >= 0);
    REQUIRE(end > start);
    QStringList documented;
    auto names = QRegularExpression(QStringLiteral("`([a-z-]+)`")).globalMatch(text.mid(start, end + 7 - start));
    while (names.hasNext())
        documented.append(names.next().captured(1));
    QStringList animatable = Cascara::animatableNames();
    animatable.sort();
    CHECK(documented.join(QLatin1Char(' ')).toStdString() == animatable.join(QLatin1Char(' ')).toStdString());
}
