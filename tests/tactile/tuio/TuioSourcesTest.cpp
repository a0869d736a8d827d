#include "tuio/TuioSources.hpp"
#include "TuioBench.hpp"

#include <doctest/doctest.h>

#include <string>

using Tactile::SenderAddress;
using Tactile::TuioDrop;
using Tactile::TuioSender;
using Tactile::TuioSources;
using TestTuio::Bench;
using TestTuio::fingers;

namespace
{
SenderAddress atPort(std::uint16_t port)
{
    return SenderAddress::fromIpv4(10, 0, 0, 1, port);
}
}

TEST_CASE("tuio sources: a source is known by its name, from whichever port it sends")
{
    Bench bench;
    CHECK(bench.feed(fingers(1, {1}, {1}, 0.5f, "cam@left")) == "appear 1");
    bench.sender = SenderAddress::fromIpv4(127, 0, 0, 1, 5001);
    CHECK(bench.feed(fingers(2, {1}, {1}, 0.6f, "cam@left")) == "move 1");
    CHECK(bench.feed(fingers(3, {1}, {1}, 0.6f, "cam@right")) == "appear 1");
    CHECK(bench.decoder.counters().sources.size() == 2);
    CHECK(bench.decoder.counters().sources[0].name == "cam@left");
}

TEST_CASE("tuio sources: a source name without an at sign means this machine")
{
    Bench bench;
    bench.feed(fingers(1, {1}, {1}, 0.5f, "cam"));
    CHECK(bench.feed(fingers(2, {1}, {1}, 0.6f, "cam@localhost")) == "move 1");
    CHECK(bench.decoder.counters().sources.at(0).name == "cam@localhost");
}

TEST_CASE("tuio sources: a source without a name is known by its address, and keeps its contacts when it names itself")
{
    Bench bench;
    CHECK(bench.feed(fingers(1, {1}, {1})) == "appear 1");
    CHECK(bench.decoder.counters().sources.at(0).name == "127.0.0.1:5000");
    CHECK(bench.feed(fingers(2, {1}, {1}, 0.6f, "cam@left")) == "move 1");
    CHECK(bench.feed(fingers(3, {1}, {1}, 0.7f)) == "move 1");
    REQUIRE(bench.decoder.counters().sources.size() == 1);
    CHECK(bench.decoder.counters().sources[0].name == "cam@left");
}

TEST_CASE("tuio sources: the same source on two listeners is two sources")
{
    Bench bench;
    CHECK(bench.feed(fingers(1, {1}, {1}, 0.5f, "cam@left"), 0) == "appear 1");
    CHECK(bench.feed(fingers(2, {1}, {1}, 0.6f, "cam@left"), 1) == "appear 1");
    CHECK(bench.events[0].listener == 1);
}

TEST_CASE("tuio sources: the seventeenth source is dropped until another one is lost")
{
    Bench bench;
    for (int i = 0; i < 17; ++i)
        CHECK(bench.feed(fingers(1, {1}, {1}, 0.5f, "cam" + std::to_string(i))) == (i < 16 ? "appear 1" : ""));
    CHECK(bench.drops(TuioDrop::SourceCap) == 1);
    CHECK(bench.decoder.counters().sources.size() == 16);
    bench.decoder.sourceLost(3);
    CHECK(bench.feed(fingers(2, {1}, {1}, 0.5f, "cam16")) == "appear 1");
    CHECK(bench.events[0].key.source == 3);
    CHECK(bench.feed(fingers(2, {1}, {1}, 0.5f, "cam3")) == "");
    CHECK(bench.drops(TuioDrop::SourceCap) == 2);
}

TEST_CASE("tuio sources: more senders than it remembers do no harm to the sources")
{
    Bench bench;
    for (int i = 0; i < 200; ++i) {
        bench.sender.port = static_cast<std::uint16_t>(6000 + i);
        bench.feed(fingers(i, {1}, {1}, 0.5f, "cam"));
    }
    CHECK(bench.decoder.counters().sources.size() == 1);
    CHECK(bench.decoder.counters().sources[0].frames == 200);
}

TEST_CASE("tuio sources: an address is known from its first packet on, on its listener only")
{
    TuioSources sources;
    CHECK(sources.findSender(0, atPort(1)) == nullptr);
    TuioSender& sender = sources.senderOf(0, atPort(1));
    CHECK(sources.findSender(0, atPort(1)) == &sender);
    CHECK(&sources.senderOf(0, atPort(1)) == &sender);
    CHECK(sources.findSender(1, atPort(1)) == nullptr);
    CHECK(sources.findSender(0, atPort(2)) == nullptr);
    CHECK(&sources.senderOf(1, atPort(1)) != &sender);
}

TEST_CASE("tuio sources: an address that sends something other than TUIO takes no place of a source")
{
    TuioSources sources;
    (void)sources.senderOf(0, atPort(1));
    CHECK(sources.size() == 0);
    CHECK(sources.counters.sources.empty());
}

TEST_CASE("tuio sources: the address unheard of for longest is forgotten, with what it had begun")
{
    TuioSources sources;
    for (std::uint16_t port = 1; port <= 64; ++port)
        sources.senderOf(0, atPort(port)).pending[0].hasAlive = true;
    (void)sources.senderOf(0, atPort(1)); // heard of again
    TuioSender& newest = sources.senderOf(0, atPort(65));
    CHECK_FALSE(newest.pending[0].hasAlive);
    CHECK(newest.source == -1);
    CHECK(sources.findSender(0, atPort(2)) == nullptr);
    CHECK(sources.findSender(0, atPort(1)) != nullptr);
    CHECK(sources.findSender(0, atPort(3)) != nullptr);
    CHECK(sources.senderOf(0, atPort(3)).pending[0].hasAlive);
}

TEST_CASE("tuio sources: a sender may call itself by another name, and is another source then")
{
    TuioSources sources;
    TuioSender& sender = sources.senderOf(0, atPort(1));
    sources.nameSender(sender, "one@cam");
    const int one = sources.touchSourceOf(sender);
    CHECK(one == 0);
    sources.nameSender(sender, "");
    CHECK(sources.touchSourceOf(sender) == one);
    sources.nameSender(sender, "two@cam");
    CHECK(sources.touchSourceOf(sender) == 1);
    sources.nameSender(sender, "one@cam");
    CHECK(sources.touchSourceOf(sender) == one);
    CHECK(sources.countersOf(0).name == "one@cam");
    CHECK(sources.countersOf(1).name == "two@cam");
}

TEST_CASE("tuio sources: a sender that gives a known source's name is that source, and leaves the nameless one")
{
    TuioSources sources;
    TuioSender& named = sources.senderOf(0, atPort(1));
    sources.nameSender(named, "one@cam");
    CHECK(sources.touchSourceOf(named) == 0);
    TuioSender& nameless = sources.senderOf(0, atPort(2));
    CHECK(sources.touchSourceOf(nameless) == 1);
    sources.nameSender(nameless, "one@cam");
    CHECK(sources.touchSourceOf(nameless) == 0);
    CHECK(sources.countersOf(1).name == "10.0.0.1:2");
}

TEST_CASE("tuio sources: a name is fit for a line of the log, however long or odd it is")
{
    TuioSources sources;
    TuioSender& sender = sources.senderOf(0, atPort(1));
    sources.nameSender(sender, std::string("a\nb\x7f") + std::string(300, 'c'));
    CHECK(sources.touchSourceOf(sender) == 0);
    CHECK(sources.countersOf(0).name == "a?b?" + std::string(124, 'c') + "@localhost");
}

TEST_CASE("tuio sources: the place of the source that was lost longest ago is given away, its senders look for another")
{
    TuioSources sources;
    for (std::uint16_t port = 1; port <= 16; ++port)
        REQUIRE(sources.touchSourceOf(sources.senderOf(0, atPort(port))) == port - 1);
    TuioSender& late = sources.senderOf(0, atPort(17));
    CHECK(sources.touchSourceOf(late) == -1);
    CHECK(sources.counters.drops[static_cast<std::size_t>(TuioDrop::SourceCap)] == 1);

    REQUIRE(sources.touchSourceOf(sources.senderOf(0, atPort(5))) == 4);
    sources.countersOf(4).isLost = true;
    sources.countersOf(9).isLost = true;
    sources.countersOf(9).packets = 7;
    CHECK(sources.touchSourceOf(late) == 9);
    CHECK(sources.countersOf(9).name == "10.0.0.1:17");
    CHECK(sources.countersOf(9).packets == 0);
    CHECK_FALSE(sources.countersOf(9).isLost);
    CHECK(sources.senderOf(0, atPort(10)).source == -1);
    CHECK(sources.touchSourceOf(sources.senderOf(0, atPort(10))) == 4);
    CHECK(sources.size() == 16);
}

TEST_CASE("tuio sources: what is dropped counts for its source and for the table, or for the table alone")
{
    TuioSources sources;
    REQUIRE(sources.touchSourceOf(sources.senderOf(0, atPort(1))) == 0);
    sources.count(TuioDrop::Late, 0);
    sources.count(TuioDrop::Late, 0, 3);
    sources.count(TuioDrop::Malformed, -1);
    const auto of = [](const Tactile::TuioDrops& drops, TuioDrop cause) { return drops[static_cast<std::size_t>(cause)]; };
    CHECK(of(sources.counters.drops, TuioDrop::Late) == 4);
    CHECK(of(sources.countersOf(0).drops, TuioDrop::Late) == 4);
    CHECK(of(sources.counters.drops, TuioDrop::Malformed) == 1);
    CHECK(of(sources.countersOf(0).drops, TuioDrop::Malformed) == 0);
}

TEST_CASE("tuio sources: frames without an end count by profile, those in a row until one is closed")
{
    TuioSources sources;
    TuioSender& sender = sources.senderOf(0, atPort(1));
    sources.countUnclosed(sender, Tactile::TuioChannel::Cursors);
    sources.countUnclosed(sender, Tactile::TuioChannel::Cursors);
    sources.countUnclosed(sender, Tactile::TuioChannel::Objects);
    REQUIRE(sources.size() == 1);
    sources.countClosed(0, Tactile::TuioChannel::Cursors);
    const auto& unclosed = sources.countersOf(0).unclosed;
    CHECK(unclosed[0].count == 1);
    CHECK(unclosed[0].inARow == 1);
    CHECK(unclosed[1].count == 2);
    CHECK(unclosed[1].inARow == 0);
    CHECK(sources.countersOf(0).drops[static_cast<std::size_t>(TuioDrop::Unclosed)] == 3);
}
