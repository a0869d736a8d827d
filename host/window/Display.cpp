#include "window/Display.hpp"

#include <QProcessEnvironment>

namespace Host
{
bool hasDisplay(const QProcessEnvironment& environment)
{
    const QString platform = environment.value(QStringLiteral("QT_QPA_PLATFORM"));
    if (!platform.isEmpty())
        return platform != QLatin1String("offscreen") && platform != QLatin1String("minimal");
    return environment.contains(QStringLiteral("DISPLAY")) || environment.contains(QStringLiteral("WAYLAND_DISPLAY"));
}
}
