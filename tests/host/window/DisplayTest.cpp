#include "window/Display.hpp"

#include <doctest/doctest.h>

#include <QProcessEnvironment>
#include <QStringList>

using namespace Host;

namespace
{
/// "NAME=VALUE" each.
bool isDisplayIn(const QStringList& variables)
{
    QProcessEnvironment environment;
    for (const QString& variable : variables)
        environment.insert(variable.section(QLatin1Char('='), 0, 0), variable.section(QLatin1Char('='), 1));
    return hasDisplay(environment);
}
}

TEST_CASE("display: a desktop has one, and Qt's own setting comes first")
{
    const struct
    {
        QStringList environment;
        bool hasDisplay;
    } rows[] = {
        {{}, false},
        {{"HOME=/home/table"}, false},
        {{"DISPLAY=:0"}, true},
        {{"WAYLAND_DISPLAY=wayland-0"}, true},
        {{"QT_QPA_PLATFORM=eglfs"}, true},
        {{"QT_QPA_PLATFORM=linuxfb"}, true},
        {{"QT_QPA_PLATFORM=xcb", "DISPLAY=:0"}, true},
        {{"QT_QPA_PLATFORM=offscreen"}, false},
        {{"QT_QPA_PLATFORM=offscreen", "DISPLAY=:0"}, false},
        {{"QT_QPA_PLATFORM=minimal", "WAYLAND_DISPLAY=wayland-0"}, false},
        {{"QT_QPA_PLATFORM="}, false},
        {{"QT_QPA_PLATFORM=", "DISPLAY=:0"}, true},
    };
    for (const auto& row : rows) {
        CAPTURE(row.environment.join(' ').toStdString());
        CHECK(isDisplayIn(row.environment) == row.hasDisplay);
    }
}
