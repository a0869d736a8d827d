#include "RunOptions.hpp"

#include <QRegularExpression>

QString RunOptions::help()
{
    return QStringLiteral(
        "usage: tavola run PRESENTATION [OPTION ...]\n"
        "Opens a presentation (a folder with presentation.json) on the table.\n"
        "\n"
        "  --headless              no window; pictures of the table come from the inspector\n"
        "  --size WxH              the table's size in pixels (default: the presentation's)\n"
        "  --tuio [ADDRESS:]PORT   where TUIO datagrams arrive (default 127.0.0.1:3333; port 0 chooses one and prints it)\n"
        "  --inspect PORT          serve the inspector on this loopback port (0 chooses one and prints it)\n"
        "  --manual-clock          frames run only when the inspector asks for them\n"
        "  --opengl                draw the window by OpenGL where there is one\n"
        "  --plugin FILE           load this plug-in instead of the presentation's\n"
        "  --media-server URL      use this media server instead of the presentation's\n"
        "  --data DIR              folder of the registry of people (default: the user's data folder)\n"
        "\n"
        "In a window the mouse is a finger. A click while a key 1 to 9 is held puts one of the presentation's cards down,\n"
        "the wheel over a card turns it, a click on it with Shift lifts it. F11 switches full screen, Escape closes.\n");
}

namespace
{
bool parsePort(const QString& text, int& port)
{
    bool ok = false;
    port = text.toInt(&ok);
    return ok && port >= 0 && port <= 65535;
}
}

std::optional<RunOptions> RunOptions::parse(const QStringList& arguments, QString& error)
{
    RunOptions options;
    for (int i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        const auto value = [&]() -> QString { return i + 1 < arguments.size() ? arguments[++i] : QString(); };
        if (argument == QLatin1String("--headless")) {
            options.headless = true;
        } else if (argument == QLatin1String("--manual-clock")) {
            options.manualClock = true;
        } else if (argument == QLatin1String("--opengl")) {
            options.openGL = true;
        } else if (argument == QLatin1String("--size")) {
            const auto match = QRegularExpression(QStringLiteral("^([1-9][0-9]{1,4})x([1-9][0-9]{1,4})$")).match(value());
            if (!match.hasMatch()) {
                error = QStringLiteral("--size wants WIDTHxHEIGHT in pixels, for example 1920x1080");
                return std::nullopt;
            }
            options.size = QSize(match.captured(1).toInt(), match.captured(2).toInt());
        } else if (argument == QLatin1String("--tuio")) {
            const QString text = value();
            const int colon = text.lastIndexOf(QLatin1Char(':'));
            if (colon >= 0)
                options.tuioAddress = text.left(colon);
            if (!parsePort(text.mid(colon + 1), options.tuioPort) || QHostAddress(options.tuioAddress).isNull()) {
                error = QStringLiteral("--tuio wants [ADDRESS:]PORT, for example 0.0.0.0:3333");
                return std::nullopt;
            }
        } else if (argument == QLatin1String("--inspect")) {
            int port = 0;
            if (!parsePort(value(), port)) {
                error = QStringLiteral("--inspect wants a port from 0 to 65535");
                return std::nullopt;
            }
            options.inspectPort = port;
        } else if (argument == QLatin1String("--plugin")) {
            options.plugin = value();
            if (options.plugin.isEmpty()) {
                error = QStringLiteral("--plugin wants the file of a plug-in");
                return std::nullopt;
            }
        } else if (argument == QLatin1String("--data")) {
            options.dataFolder = value();
            if (options.dataFolder.isEmpty()) {
                error = QStringLiteral("--data wants a folder");
                return std::nullopt;
            }
        } else if (argument == QLatin1String("--media-server")) {
            options.mediaServer = value();
            if (!options.mediaServer.startsWith(QLatin1String("http"))) {
                error = QStringLiteral("--media-server wants an address that begins with http:// or https://");
                return std::nullopt;
            }
        } else if (argument.startsWith(QLatin1Char('-'))) {
            error = QStringLiteral("unknown option %1; see tavola run --help").arg(argument);
            return std::nullopt;
        } else if (options.presentation.isEmpty()) {
            options.presentation = argument;
        } else {
            error = QStringLiteral("one presentation at a time: %1 is one too many").arg(argument);
            return std::nullopt;
        }
    }
    if (options.presentation.isEmpty()) {
        error = QStringLiteral("which presentation? Give its folder, for example: tavola run presentations/gallery");
        return std::nullopt;
    }
    if (options.manualClock && !options.inspectPort) {
        error = QStringLiteral("--manual-clock wants --inspect PORT as well: frames are asked for through the inspector");
        return std::nullopt;
    }
    return options;
}
