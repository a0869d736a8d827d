#include "presentation/InputSettings.hpp"

#include <doctest/doctest.h>

#include <QJsonDocument>
#include <QJsonObject>

using namespace Host;

namespace
{
struct Outcome
{
    InputSettings settings;
    QStringList skipped;
};

Outcome read(const char* json)
{
    QJsonParseError error;
    const QJsonObject root = QJsonDocument::fromJson(json, &error).object();
    REQUIRE_MESSAGE(error.error == QJsonParseError::NoError, error.errorString().toStdString());
    Outcome outcome;
    outcome.settings = InputSettings::read(
        root, [&outcome](const QString& place, const QString& why) { outcome.skipped << place + QStringLiteral(": ") + why; });
    return outcome;
}
}

TEST_CASE("input settings: a presentation without input has the default ones")
{
    const Outcome outcome = read("{}");
    CHECK(outcome.skipped.isEmpty());
    CHECK(outcome.settings.holdSeconds == 0.6);
    CHECK(outcome.settings.lostSeconds == 5.0);
    CHECK(outcome.settings.smoothing);
}

TEST_CASE("input settings: every listener and setting is read")
{
    const Outcome outcome = read(R"({
        "input": [{"tuio": "127.0.0.1:3333"},
                  {"tuio": "tcp:[::1]:4000", "rect": [1920, 0, 1920, 1080.5], "allow": ["192.168.0.20", "::1"]}],
        "inputSettings": {"holdMilliseconds": 250, "lostSeconds": 1.5, "smoothing": false}})");
    CHECK(outcome.skipped.isEmpty());
    REQUIRE(outcome.settings.listeners.size() == 2);
    const auto& first = outcome.settings.listeners[0];
    CHECK(first.transport == InputSettings::Transport::Udp);
    CHECK(first.address == "127.0.0.1");
    CHECK(first.port == 3333);
    CHECK_FALSE(first.hasRect);
    CHECK(first.allow.isEmpty());
    const auto& second = outcome.settings.listeners[1];
    CHECK(second.transport == InputSettings::Transport::Tcp);
    CHECK(second.address == "::1");
    CHECK(second.port == 4000);
    CHECK(second.hasRect);
    CHECK(second.x == 1920.f);
    CHECK(second.height == 1080.5f);
    CHECK(second.allow == QStringList{"192.168.0.20", "::1"});
    CHECK(outcome.settings.holdSeconds == 0.25);
    CHECK(outcome.settings.lostSeconds == 1.5);
    CHECK_FALSE(outcome.settings.smoothing);
}

TEST_CASE("input settings: a listener with anything wrong in it is left out whole, with its place and the remedy")
{
    struct Row
    {
        const char* listener;
        const char* told;
    };
    const char* const kTuio =
        "input[0].tuio: expected \"ADDRESS:PORT\" or \"tcp:ADDRESS:PORT\", such as \"127.0.0.1:3333\"; nothing listens there";
    const char* const kRect =
        "input[0].rect: expected [x, y, width, height] in pixels of the table, the last two above 0; nothing listens there";
    const char* const kAllow =
        "input[0].allow: expected a list of numeric addresses, such as [\"192.168.0.20\"]; nothing listens there";
    const Row rows[] = {
        {R"({})", kTuio},
        {R"({"tuio": "here:3333"})", kTuio},
        {R"({"tuio": "127.0.0.1:70000"})", kTuio},
        {R"({"tuio": "127.0.0.1:-1"})", kTuio},
        {R"({"tuio": "tcp:127.0.0.1"})", kTuio},
        {R"({"tuio": "TCP:127.0.0.1:3333"})", kTuio},
        {R"({"tuio": 3333})", kTuio},
        {R"("127.0.0.1:3333")", kTuio},
        {R"({"tuio": "127.0.0.1:1", "rect": [0, 0, 100]})", kRect},
        {R"({"tuio": "127.0.0.1:1", "rect": [0, 0, 0, 100]})", kRect},
        {R"({"tuio": "127.0.0.1:1", "rect": [0, 0, 1e300, 100]})", kRect},
        {R"({"tuio": "127.0.0.1:1", "rect": ["a", 0, 1, 1]})", kRect},
        {R"({"tuio": "127.0.0.1:1", "rect": "all"})", kRect},
        {R"({"tuio": "127.0.0.1:1", "allow": "192.168.0.20"})", kAllow},
        {R"({"tuio": "127.0.0.1:1", "allow": []})", kAllow},
        {R"({"tuio": "127.0.0.1:1", "allow": ["192.168.0.20", "camera"]})", kAllow},
    };
    for (const Row& row : rows) {
        CAPTURE(row.listener);
        const Outcome outcome = read(("{\"input\": [" + std::string(row.listener) + ", {\"tuio\": \"127.0.0.1:2\"}]}").c_str());
        CHECK(outcome.skipped == QStringList{QLatin1String(row.told)});
        REQUIRE(outcome.settings.listeners.size() == 1);
        CHECK(outcome.settings.listeners[0].port == 2);
    }
}

TEST_CASE("input settings: a setting that is wrong keeps its usual value")
{
    const Outcome outcome = read(R"({"input": 3333, "inputSettings": {
        "holdMilliseconds": -1, "lostSeconds": "long", "smoothing": 1, "speed": 2}})");
    CHECK(outcome.skipped
          == QStringList{"input: expected a list of listeners; no tracker is listened to",
                         "inputSettings.speed: unknown entry; known are holdMilliseconds, lostSeconds, smoothing",
                         "inputSettings.holdMilliseconds: expected a number from 0 to 60000",
                         "inputSettings.lostSeconds: expected a number from 0 to 3600",
                         "inputSettings.smoothing: expected true or false"});
    CHECK(outcome.settings.holdSeconds == 0.6);
    CHECK(outcome.settings.lostSeconds == 5.0);
    CHECK(outcome.settings.smoothing);
    CHECK(read(R"({"input": [{"tuio": "127.0.0.1:1", "port": 2}]})").skipped
          == QStringList{"input[0].port: unknown entry; known are tuio, rect, allow, ignore"});
    CHECK(read(R"({"inputSettings": []})").skipped == QStringList{"inputSettings: expected an object of names and values"});
}

TEST_CASE("input settings: the default listener stands in where none is named, never where some were left out")
{
    for (const char* none : {"{}", R"({"input": []})"}) {
        CAPTURE(none);
        const auto listeners = read(none).settings.listeners;
        REQUIRE(listeners.size() == 1);
        CHECK(listeners[0].transport == InputSettings::Transport::Udp);
        CHECK(listeners[0].address == "127.0.0.1");
        CHECK(listeners[0].port == 3333);
    }
    CHECK(read(R"({"input": [{"tuio": "127.0.0.1:1"}]})").settings.listeners.size() == 1);
    CHECK(read(R"({"input": [{"tuio": "0.0.0.0:1", "allow": ["camera"]}]})").settings.listeners.empty());
    CHECK(read(R"({"input": 3333})").settings.listeners.empty());
}

TEST_CASE("input settings: ignored areas are rectangles or polygons, and one with a mistake is left out by itself")
{
    const Outcome outcome = read(R"({"input": [{"tuio": "127.0.0.1:1", "ignore": [
        [0.9, 0, 0.1, 0.2],
        [[0, 0], [0.1, 0], [0, 0.1]],
        [100, 0, 20, 20],
        [-0.1, 0, 0.1, 0.1],
        [0, 0, 0.1],
        [0, 0, 0, 0.1],
        [[0, 0], [0.1, 0], [0, 1.1]],
        [[0, 0], [0.1, 0]],
        "all"]}]})");
    const QString why =
        QStringLiteral(": expected [x, y, width, height] or 3 to 64 corners [x, y], in numbers from 0 to 1 of the "
                       "tracker's surface; this area is not ignored");
    QStringList told;
    for (int i = 2; i < 9; ++i)
        told << QStringLiteral("input[0].ignore[%1]").arg(i) + why;
    CHECK(outcome.skipped == told);
    REQUIRE(outcome.settings.listeners.size() == 1);
    const auto& ignore = outcome.settings.listeners[0].ignore;
    REQUIRE(ignore.size() == 2);
    CHECK(ignore[0] == Tactile::SurfaceArea::ofRect({0.9f, 0.f, 0.1f, 0.2f}));
    CHECK(ignore[1] == Tactile::SurfaceArea{{{0.f, 0.f}, {0.1f, 0.f}, {0.f, 0.1f}}});

    CHECK(read(R"({"input": [{"tuio": "127.0.0.1:1", "ignore": 1}]})").skipped
          == QStringList{"input[0].ignore: expected a list of up to 64 areas; nothing is ignored"});
    CHECK(read(R"({"input": [{"tuio": "127.0.0.1:1", "ignore": []}]})").skipped.isEmpty());
}

TEST_CASE("input settings: an ignored area has 64 corners at most")
{
    for (const int count : {64, 65}) {
        QByteArray corners;
        for (int i = 0; i < count; ++i)
            corners += QByteArray(i > 0 ? ", " : "") + "[0." + QByteArray::number(10 + i) + ", 0.5]";
        const QByteArray json = R"({"input": [{"tuio": "127.0.0.1:1", "ignore": [[)" + corners + "]]}]}";
        CHECK(read(json.constData()).skipped.size() == (count > 64 ? 1 : 0));
    }
}
