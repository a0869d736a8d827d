#include "input/TuioLog.hpp"
#include "LogCapture.hpp"
#include "TestTable.hpp"

#include <Bedrock/LogText.hpp>
#include <Tactile/OscWriter.hpp>
#include <Tactile/TuioDecoder.hpp>

#include <doctest/doctest.h>

#include <string>
#include <vector>

using Tactile::TuioDrop;

namespace
{
/// A log and the decoder whose events it reports.
struct Direct
{
    Tactile::TuioDecoder decoder;
    Tactile::TuioLog log;
    std::vector<Tactile::ContactEvent> events;

    void feed(const std::vector<char>& packet)
    {
        decoder.decode({packet.data(), packet.size(), Tactile::SenderAddress::fromIpv4(10, 0, 0, 1, 77)}, 0, events);
    }
    std::size_t report(double now)
    {
        const std::size_t before = TestSupport::loggedLines().size();
        log.report(now, decoder);
        return TestSupport::loggedLines().size() - before;
    }
};

const char* const kFirst = "TuioDecoder::decode # Dropped a datagram (from 10.0.0.1:77, a size that is no multiple of 4); the "
                           "table stays as it was";
}

TEST_CASE("tuio log: a torn packet changes nothing, the first is logged, and then one line every 10 s with the counts")
{
    TestTable table;
    table.fingers({{1, 0.5f, 0.5f}});
    table.frame();
    auto torn = TestTable::fingersPacket(2, {{1, 0.9f, 0.9f}});
    torn.resize(torn.size() - 8);
    TestSupport::expectWarning("TuioDecoder::decode # Dropped a datagram (from 127.0.0.1:5000, an element size that does not "
                               "fit the packet); the table stays as it was");
    table.datagrams->send(torn);
    table.frame();
    CHECK(table.changes() == "");

    table.datagrams->send(torn);
    table.datagrams->send({'x'});
    table.frame();
    table.frame(4.0);
    table.datagrams->send({'x'});
    table.fingers({{1, 0.5f, 0.5f}});
    table.frame(4.0);
    TestSupport::expectWarning("TuioDecoder::decode # Dropped 3 more datagrams (2 with a size that is no multiple of 4, 1 "
                               "with an element size that does not fit the packet)");
    table.fingers({{1, 0.5f, 0.5f}});
    table.frame(2.5);
    table.fingers({{1, 0.5f, 0.5f}});
    table.frame(4.0);
    CHECK(table.drops(TuioDrop::Malformed) == 4);
    CHECK(table.sample.fingers.size() == 1);
}

TEST_CASE("tuio log: a message of another kind is reported once and is no warning")
{
    TestTable table;
    Tactile::OscWriter writer;
    writer.beginMessage("/tuio/3Dcur", ",s");
    writer.add("alive");
    writer.endMessage();
    table.datagrams->send(writer.packet());
    table.datagrams->send(writer.packet());
    table.frame();
    table.frame();
    int lines = 0;
    for (const auto& line : TestSupport::loggedLines())
        lines += line.text
            == "TuioDecoder::decode # Skipped a message of another kind (/tuio/3Dcur); further ones are only "
               "counted";
    CHECK(lines == 1);
    CHECK(table.drops(TuioDrop::UnknownMessage) == 2);
}

TEST_CASE("tuio log: each limit is warned of once")
{
    TestTable table;
    std::vector<TestTable::Card> cards;
    for (int i = 0; i < 66; ++i)
        cards.push_back({i, 2000 + i, 0.015f * float(i), 0.5f});
    TestSupport::expectWarning("TuioDecoder::decode # Reached a limit at a at b (more than 64 markers at once; the newest are "
                               "dropped)");
    table.cards(cards);
    table.frame();
    table.cards(cards);
    table.frame();
    CHECK(table.sample.markers.size() == 64);

    std::vector<TestTable::Finger> fingers;
    for (int i = 0; i < 257; ++i)
        fingers.push_back({i, 0.003f * float(i), 0.1f});
    TestSupport::expectWarning("TuioDecoder::decode # Reached a limit at a at b (more than 256 fingers at once; the newest are "
                               "dropped)");
    table.fingers(fingers);
    table.frame();
    table.frame();
    CHECK(table.sample.fingers.size() == 256);

    TestSupport::expectWarning("TuioDecoder::decode # Reached a limit at the table (more than 16 senders at once; the newest "
                               "are dropped)");
    for (int i = 0; i < 20; ++i)
        table.datagrams->send(TestTable::fingersPacket(1, {}, "cam" + std::to_string(i)));
    table.frame();
    table.frame();
    CHECK(table.input.counters().sources.size() == 16);
}

TEST_CASE("tuio log: while nothing is dropped nothing is said")
{
    Direct direct;
    CHECK(direct.report(0.0) == 0);
    direct.feed(TestTable::fingersPacket(1, {{1, 0.5f, 0.5f}}));
    direct.feed(TestTable::fingersPacket(2, {{1, 0.6f, 0.5f}}));
    CHECK(direct.report(1.0) == 0);
    CHECK(direct.report(100.0) == 0);
}

TEST_CASE("tuio log: datagrams dropped beside the first one are reported ten seconds later, once")
{
    Direct direct;
    direct.feed({'x'});
    direct.feed({'x'});
    TestSupport::expectWarning(kFirst);
    CHECK(direct.report(100.0) == 1);
    CHECK(direct.report(109.99) == 0);
    TestSupport::expectWarning("TuioDecoder::decode # Dropped 1 more datagrams (1 with a size that is no multiple of 4)");
    CHECK(direct.report(110.0) == 1);
    CHECK(direct.report(120.0) == 0);
    CHECK(direct.report(1000.0) == 0);
}

TEST_CASE("tuio log: after a long calm the next line comes at once")
{
    Direct direct;
    direct.feed({'x'});
    TestSupport::expectWarning(kFirst);
    CHECK(direct.report(0.0) == 1);
    direct.feed({});
    TestSupport::expectWarningStartingWith("TuioDecoder::decode # Dropped 1 more datagrams (1 with ");
    CHECK(direct.report(3600.0) == 1);
}

TEST_CASE("tuio log: datagrams that found no room are reported with those that were malformed")
{
    Direct direct;
    direct.decoder.countUnread(TuioDrop::QueueFull);
    direct.decoder.countUnread(TuioDrop::QueueFull);
    TestSupport::expectWarning("TuioDecoder::decode # Dropped 2 more datagrams (2 while no frame was drawn)");
    CHECK(direct.report(0.0) == 1);
    direct.feed({'x'});
    direct.decoder.countUnread(TuioDrop::QueueFull);
    CHECK(direct.report(5.0) == 0);
    TestSupport::expectWarning(
        "TuioDecoder::decode # Dropped 2 more datagrams (1 with a size that is no multiple of 4, 1 while no "
        "frame was drawn)");
    CHECK(direct.report(10.0) == 1);
}

TEST_CASE("tuio log: late frames and positions beside the surface are counted, not reported")
{
    Direct direct;
    direct.feed(TestTable::fingersPacket(9, {{1, 0.5f, 0.5f}}));
    direct.feed(TestTable::fingersPacket(8, {{1, 0.5f, 0.5f}}));
    direct.feed(TestTable::fingersPacket(10, {{1, 1.5f, 0.5f}}));
    CHECK(direct.decoder.counters().drops[static_cast<std::size_t>(TuioDrop::Late)] == 1);
    CHECK(direct.decoder.counters().drops[static_cast<std::size_t>(TuioDrop::OutOfRange)] == 1);
    CHECK(direct.report(0.0) == 0);
}

namespace
{
std::vector<char> unclosedFingers()
{
    Tactile::OscWriter alive;
    alive.beginMessage("/tuio/2Dcur", ",si");
    alive.add("alive");
    alive.add(std::int32_t(1));
    alive.endMessage();
    return alive.packet();
}
}

TEST_CASE("tuio log: a sender that closes no frame is reported once, and one that lost the end of some is not")
{
    Direct direct;
    direct.feed(TestTable::fingersPacket(1, {{1, 0.5f, 0.5f}}, "cam@left"));
    for (int i = 0; i < 10; ++i)
        direct.feed(unclosedFingers());
    CHECK(direct.report(0.0) == 0);
    direct.feed(TestTable::fingersPacket(2, {{1, 0.5f, 0.5f}}, "cam@left"));
    for (int i = 0; i < 10; ++i)
        direct.feed(unclosedFingers());
    CHECK(direct.report(1.0) == 0);
    TestSupport::expectWarning(
        "TuioDecoder::decode # The sender cam at left closes no frame of 2Dcur (an fseq, in TUIO 2.0 an alv, "
        "is missing); its contacts there are dropped, set it to end each frame");
    direct.feed(unclosedFingers());
    CHECK(direct.report(1.0) == 1);
    direct.feed(unclosedFingers());
    CHECK(direct.report(100.0) == 0);
    direct.feed(TestTable::fingersPacket(3, {{1, 0.5f, 0.5f}}, "cam@left"));
    for (int i = 0; i < 20; ++i)
        direct.feed(unclosedFingers());
    CHECK(direct.report(200.0) == 0);
}

TEST_CASE("tuio log: two trackers stay apart in a line that leaves the program")
{
    CHECK(Tactile::logNameOf("10.0.0.1:77") == "10.0.0.1:77");
    CHECK(Tactile::logNameOf("a@b@c") == "a at b at c");
    for (const char* name : {"left@cam", "lens@cam", "left@192.168.0.7", "left@cam.museum.example"}) {
        const std::string line = "TuioInput::readSample # The sender " + Tactile::logNameOf(name) + " has gone";
        CHECK(Bedrock::withoutSecrets(line) == line);
    }
    CHECK(Tactile::logNameOf("left@cam") != Tactile::logNameOf("lens@cam"));
}
