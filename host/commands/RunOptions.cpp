#include "commands/RunOptions.hpp"

#include "presentation/Presentation.hpp"

#include <QRegularExpression>

#include <algorithm>
#include <iterator>

namespace Host
{
QString RunOptions::help(Command command)
{
    if (command == Command::Replay)
        return QStringLiteral(
            "usage: tavola replay RECORDING [PRESENTATION] [OPTION ...]\n"
            "Replays the input of a table that \"tavola run --record\" recorded: the same frames with the same datagrams, in\n"
            "the same time. Without a PRESENTATION the one that was recorded is opened. The table has the recorded size.\n"
            "\n"
            "With --manual-clock each frame that the inspector asks for is the next one of the recording, with its own step. At\n"
            "the end the table stands still; without a window and a manual clock the program ends.\n"
            "\n"
            "A replay asks nobody and tells nobody: what the media server answered and what became of e-mail is in the "
            "recording,\n"
            "--media-server and --mail-server have no effect. People are registered in a temporary folder, which begins with "
            "those\n"
            "who were known on the day, or in that of --data.\n"
            "\n"
            "The options are those of \"tavola run\" but for --size, --tuio and --record; see tavola run --help.\n");
    return QStringLiteral(
        "usage: tavola run PRESENTATION [OPTION ...]\n"
        "Opens a presentation (a folder with presentation.json) on the table.\n"
        "\n"
        "  --headless              no window; pictures of the table come from the inspector\n"
        "  --size WxH              the table's size in pixels (default: the presentation's)\n"
        "  --tuio [tcp:][ADDRESS:]PORT\n"
        "                          where TUIO arrives, by UDP or with tcp: by TCP (default 127.0.0.1:3333; port 0 chooses one\n"
        "                          and prints it); goes before the presentation's own listeners\n"
        "  --record FILE           record the input, for tavola replay; FILE must not exist yet\n"
        "  --trees FILE            write down the widgets of each frame, to compare runs; FILE must not exist yet\n"
        "  --show-input            draw fingers and cards over the table, with their ids and codes\n"
        "  --inspect PORT          serve the inspector on this loopback port (0 chooses one and prints it)\n"
        "  --manual-clock          frames run only when the inspector asks for them\n"
        "  --fullscreen            fill the screen, whatever the presentation's size\n"
        "  --opengl                draw the window by OpenGL where there is one\n"
        "  --plugin FILE           load this plug-in instead of the presentation's\n"
        "  --media-server URL      use this media server instead of the presentation's\n"
        "  --mail-server URL       use this mail server instead of those of the presentation's e-mail services\n"
        "  --data DIR              folder of the registry of people and the outbox (default: the user's data folder)\n"
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

bool parseSize(const QString& text, std::optional<QSize>& size)
{
    const auto match = QRegularExpression(QStringLiteral("^([1-9][0-9]{1,4})x([1-9][0-9]{1,4})$")).match(text);
    if (!match.hasMatch())
        return false;
    size = QSize(match.captured(1).toInt(), match.captured(2).toInt());
    return std::max(size->width(), size->height()) <= Presentation::kLargestSizePx;
}

/// One option and what it takes; `value` is what stood behind it. The reason when that makes no sense, otherwise empty.
struct OptionWithValue
{
    const char* name;
    QString (*read)(const QString& value, RunOptions& options);
};

QString wants(bool isGood, const char* what)
{
    return isGood ? QString() : QLatin1String(what);
}

const OptionWithValue kOptionsWithValue[] = {
    {"--size",
     [](const QString& value, RunOptions& options) {
         return wants(parseSize(value, options.table.size),
                      "WIDTHxHEIGHT in pixels, each from 10 to 16384, for example 1920x1080");
     }},
    {"--tuio",
     [](const QString& value, RunOptions& options) {
         InputSettings::Listener& listener = options.table.listener.emplace();
         return wants(InputSettings::parseAddress(value, listener.transport, listener.address, listener.port),
                      "[tcp:][ADDRESS:]PORT, for example 0.0.0.0:3333");
     }},
    {"--record",
     [](const QString& value, RunOptions& options) {
         options.table.recordFile = value;
         return wants(!value.isEmpty(), "the name of a file that does not exist yet");
     }},
    {"--trees",
     [](const QString& value, RunOptions& options) {
         options.table.treesFile = value;
         return wants(!value.isEmpty(), "the name of a file that does not exist yet");
     }},
    {"--inspect",
     [](const QString& value, RunOptions& options) {
         int port = 0;
         const bool isGood = parsePort(value, port);
         options.inspectPort = port;
         return wants(isGood, "a port from 0 to 65535");
     }},
    {"--plugin",
     [](const QString& value, RunOptions& options) {
         options.table.plugin = value;
         return wants(!value.isEmpty(), "the file of a plug-in");
     }},
    {"--data",
     [](const QString& value, RunOptions& options) {
         options.table.dataFolder = value;
         return wants(!value.isEmpty(), "a folder");
     }},
    {"--media-server",
     [](const QString& value, RunOptions& options) {
         options.table.mediaServer = value;
         return wants(isWebAddress(value), "an address that begins with http:// or https://");
     }},
    {"--mail-server",
     [](const QString& value, RunOptions& options) {
         options.table.mailServer = value;
         return wants(MailSettings::isMailServer(value), "an address that begins with smtp:// or smtps://");
     }},
};

const OptionWithValue* findOptionWithValue(const QString& argument)
{
    const auto found = std::find_if(std::begin(kOptionsWithValue), std::end(kOptionsWithValue),
                                    [&](const OptionWithValue& option) { return argument == QLatin1String(option.name); });
    return found != std::end(kOptionsWithValue) ? found : nullptr;
}
}

Lantern::WindowOptions RunOptions::window(const QString& title, QSize size) const
{
    Lantern::WindowOptions result;
    result.size = size;
    result.title = title;
    result.isFullScreen = fullScreen;
    if (openGL)
        result.drawing = Lantern::WindowOptions::Drawing::OpenGl;
    return result;
}

std::optional<RunOptions> RunOptions::parse(const QStringList& arguments, QString& error, Command command)
{
    const bool isReplay = command == Command::Replay;
    RunOptions options;
    for (int i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        if (const OptionWithValue* option = findOptionWithValue(argument)) {
            // What looks like the next option is no value: this one's was forgotten.
            const bool hasValue = i + 1 < arguments.size() && !arguments[i + 1].startsWith(QLatin1String("--"));
            const QString wanted = option->read(hasValue ? arguments[++i] : QString(), options);
            if (!wanted.isEmpty()) {
                error = QStringLiteral("%1 wants %2").arg(argument, wanted);
                return std::nullopt;
            }
        } else if (argument == QLatin1String("--headless")) {
            options.headless = true;
        } else if (argument == QLatin1String("--manual-clock")) {
            options.manualClock = true;
        } else if (argument == QLatin1String("--opengl")) {
            options.openGL = true;
        } else if (argument == QLatin1String("--fullscreen")) {
            options.fullScreen = true;
        } else if (argument == QLatin1String("--show-input")) {
            options.table.showInput = true;
        } else if (argument.startsWith(QLatin1Char('-'))) {
            error = QStringLiteral("unknown option %1; see tavola run --help").arg(argument);
            return std::nullopt;
        } else if (isReplay && options.table.replayFile.isEmpty()) {
            options.table.replayFile = argument;
        } else if (options.presentation.isEmpty()) {
            options.presentation = argument;
        } else {
            error = QStringLiteral("one presentation at a time: %1 is one too many").arg(argument);
            return std::nullopt;
        }
    }
    if (isReplay && options.table.replayFile.isEmpty()) {
        error = QStringLiteral("which recording? Give a file that was made by tavola run --record");
        return std::nullopt;
    }
    if (isReplay && (options.table.listener || options.table.size || !options.table.recordFile.isEmpty())) {
        error = QStringLiteral("--tuio, --size and --record make no sense in a replay: the recording has the input and the size");
        return std::nullopt;
    }
    if (!isReplay && options.presentation.isEmpty()) {
        error = QStringLiteral("which presentation? Give its folder, for example: tavola run presentations/gallery");
        return std::nullopt;
    }
    if (options.manualClock && !options.inspectPort) {
        error = QStringLiteral("--manual-clock wants --inspect PORT as well: frames are asked for through the inspector");
        return std::nullopt;
    }
    return options;
}
}
