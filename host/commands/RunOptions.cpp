#include "commands/RunOptions.hpp"

#include "presentation/Presentation.hpp"
#include "services/PeopleFile.hpp"
#include "table/PluginSearch.hpp"

#include <Lantern/PaintingThreads.hpp>

#include <QRegularExpression>

#include <algorithm>

namespace Host
{
namespace
{
const CommandLine::Help& helpOf(RunOptions::Command command)
{
    static const CommandLine::Help run{
        QStringLiteral("PRESENTATION [OPTION ...]"),
        QStringLiteral("Opens a presentation (a folder with presentation.json) on the table."),
        QStringLiteral(
            "In a window the mouse is a finger. A click while a key 1 to 9 is held puts one of the presentation's cards down,\n"
            "the wheel over a card turns it, a click on it with Shift lifts it. F11 switches full screen, Escape closes.")};
    static const CommandLine::Help replay{
        QStringLiteral("RECORDING [PRESENTATION] [OPTION ...]"),
        QStringLiteral(
            "Replays the input of a table that \"tavola run --record\" recorded: the same frames with the same datagrams, in\n"
            "the same time. Without a PRESENTATION the one that was recorded is opened. The table has the recorded size."),
        QStringLiteral(
            "With --manual-clock each frame that the inspector asks for is the next one of the recording, with its own step.\n"
            "At the end the table stands still; without a window and a manual clock the program ends.\n"
            "\n"
            "A replay reaches no server: the answers of the media server and the outcome of e-mail come from the recording,\n"
            "--media-server and --mail-server have no effect. People are registered in a temporary folder, which begins with\n"
            "the people of the recording, or in that of --data.\n"
            "\n"
            "Names, addresses and answers of servers are read from RECORDING.private; without that file they are shortened.")};
    return command == RunOptions::Command::Run ? run : replay;
}

bool parseSize(const QString& text, std::optional<QSize>& size)
{
    const auto match = QRegularExpression(QStringLiteral("^([1-9][0-9]{1,4})x([1-9][0-9]{1,4})$")).match(text);
    if (!match.hasMatch())
        return false;
    size = QSize(match.captured(1).toInt(), match.captured(2).toInt());
    return std::max(size->width(), size->height()) <= Presentation::kLargestSizePx;
}

/// Stores a whole number from `least` to `most`.
auto into(std::optional<int>& number, int least, int most)
{
    return [&number, least, most](const QString& value) {
        bool isNumber = false;
        number = value.toInt(&isNumber);
        return isNumber && *number >= least && *number <= most;
    };
}

/// Stores a text that is not empty.
auto into(QString& text)
{
    return [&text](const QString& value) {
        text = value;
        return !value.isEmpty();
    };
}

/// What a recording has of its own, so that a replay refuses it: the input and the size.
void declareRecorded(CommandLine& line, TableOptions& table, bool isListed)
{
    line.addOption({"--size", "WxH", isListed ? "the table's size in pixels (default: the presentation's)" : nullptr,
                    QStringLiteral("WIDTHxHEIGHT in pixels, each from 10 to 16384, for example 1920x1080"),
                    [&table](const QString& value) { return parseSize(value, table.size); }});
    line.addOption({"--tuio", "[tcp:][ADDRESS:]PORT",
                    isListed ? "where TUIO arrives, by UDP or with tcp: by TCP (default 127.0.0.1:3333; port 0\n"
                               "chooses one and prints it); goes before the presentation's own listeners"
                             : nullptr,
                    QStringLiteral("[tcp:][ADDRESS:]PORT, for example 0.0.0.0:3333"), [&table](const QString& value) {
                        InputSettings::Listener& listener = table.listener.emplace();
                        return InputSettings::parseAddress(value, listener.transport, listener.address, listener.port);
                    }});
    line.addOption({"--record", "FILE",
                    isListed ? "record the input, for tavola replay, and names, addresses and pages of people in\n"
                               "FILE.private; neither file may exist yet"
                             : nullptr,
                    QStringLiteral("the name of a file that does not exist yet"), into(table.recordFile)});
}

void declare(CommandLine& line, RunOptions& options, bool isReplay)
{
    TableOptions& table = options.table;
    line.addFlag("--headless", options.headless, "no window; pictures of the table come from the inspector");
    declareRecorded(line, table, !isReplay);
    line.addOption({"--trees", "FILE", "write the widgets of each frame into FILE, to compare runs; it must not exist yet",
                    QStringLiteral("the name of a file that does not exist yet"), into(table.treesFile)});
    line.addFlag("--show-input", table.showInput, "draw fingers and cards over the table, with their ids and codes");
    line.addOption({"--inspect", "PORT", "serve the inspector on this loopback port (0 chooses one and prints it)",
                    QStringLiteral("a port from 0 to 65535"), into(options.inspectPort, 0, 65535)});
    line.addFlag("--manual-clock", options.manualClock, "frames run only when the inspector asks for them");
    line.addFlag("--fullscreen", options.fullScreen, "fill the screen, whatever the presentation's size");
    line.addOption({"--fit", "HOW",
                    "how the layout fills the screen: scale (one factor, bars; the default in full screen),\n"
                    "stretch (both axes, within 2 %), relayout (the layout gets the screen's size; the default\n"
                    "in a window)",
                    QStringLiteral("one of scale, stretch, relayout"), [&table](const QString& value) {
                        table.fit = ScreenView::fitOf(value);
                        return table.fit.has_value();
                    }});
    line.addOption({"--language", "TAG", "the table's language, instead of the presentation's",
                    QStringLiteral("the tag of a language, such as de or pt-BR"), [&table](const QString& value) {
                        return PeopleFile::parseLanguage(value, table.language) && !table.language.isEmpty();
                    }});
    line.addFlag("--opengl", options.openGL, "draw the window by OpenGL where there is one");
    line.addOption({"--painting-threads", "COUNT", "draw with so many threads (default: one for each core, at most 4)",
                    QStringLiteral("a whole number from 1 to %1").arg(Lantern::PaintingThreads::kMost),
                    into(table.paintingThreads, 1, Lantern::PaintingThreads::kMost)});
    line.addOption({"--picture-megabytes", "COUNT", "memory of what is kept as pictures (default 256; 0 keeps nothing)",
                    QStringLiteral("a whole number from 0 to %1").arg(Presentation::kMostPictureMegabytes),
                    into(table.pictureMegabytes, 0, Presentation::kMostPictureMegabytes)});
    line.addOption({"--decoded-megabytes", "COUNT",
                    "disk space of decoded pictures and pages, which the next start need not decode\n"
                    "(default 512; 0 keeps nothing)",
                    QStringLiteral("a whole number from 0 to %1").arg(Presentation::kMostPictureMegabytes),
                    into(table.decodedMegabytes, 0, Presentation::kMostPictureMegabytes)});
    line.addOption({"--plugin", "FILE", "load this plug-in instead of the presentation's: a name, or a file with a slash",
                    QStringLiteral("the name of a plug-in, or its file with a slash in it, such as ./my-plug-in.so"),
                    [&table](const QString& value) {
                        table.plugin = value;
                        // A file without a slash would be searched for, and found in another place than the operator means.
                        return !value.isEmpty() && (isPluginPath(value) || !value.endsWith(QLatin1String(".so")));
                    }});
    line.addOption({"--media-server", "URL", "use this media server instead of the presentation's",
                    QStringLiteral("an address that begins with http:// or https://"), [&table](const QString& value) {
                        table.mediaServer = value;
                        return isWebAddress(value);
                    }});
    line.addOption({"--mail-server", "URL", "use this mail server instead of those of the presentation's e-mail services",
                    QStringLiteral("an address that begins with smtp:// or smtps://"), [&table](const QString& value) {
                        table.mailServer = value;
                        return MailSettings::isMailServer(value);
                    }});
    line.addOption({"--data", "DIR", "folder of the registry of people and the outbox (default: the user's data folder)",
                    QStringLiteral("a folder"), into(table.dataFolder)});
}

/// What is wrong with options that make sense one by one; empty when nothing is.
QString contradiction(const RunOptions& options, bool isReplay)
{
    const TableOptions& table = options.table;
    if (isReplay && table.replayFile.isEmpty())
        return QStringLiteral("which recording? Give a file that was made by tavola run --record");
    if (isReplay && (table.listener || table.size || !table.recordFile.isEmpty()))
        return QStringLiteral("--tuio, --size and --record make no sense in a replay: the recording has the input and the size");
    if (!isReplay && options.presentation.isEmpty())
        return QStringLiteral("which presentation? Give its folder, for example: tavola run presentations/gallery");
    if (options.manualClock && !options.inspectPort)
        return QStringLiteral("--manual-clock wants --inspect PORT as well: frames are asked for through the inspector");
    return {};
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

boost::expected<RunOptions, CommandLine::Exit> RunOptions::parse(const QStringList& arguments, Command command)
{
    const bool isReplay = command == Command::Replay;
    RunOptions options;
    CommandLine line(isReplay ? QStringLiteral("replay") : QStringLiteral("run"), helpOf(command));
    declare(line, options, isReplay);
    if (const auto exit = line.parse(arguments))
        return boost::make_unexpected(*exit);
    QStringList words = line.words();
    if (isReplay && !words.isEmpty())
        options.table.replayFile = words.takeFirst();
    if (!words.isEmpty())
        options.presentation = words.takeFirst();
    const QString wrong = words.isEmpty() ? contradiction(options, isReplay)
                                          : QStringLiteral("one presentation at a time: %1 is one too many").arg(words.first());
    if (!wrong.isEmpty())
        return boost::make_unexpected(CommandLine::Exit{2, wrong});
    return options;
}
}
