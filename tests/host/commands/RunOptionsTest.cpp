#include "commands/RunOptions.hpp"

#include <doctest/doctest.h>

using namespace Host;

namespace
{
QStringList words(const char* line)
{
    return QString::fromUtf8(line).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

RunOptions parsed(const char* line, RunOptions::Command command = RunOptions::Command::Run)
{
    const auto options = RunOptions::parse(words(line), command);
    REQUIRE_MESSAGE(options, options.error().text.toStdString());
    return *options;
}

/// The reason of a refusal.
std::string refused(const char* line, RunOptions::Command command = RunOptions::Command::Run)
{
    const auto options = RunOptions::parse(words(line), command);
    REQUIRE_FALSE(options);
    CHECK(options.error().code == 2);
    return options.error().text.toStdString();
}
}

TEST_CASE("run options: a presentation alone is shown with the usual settings")
{
    const RunOptions options = parsed("presentations/gallery");
    CHECK(options.presentation == "presentations/gallery");
    CHECK_FALSE(options.headless);
    CHECK_FALSE(options.manualClock);
    CHECK_FALSE(options.openGL);
    CHECK_FALSE(options.table.size);
    CHECK_FALSE(options.inspectPort);
    CHECK_FALSE(options.table.listener);
    CHECK(options.table.plugin.isEmpty());
    CHECK(options.table.dataFolder.isEmpty());
    CHECK(options.table.mediaServer.isEmpty());
}

TEST_CASE("run options: every option is read, in any order")
{
    const RunOptions options =
        parsed("--headless --size 800x600 --inspect 0 gallery --manual-clock --opengl --fit stretch --tuio 0.0.0.0:4000 "
               "--plugin lib/one.so --data /var/table --media-server https://media.example/ "
               "--painting-threads 3 --picture-megabytes 0 --decoded-megabytes 7 --language pt-BR");
    CHECK(options.presentation == "gallery");
    CHECK(options.headless);
    CHECK(options.manualClock);
    CHECK(options.openGL);
    CHECK(options.table.size == QSize(800, 600));
    CHECK(options.table.fit == ScreenFit::Stretch);
    CHECK(options.inspectPort == 0);
    CHECK(options.table.listener->address == "0.0.0.0");
    CHECK(options.table.listener->port == 4000);
    CHECK(options.table.plugin == "lib/one.so");
    CHECK(options.table.dataFolder == "/var/table");
    CHECK(options.table.mediaServer == "https://media.example/");
    CHECK(options.table.paintingThreads == 3);
    CHECK(options.table.pictureMegabytes == 0);
    CHECK(options.table.decodedMegabytes == 7);
    CHECK(options.table.language == "pt-br");
}

TEST_CASE("run options: the address of the table's input may be left out, named or of either kind")
{
    struct Row
    {
        const char* line;
        const char* address;
        int port;
    };
    const Row rows[] = {
        {"g --tuio 4000", "127.0.0.1", 4000},     {"g --tuio 0", "127.0.0.1", 0},
        {"g --tuio localhost:1", "127.0.0.1", 1}, {"g --tuio 192.168.0.20:65535", "192.168.0.20", 65535},
        {"g --tuio [::1]:3333", "::1", 3333},     {"g --tuio tcp:4000", "127.0.0.1", 4000},
        {"g --tuio tcp:[::1]:3333", "::1", 3333},
    };
    for (const Row& row : rows) {
        CAPTURE(row.line);
        const RunOptions options = parsed(row.line);
        REQUIRE(options.table.listener);
        CHECK(options.table.listener->address == row.address);
        CHECK(options.table.listener->port == row.port);
        CHECK((options.table.listener->transport == InputSettings::Transport::Tcp)
              == (std::string(row.line).find("tcp:") != std::string::npos));
    }
}

TEST_CASE("run options: arguments that make no sense are refused with what would")
{
    const char* const kSize = "--size wants WIDTHxHEIGHT in pixels, each from 10 to 16384, for example 1920x1080";
    const char* const kTuio = "--tuio wants [tcp:][ADDRESS:]PORT, for example 0.0.0.0:3333";
    const char* const kInspect = "--inspect wants a port from 0 to 65535";
    const char* const kServer = "--media-server wants an address that begins with http:// or https://";
    const char* const kPlugin = "--plugin wants the name of a plug-in, or its file with a slash in it, such as ./my-plug-in.so";
    struct Row
    {
        const char* line;
        const char* error;
    };
    const Row rows[] = {
        {"", "which presentation? Give its folder, for example: tavola run presentations/gallery"},
        {"--headless", "which presentation? Give its folder, for example: tavola run presentations/gallery"},
        {"a b", "one presentation at a time: b is one too many"},
        {"a --fast", "unknown option --fast; see tavola run --help"},
        {"a -x", "unknown option -x; see tavola run --help"},
        {"a --size", kSize},
        {"a --size 800", kSize},
        {"a --size 0x600", kSize},
        {"a --size 800x600x2", kSize},
        {"a --size -5x7", kSize},
        {"a --size 16385x600", kSize},
        {"a --size 99999999x1", kSize},
        {"a --tuio", kTuio},
        {"a --tuio 65536", kTuio},
        {"a --tuio -1", kTuio},
        {"a --tuio museum:3333", kTuio},
        {"a --tuio :3333", kTuio},
        {"a --tuio 127.0.0.1:", kTuio},
        {"a --tuio tcp:", kTuio},
        {"a --tuio udp:4000", kTuio},
        {"a --inspect", kInspect},
        {"a --inspect high", kInspect},
        {"a --inspect 65536", kInspect},
        {"a --inspect --headless", kInspect},
        {"a --plugin", kPlugin},
        {"a --plugin --headless", kPlugin},
        {"a --plugin one.so", kPlugin},
        {"a --data", "--data wants a folder"},
        {"a --painting-threads 0", "--painting-threads wants a whole number from 1 to 16"},
        {"a --painting-threads 17", "--painting-threads wants a whole number from 1 to 16"},
        {"a --picture-megabytes -1", "--picture-megabytes wants a whole number from 0 to 65536"},
        {"a --picture-megabytes 65537", "--picture-megabytes wants a whole number from 0 to 65536"},
        {"a --decoded-megabytes -1", "--decoded-megabytes wants a whole number from 0 to 65536"},
        {"a --decoded-megabytes 65537", "--decoded-megabytes wants a whole number from 0 to 65536"},
        {"a --media-server", kServer},
        {"a --media-server ftp://media", kServer},
        {"a --media-server httpx", kServer},
        {"a --media-server http://", kServer},
        {"a --manual-clock", "--manual-clock wants --inspect PORT as well: frames are asked for through the inspector"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.line);
        CHECK(refused(row.line) == row.error);
    }
}

TEST_CASE("run options: what is recorded and drawn is asked for, and nothing otherwise")
{
    const RunOptions usual = parsed("gallery");
    CHECK_FALSE(usual.table.listener);
    CHECK_FALSE(usual.table.showInput);
    CHECK(usual.table.recordFile.isEmpty());
    CHECK(usual.table.replayFile.isEmpty());
    const RunOptions options = parsed("gallery --record evening.rec --show-input --tuio 0");
    CHECK(options.table.listener);
    CHECK(options.table.showInput);
    CHECK(options.table.recordFile == "evening.rec");
    CHECK(options.presentation == "gallery");
}

TEST_CASE("run options: a replay has a recording, and a presentation if need be")
{
    const RunOptions alone = parsed("evening.rec --show-input", RunOptions::Command::Replay);
    CHECK(alone.table.replayFile == "evening.rec");
    CHECK(alone.presentation.isEmpty());
    CHECK(alone.table.showInput);
    const RunOptions both = parsed("--headless evening.rec gallery --inspect 0 --manual-clock", RunOptions::Command::Replay);
    CHECK(both.table.replayFile == "evening.rec");
    CHECK(both.presentation == "gallery");
    CHECK(both.manualClock);
}

TEST_CASE("run options: what makes no sense in a replay is refused")
{
    const char* const kRecorded =
        "--tuio, --size and --record make no sense in a replay: the recording has the input and the size";
    const struct
    {
        const char* line;
        const char* error;
    } rows[] = {
        {"", "which recording? Give a file that was made by tavola run --record"},
        {"a.rec p --tuio 3333", kRecorded},
        {"a.rec p --record b.rec", kRecorded},
        {"a.rec p --size 800x600", kRecorded},
        {"a.rec p q", "one presentation at a time: q is one too many"},
        {"a.rec --fast", "unknown option --fast; see tavola replay --help"},
    };
    for (const auto& row : rows) {
        CAPTURE(row.line);
        CHECK(refused(row.line, RunOptions::Command::Replay) == row.error);
    }
}

TEST_CASE("run options: without window options the window is an ordinary raster one, and each option is passed on")
{
    using Drawing = Lantern::WindowOptions::Drawing;
    RunOptions run;
    const Lantern::WindowOptions usual = run.window("Rooms", {800, 600});
    CHECK(usual.title == "Rooms");
    CHECK(usual.size == QSize(800, 600));
    CHECK_FALSE(usual.isFullScreen);
    CHECK(usual.drawing == Drawing::Raster);

    run.fullScreen = true;
    CHECK(run.window("Rooms", {800, 600}).isFullScreen);
    CHECK(run.window("Rooms", {800, 600}).drawing == Drawing::Raster);
    run.fullScreen = false;
    run.openGL = true;
    CHECK(run.window("Rooms", {800, 600}).drawing == Drawing::OpenGl);
    CHECK_FALSE(run.window("Rooms", {800, 600}).isFullScreen);
}

TEST_CASE("run options: the help lists every option, that of a replay all but those of the recording")
{
    for (const auto command : {RunOptions::Command::Run, RunOptions::Command::Replay}) {
        const bool isReplay = command == RunOptions::Command::Replay;
        CAPTURE(isReplay);
        const auto answer = RunOptions::parse({QStringLiteral("--help")}, command);
        REQUIRE_FALSE(answer);
        CHECK(answer.error().code == 0);
        const QString help = answer.error().text;
        for (const char* option :
             {"--headless", "--trees FILE", "--show-input", "--inspect PORT", "--manual-clock", "--fullscreen", "--fit HOW",
              "--language TAG", "--opengl", "--plugin FILE", "--media-server URL", "--mail-server URL", "--data DIR",
              "--painting-threads COUNT", "--picture-megabytes COUNT", "--decoded-megabytes COUNT"})
            CHECK_MESSAGE(help.contains(QLatin1String("\n  ") + QLatin1String(option)), option);
        for (const char* option : {"--size WxH", "--tuio [tcp:][ADDRESS:]PORT", "--record FILE"})
            CHECK_MESSAGE(help.contains(QLatin1String("\n  ") + QLatin1String(option)) != isReplay, option);
        CHECK_FALSE(help.contains("\n\n\n"));
        for (const QString& line : help.split(QLatin1Char('\n')))
            CHECK_MESSAGE(line.size() <= 120, line.toStdString());
    }
}
