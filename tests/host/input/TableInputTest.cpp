#include "TablePlace.hpp"
#include "TableSender.hpp"

#include "HttpTalk.hpp"
#include "Patience.hpp"
#include "input/InputOverlay.hpp"
#include "inspector/Inspector.hpp"
#include "inspector/TableLog.hpp"

#include <EventLoop.hpp>
#include <LogCapture.hpp>
#include <Tactile/OscWriter.hpp>
#include <Tactile/TuioEncoder.hpp>
#include <Tavola/Tavola.hpp>
#include <Tavola/UserInterface.hpp>
#include <Trellis/GrabManager.hpp>
#include <Trellis/Widget.hpp>

#include <QTcpSocket>

#include <limits>

using namespace Host;

namespace
{
std::vector<char> fingerPacket(const char* source, float x, float y)
{
    Tactile::TuioEncoder encoder(source);
    encoder.begin(Tactile::TuioProfile::Cursors);
    encoder.alive({1});
    encoder.setCursor(1, x, y);
    return encoder.finish(1);
}

const Tactile::Sample& sampleOf(const Table& table)
{
    return table.application().grabManager()->currentSample();
}
}

TEST_CASE("table input: each listener of a presentation has its part of the table")
{
    TablePlace place;
    place.options.listener.reset();
    place.presentation(R"({"table": {"width": 2000, "height": 1000}, "input": [
        {"tuio": "127.0.0.1:0", "rect": [0, 0, 1000, 1000]},
        {"tuio": "[::1]:0", "rect": [1000, 500, 1000, 500]}]})");
    const auto table = place.open();
    REQUIRE(table->listeners().size() == 2);
    CHECK(table->listeners().at(1).toObject().value("tuio").toString().startsWith("[::1]:"));
    TableSender sender(*table);
    sender.setPort(portOf(*table, 0));
    sender.send(fingerPacket("left@cam", 0.5f, 0.5f));
    sender.setPort(portOf(*table, 1));
    sender.send(fingerPacket("right@cam", 0.5f, 0.5f), QHostAddress(QHostAddress::LocalHostIPv6));
    table->frame(0.02);
    REQUIRE(sampleOf(*table).fingers.size() == 2);
    CHECK(sampleOf(*table).fingers[0].centerLocation() == Vecta::Vector2f(500.f, 500.f));
    CHECK(sampleOf(*table).fingers[1].centerLocation() == Vecta::Vector2f(1500.f, 750.f));
}

TEST_CASE("table input: a listener of a presentation, or that of the command line, may be one by TCP")
{
    TablePlace place;
    place.presentation(
        R"({"table": {"width": 2000, "height": 1000}, "input": [{"tuio": "tcp:127.0.0.1:0", "allow": ["127.0.0.1"]}]})");
    for (const bool isOnCommandLine : {false, true}) {
        CAPTURE(isOnCommandLine);
        place.options.listener.reset();
        if (isOnCommandLine) {
            auto& listener = place.options.listener.emplace();
            listener.transport = InputSettings::Transport::Tcp;
            listener.port = 0;
        }
        const auto table = place.open();
        REQUIRE(table->listeners().size() == 1);
        CHECK(table->listeners().at(0).toObject().value("tuio").toString()
              == QStringLiteral("tcp:127.0.0.1:%1").arg(table->tuioPort()));
        QTcpSocket tracker;
        tracker.connectToHost(QHostAddress(QHostAddress::LocalHost), quint16(table->tuioPort()));
        REQUIRE(tracker.waitForConnected(TestSupport::kPatienceMs));
        const std::vector<char> packet = fingerPacket("left@cam", 0.5f, 0.5f);
        const char length[4] = {0, 0, char(packet.size() >> 8), char(packet.size())};
        tracker.write(length, sizeof length);
        tracker.write(packet.data(), qint64(packet.size()));
        while (tracker.bytesToWrite() > 0)
            REQUIRE(tracker.waitForBytesWritten(TestSupport::kPatienceMs));
        REQUIRE(table->input().waitForDatagrams(1, TestSupport::kPatience));
        table->frame(0.02);
        REQUIRE(sampleOf(*table).fingers.size() == 1);
        CHECK(sampleOf(*table).fingers[0].centerLocation() == Vecta::Vector2f(1000.f, 500.f));
    }
}

TEST_CASE("table input: the address on the command line goes before the presentation's listeners")
{
    TablePlace place;
    place.presentation(R"({"input": [{"tuio": "127.0.0.1:0"}, {"tuio": "127.0.0.1:0"}]})");
    place.options.listener->address = QStringLiteral("127.0.0.2");
    const auto table = place.open();
    REQUIRE(table->listeners().size() == 1);
    CHECK(table->listeners().at(0).toObject().value("tuio").toString() == QStringLiteral("127.0.0.2:%1").arg(table->tuioPort()));
}

TEST_CASE("table input: what is sent by others than those allowed is refused, and the inspector counts it")
{
    TablePlace place;
    place.presentation(
        R"({"input": [{"tuio": "127.0.0.1:0", "allow": ["127.0.0.9"]}, {"tuio": "127.0.0.1:0", "allow": ["127.0.0.1"]}]})");
    place.options.listener.reset();
    const TableLog log;
    const auto table = place.open();
    Inspector inspector({table->application(), log, &table->input(), true, {}, {}, [&table] { return table->listeners(); }});
    QString error;
    REQUIRE(inspector.listen(0, error));

    TableSender sender(*table);
    sender.setPort(portOf(*table, 0));
    sender.post(fingerPacket("stranger@x", 0.5f, 0.5f));
    const auto refused = [&] {
        return ask(inspector.port(), "GET", "/input")
            .json()
            .object()
            .value("listeners")
            .toArray()
            .at(0)
            .toObject()
            .value("refusedSenders")
            .toInt();
    };
    CHECK(TestSupport::pumpUntil([&] { return refused() == 1; }));
    CHECK(log.lines().last().toObject().value("text").toString().startsWith(
        QStringLiteral("UdpDatagramSource # Refused a datagram from 127.0.0.1:")));
    sender.setPort(portOf(*table, 1));
    sender.send(fingerPacket("friend@x", 0.5f, 0.5f));
    table->frame(0.02);

    const QJsonObject report = ask(inspector.port(), "GET", "/input").json().object();
    CHECK(report.value("listeners").toArray().at(1).toObject().value("refusedSenders").toInt(-1) == 0);
    REQUIRE(report.value("sources").toArray().size() == 1);
    const QJsonObject source = report.value("sources").toArray().at(0).toObject();
    CHECK(source.value("name") == "friend@x");
    CHECK(source.value("packets").toInt() == 1);
    CHECK(source.value("fingers").toInt() == 1);
    CHECK(source.value("drops").toObject().contains("noFrame"));
    CHECK(report.value("refusals").isObject());
}

TEST_CASE("table input: a tracker's ignored area is ignored, counted and drawn")
{
    TablePlace place;
    place.presentation(R"({"input": [{"tuio": "127.0.0.1:0", "ignore": [[0, 0, 0.2, 0.2]]}]})");
    place.options.listener.reset();
    place.options.showInput = true;
    const auto table = place.open();
    const TableLog log;
    Inspector inspector({table->application(), log, &table->input(), true, {}, {}, [&table] { return table->listeners(); }});
    QString error;
    REQUIRE(inspector.listen(0, error));
    TableSender sender(*table);
    sender.send(fingerPacket("lamp@cam", 0.1f, 0.1f));
    table->frame(0.02);
    const QJsonObject report = ask(inspector.port(), "GET", "/input").json().object();
    CHECK(report.value("listeners").toArray().at(0).toObject().value("ignoredAreas").toInt() == 1);
    CHECK(report.value("drops").toObject().value("ignoredArea").toInt() == 1);
    const auto overlay = Tavola::Tavola::instance()->ui()->internalOverlayWidget()->findByType("InputOverlay");
    REQUIRE(overlay);
    CHECK(overlay->children().size() == 1);
    CHECK(overlay->findByType("InputArea"));
}

TEST_CASE("table input: a replay ignores and draws the areas of its recording, not those of its presentation")
{
    TablePlace place;
    place.options.listener.reset();
    place.presentation(R"({"input": [{"tuio": "127.0.0.1:0", "ignore": [[0, 0, 0.2, 0.2]]}]})");
    place.options.recordFile = place.folder.path(QStringLiteral("evening.rec"));
    {
        const auto table = place.open();
        TableSender sender(*table);
        sender.send(fingerPacket("lamp@cam", 0.1f, 0.1f));
        sender.send(fingerPacket("visitor@cam", 0.5f, 0.5f));
        table->frame(0.02);
        CHECK(sampleOf(*table).fingers.size() == 1);
    }
    place.options.replayFile = place.options.recordFile;
    place.options.recordFile.clear();
    place.options.showInput = true;
    place.presentation("{}");
    const auto replay = place.open();
    replay->frame(0.02);
    CHECK(sampleOf(*replay).fingers.size() == 1);
    const auto overlay = Tavola::Tavola::instance()->ui()->internalOverlayWidget()->findByType("InputOverlay");
    REQUIRE(overlay);
    CHECK(overlay->findByType("InputArea"));
    CHECK(overlay->children().size() == 2);
}

TEST_CASE("table input: the inspector names connections that made room, and profiles whose frames have no end")
{
    TablePlace place;
    place.presentation(R"({"input": [{"tuio": "tcp:127.0.0.1:0"}, {"tuio": "127.0.0.1:0"}]})");
    place.options.listener.reset();
    const auto table = place.open();
    const TableLog log;
    Inspector inspector({table->application(), log, &table->input(), true, {}, {}, [&table] { return table->listeners(); }});
    QString error;
    REQUIRE(inspector.listen(0, error));
    const auto report = [&] { return ask(inspector.port(), "GET", "/input").json().object(); };

    std::vector<std::unique_ptr<QTcpSocket>> silent;
    for (int i = 0; i < 17; ++i) {
        silent.push_back(std::make_unique<QTcpSocket>());
        silent.back()->connectToHost(QHostAddress::LocalHost, portOf(*table, 0));
        REQUIRE(silent.back()->waitForConnected(TestSupport::kPatienceMs));
    }
    const auto closed = [&] { return report().value("listeners").toArray().at(0).toObject().value("silentConnections").toInt(); };
    CHECK(TestSupport::pumpUntil([&] { return closed() == 1; }, TestSupport::kPatienceMs));
    CHECK(log.lines().last().toObject().value("text").toString().contains("which has sent no OSC packet, to make room for"));

    TableSender sender(*table);
    sender.setPort(portOf(*table, 1));
    Tactile::OscWriter alive;
    alive.beginMessage("/tuio/2Dcur", ",s");
    alive.add("alive");
    alive.endMessage();
    for (int i = 0; i < 11; ++i)
        sender.send(alive.packet());
    table->frame(0.02);
    CHECK(log.lines().last().toObject().value("text").toString().contains("closes no frame of 2Dcur"));
    const QJsonObject source = report().value("sources").toArray().at(0).toObject();
    CHECK(source.value("unclosedFrames").toObject() == QJsonObject{{"2Dcur", 10}});
    CHECK(source.value("drops").toObject().value("unclosed").toInt() == 10);
}

TEST_CASE("table input: the inspector reports for each sender what was dropped, and why")
{
    TablePlace place;
    place.presentation("{}");
    const auto table = place.open();
    const TableLog log;
    Inspector inspector({table->application(), log, &table->input(), true});
    QString error;
    REQUIRE(inspector.listen(0, error));
    TableSender sender(*table);
    const auto finger = [&](const char* source, int frame, float x) {
        Tactile::TuioEncoder encoder(source);
        encoder.begin(Tactile::TuioProfile::Cursors);
        encoder.alive({1, 2});
        encoder.setCursor(1, 0.5f, 0.5f);
        encoder.setCursor(2, x, 0.5f);
        sender.send(encoder.finish(frame));
    };
    finger("left@cam", 10, std::numeric_limits<float>::quiet_NaN());
    finger("left@cam", 11, 1.5f);
    finger("left@cam", 5, 0.7f);
    finger("right@cam", 5, 0.7f);
    sender.send({'n', 'o', 'n', 'e'});
    table->frame(0.02);
    CHECK(log.lines().last().toObject().value("text").toString().startsWith(
        "TuioDecoder::decode # Dropped a datagram (from 127.0.0.1:"));

    const QJsonObject report = ask(inspector.port(), "GET", "/input").json().object();
    const QJsonArray sources = report.value("sources").toArray();
    REQUIRE(sources.size() == 2);
    const auto drops = [](const QJsonValue& of, const char* cause) {
        return of.toObject().value("drops").toObject().value(QLatin1String(cause)).toInt(-1);
    };
    for (const char* cause : {"notFinite", "outOfRange", "late"}) {
        CAPTURE(cause);
        CHECK(drops(sources.at(0), cause) == 1);
        CHECK(drops(sources.at(1), cause) == 0);
        CHECK(drops(report, cause) == 1);
    }
    CHECK(drops(report, "malformed") == 1);
    CHECK(sources.at(0).toObject().value("frames").toInt() == 2);
    CHECK(sources.at(0).toObject().value("fingers").toInt() == 1);
    CHECK(sources.at(1).toObject().value("fingers").toInt() == 2);
}

TEST_CASE("table input: the hold and the time after which a sender is lost are the presentation's")
{
    TablePlace place;
    place.presentation(R"({"inputSettings": {"holdMilliseconds": 100, "lostSeconds": 1}})");
    const auto table = place.open();
    TableSender sender(*table);
    Tactile::TuioEncoder encoder("a@b");
    encoder.begin(Tactile::TuioProfile::Objects);
    encoder.alive({1});
    encoder.setObject(1, 1001, 0.5f, 0.5f, 0.f);
    sender.send(encoder.finish(1));
    table->frame(0.02);
    table->frame(0.9);
    CHECK(sampleOf(*table).markers.size() == 1);
    TestSupport::expectWarningStartingWith("TuioInput::readSample # Lost the sender a at b (no packet for 1 s)");
    table->frame(0.11);
    CHECK(sampleOf(*table).markers.size() == 1);
    table->frame(0.11);
    CHECK(sampleOf(*table).markers.empty());
}

TEST_CASE("table input: what cannot be recorded, replayed or listened to keeps the table from opening")
{
    TablePlace place;
    place.presentation("{}");
    place.options.recordFile = place.folder.path(QStringLiteral("presentation.json"));
    CHECK_FALSE(place.tryToOpen());
    CHECK(place.error
          == QStringLiteral("DatagramRecorder # Failed to make %1 (File exists); choose another name, or move that file away")
                 .arg(place.options.recordFile));
    place.options.replayFile = place.options.recordFile;
    place.options.recordFile.clear();
    CHECK_FALSE(place.tryToOpen());
    CHECK(place.error
          == QStringLiteral("DatagramPlayer # Failed to read %1 (no recording of a table); give a file that "
                            "\"tavola run --record\" made")
                 .arg(place.options.replayFile));
    place.options.replayFile.clear();
    CHECK(place.tryToOpen());
}

TEST_CASE("table input: contacts are drawn over the table when asked for")
{
    TablePlace place;
    place.presentation("{}");
    const auto overlay = [] { return Tavola::Tavola::instance()->ui()->internalOverlayWidget()->findByType("InputOverlay"); };
    {
        const auto table = place.open();
        CHECK_FALSE(overlay());
    }
    place.options.showInput = true;
    const auto table = place.open();
    TableSender sender(*table);
    sender.send(fingerPacket("a@b", 0.5f, 0.5f));
    table->frame(0.02);
    REQUIRE(overlay());
    CHECK(overlay()->children().size() == 1);
}
