#include "commands/RunOptions.hpp"

#include <doctest/doctest.h>

namespace
{
std::optional<RunOptions> parse(const char* line, QString& error, RunOptions::Command command)
{
    return RunOptions::parse(QString::fromUtf8(line).split(QLatin1Char(' '), Qt::SkipEmptyParts), error, command);
}

RunOptions parsed(const char* line, RunOptions::Command command = RunOptions::Command::Run)
{
    QString error;
    const auto options = parse(line, error, command);
    REQUIRE_MESSAGE(options, error.toStdString());
    return *options;
}
}

TEST_CASE("input options: what is recorded and drawn is asked for, and nothing otherwise")
{
    const RunOptions usual = parsed("gallery");
    CHECK_FALSE(usual.hasTuio);
    CHECK_FALSE(usual.showInput);
    CHECK(usual.recordFile.isEmpty());
    CHECK(usual.replayFile.isEmpty());
    const RunOptions options = parsed("gallery --record evening.rec --show-input --tuio 0");
    CHECK(options.hasTuio);
    CHECK(options.showInput);
    CHECK(options.recordFile == "evening.rec");
    CHECK(options.presentation == "gallery");
}

TEST_CASE("input options: a replay has a recording, and a presentation if need be")
{
    const RunOptions alone = parsed("evening.rec --show-input", RunOptions::Command::Replay);
    CHECK(alone.replayFile == "evening.rec");
    CHECK(alone.presentation.isEmpty());
    CHECK(alone.showInput);
    const RunOptions both = parsed("--headless evening.rec gallery --inspect 0 --manual-clock", RunOptions::Command::Replay);
    CHECK(both.replayFile == "evening.rec");
    CHECK(both.presentation == "gallery");
    CHECK(both.manualClock);
}

TEST_CASE("input options: what makes no sense in a replay is refused")
{
    QString error;
    CHECK_FALSE(parse("", error, RunOptions::Command::Replay));
    CHECK(error == "which recording? Give a file that was made by tavola run --record");
    for (const char* line : {"a.rec p --tuio 3333", "a.rec p --record b.rec", "a.rec p --size 800x600"}) {
        CAPTURE(line);
        CHECK_FALSE(parse(line, error, RunOptions::Command::Replay));
        CHECK(error == "--tuio, --size and --record make no sense in a replay: the recording has the input and the size");
    }
    CHECK_FALSE(parse("a.rec p q", error, RunOptions::Command::Replay));
    CHECK(error == "one presentation at a time: q is one too many");
}
