#include "tuio/TuioContacts.hpp"
#include "TuioBench.hpp"
#include "tuio/TuioSources.hpp"

#include <Vecta/Angle.hpp>

#include <doctest/doctest.h>

#include <cmath>
#include <limits>
#include <string>
#include <utility>

using Tactile::ContactEvent;
using Tactile::TuioChannel;
using Tactile::TuioDecoder;
using Tactile::TuioDrop;
using Tactile::TuioEncoder;
using Tactile::TuioProfile;
using Tactile::TuioShape;
using TestTuio::Bench;
using TestTuio::cards;
using TestTuio::fingers;

namespace
{
/// The contacts of one source, without a protocol.
struct Direct
{
    Tactile::TuioSources sources;
    Tactile::TuioContacts contacts{sources};
    std::vector<ContactEvent> events;
    int source = sources.touchSourceOf(sources.senderOf(0, Tactile::SenderAddress::fromIpv4(10, 0, 0, 1, 1)));
    TuioChannel channel = TuioChannel::Components;

    Direct() { contacts.writeTo(events); }

    /// A whole frame; what it changed, in short.
    std::string frame(std::vector<std::int32_t> alive, const std::vector<Tactile::TuioSet>& sets)
    {
        contacts.applyAlive(source, channel, alive);
        for (const auto& set : sets)
            contacts.applySet(source, channel, set);
        contacts.endFrame(source, channel);
        return changes();
    }
    std::string changes()
    {
        static const char* const kNames[] = {"seen", "appear", "move", "vanish", "cancel"};
        std::string text;
        for (const ContactEvent& e : events)
            text += (text.empty() ? "" : " ") + std::string(kNames[static_cast<int>(e.kind)])
                + (e.type == Tactile::TrackedObject::Type::Marker ? " card " : " finger ") + std::to_string(e.key.session);
        events.clear();
        return text;
    }
    [[nodiscard]] std::uint64_t drops(TuioDrop cause) const { return sources.counters.drops[static_cast<std::size_t>(cause)]; }
};

Tactile::TuioSet set(TuioShape shape, std::int32_t session, float x = 0.5f, std::int32_t code = 7)
{
    return {shape, session, code, x, 0.5f, 0.f};
}
}

TEST_CASE("tuio contacts: the same session number of a card, a finger and a blob are three contacts")
{
    Bench bench;
    bench.feed(cards(1, {5}, {5}));
    const auto card = bench.events[0].key;
    bench.feed(fingers(1, {5}, {5}));
    CHECK_FALSE(bench.events[0].key == card);
    CHECK(bench.feed(cards(2, {}, {})) == "vanish 5");
    CHECK(bench.events[0].key == card);
}

TEST_CASE("tuio contacts: a contact lives as long as the alive lists name it")
{
    Bench bench;
    CHECK(bench.feed(fingers(1, {1, 2}, {1, 2})) == "appear 1 appear 2");
    CHECK(bench.feed(fingers(2, {1, 2}, {})) == "");
    CHECK(bench.feed(fingers(3, {1, 2}, {2}, 0.6f)) == "move 2");
    CHECK(bench.feed(fingers(4, {1, 2}, {2}, 0.6f)) == "");
    CHECK(bench.feed(fingers(5, {2}, {})) == "vanish 1");
    CHECK(bench.feed(fingers(6, {}, {})) == "vanish 2");
}

TEST_CASE("tuio contacts: an id that is alive but was never set has no place yet")
{
    Bench bench;
    CHECK(bench.feed(fingers(1, {1}, {})) == "");
    CHECK(bench.feed(fingers(2, {1}, {})) == "");
    CHECK(bench.feed(fingers(3, {1}, {1})) == "appear 1");
    CHECK(bench.feed(fingers(4, {1, 2}, {})) == "");
    CHECK(bench.feed(fingers(5, {1}, {})) == "");
}

TEST_CASE("tuio contacts: a set whose id is not alive is ignored and counted")
{
    Bench bench;
    CHECK(bench.feed(fingers(1, {1}, {1, 2})) == "appear 1");
    CHECK(bench.drops(TuioDrop::NotAlive) == 1);
    CHECK(bench.feed(fingers(2, {1, 2}, {})) == "");
}

TEST_CASE("tuio contacts: ids that stand twice in an alive list are one")
{
    Bench bench;
    CHECK(bench.feed(fingers(1, {1, 2, 1, 1}, {1, 2})) == "appear 1 appear 2");
    CHECK(bench.feed(fingers(2, {2, 1}, {})) == "");
    CHECK(bench.feed(fingers(3, {2, 2}, {})) == "vanish 1");
}

TEST_CASE("tuio contacts: a set that is no number or infinite is dropped, the others of its frame are not")
{
    for (const float bad : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                            -std::numeric_limits<float>::infinity()}) {
        Bench bench;
        TuioEncoder encoder;
        encoder.begin(TuioProfile::Objects);
        encoder.alive({1, 2, 3, 4});
        encoder.setObject(1, 11, bad, 0.5f, 0.f);
        encoder.setObject(2, 12, 0.5f, bad, 0.f);
        encoder.setObject(3, 13, 0.5f, 0.5f, bad);
        encoder.setObject(4, 14, 0.5f, 0.5f, 0.f);
        CHECK(bench.feed(encoder.finish(1)) == "appear 4");
        CHECK(bench.drops(TuioDrop::NotFinite) == 3);
    }
}

TEST_CASE("tuio contacts: a place slightly beside the surface is clamped to it, one further out is dropped")
{
    struct Row
    {
        float sent;
        bool isTaken;
        float x;
    };
    for (const Row& row : {Row{-0.04f, true, 0.f}, Row{1.04f, true, 1.f}, Row{0.f, true, 0.f}, Row{1.f, true, 1.f},
                           Row{-0.06f, false, 0.f}, Row{1.06f, false, 0.f}, Row{1e30f, false, 0.f}}) {
        CAPTURE(row.sent);
        Bench bench;
        CHECK(bench.feed(fingers(1, {1}, {1}, row.sent)) == (row.isTaken ? "appear 1" : ""));
        if (row.isTaken)
            CHECK(bench.events[0].position.x == row.x);
        CHECK(bench.drops(TuioDrop::OutOfRange) == (row.isTaken ? 0u : 1u));
    }
}

TEST_CASE("tuio contacts: angles are wrapped into one turn")
{
    Bench bench;
    bench.feed(cards(1, {1}, {1}, 1, 0.5f, -1.f));
    CHECK(bench.events[0].rotationRadians == doctest::Approx(5.283185307));
    bench.feed(cards(2, {1}, {1}, 1, 0.5f, 100.f));
    CHECK(bench.events[0].rotationRadians == doctest::Approx(std::fmod(100.0, Vecta::kTwoPi)));
}

TEST_CASE("tuio contacts: a card whose code changes under its session is another card")
{
    Bench bench;
    bench.feed(cards(1, {1}, {1}, 1001));
    CHECK(bench.feed(cards(2, {1}, {1}, 1002)) == "vanish 1 appear 1");
    CHECK(bench.events[0].code == 1001);
    CHECK(bench.events[1].code == 1002);
}

TEST_CASE("tuio contacts: a negative code is no card")
{
    Bench bench;
    CHECK(bench.feed(cards(1, {1}, {1}, -1)) == "");
    CHECK(bench.drops(TuioDrop::OutOfRange) == 1);
}

TEST_CASE("tuio contacts: of more fingers and markers than fit, the newest wait until there is room")
{
    std::vector<std::int32_t> ids;
    for (std::int32_t i = 1; i <= 257; ++i)
        ids.push_back(i);
    Bench bench;
    bench.feed(fingers(1, ids, ids));
    CHECK(bench.decoder.counters().sources.at(0).fingers == 256);
    CHECK(bench.drops(TuioDrop::FingerCap) == 1);
    ids.erase(ids.begin());
    CHECK(bench.feed(fingers(2, ids, {257})) == "vanish 1 appear 257");

    TuioEncoder encoder;
    encoder.begin(TuioProfile::Blobs);
    encoder.alive({1});
    encoder.setBlob(1, 0.5f, 0.5f, 0.f, 0.1f, 0.1f);
    CHECK(bench.feed(encoder.finish(1)) == "");
    CHECK(bench.drops(TuioDrop::FingerCap) == 2);

    ids.resize(65);
    bench.feed(cards(1, ids, ids));
    CHECK(bench.decoder.counters().sources.at(0).markers == 64);
    CHECK(bench.drops(TuioDrop::MarkerCap) == 1);
}

TEST_CASE("tuio contacts: a source that was lost shows its cards anew where they were, and its fingers after they were lifted")
{
    Bench bench;
    bench.feed(cards(300, {1}, {1}, 1001, 0.25f));
    bench.feed(fingers(300, {2}, {2}));
    bench.decoder.sourceLost(0);
    CHECK(bench.decoder.counters().sources.at(0).isLost);
    CHECK(bench.decoder.counters().sources[0].markers == 0);

    CHECK(bench.feed(cards(301, {1}, {})) == "appear 1");
    CHECK(bench.events[0].position.x == 0.25f);
    CHECK_FALSE(bench.decoder.counters().sources[0].isLost);
    CHECK(bench.feed(fingers(301, {2}, {2}, 0.9f)) == "");
    CHECK(bench.feed(fingers(302, {}, {})) == "");
    CHECK(bench.feed(fingers(303, {3}, {3})) == "appear 3");
}

TEST_CASE("tuio contacts: a restart cancels what there was, and the same ids are other contacts")
{
    Direct direct;
    CHECK(direct.frame({1, 2}, {set(TuioShape::Token, 1), set(TuioShape::Pointer, 2)}) == "appear card 1 appear finger 2");
    direct.contacts.restart(direct.source, direct.channel);
    CHECK(direct.changes() == "cancel card 1 cancel finger 2");
    CHECK(direct.frame({1}, {}) == "");
    CHECK(direct.frame({1}, {set(TuioShape::Token, 1)}) == "appear card 1");
    // Nothing is left to cancel twice.
    direct.contacts.restart(direct.source, direct.channel);
    CHECK(direct.changes() == "cancel card 1");
    direct.contacts.restart(direct.source, direct.channel);
    CHECK(direct.changes() == "");
}

TEST_CASE("tuio contacts: a restart of one channel leaves the others")
{
    Direct direct;
    direct.channel = TuioChannel::Cursors;
    CHECK(direct.frame({1}, {set(TuioShape::Pointer, 1)}) == "appear finger 1");
    direct.contacts.restart(direct.source, TuioChannel::Objects);
    CHECK(direct.changes() == "");
    CHECK(direct.frame({}, {}) == "vanish finger 1");
}

TEST_CASE("tuio contacts: of several shapes of a session the best known gives its place, whichever comes first")
{
    Direct direct;
    CHECK(direct.frame({1}, {set(TuioShape::Token, 1, 0.25f), set(TuioShape::Pointer, 1, 0.9f), set(TuioShape::Area, 1, 0.8f)})
          == "appear card 1");
    std::vector<ContactEvent> events;
    direct.contacts.writeTo(events);
    direct.contacts.applySet(direct.source, direct.channel, set(TuioShape::Token, 1, 0.5f));
    REQUIRE(events.size() == 1);
    CHECK(events[0].kind == ContactEvent::Kind::Move);
    CHECK(events[0].position.x == 0.5f);
}

TEST_CASE("tuio contacts: a symbol before its area, or after it, makes it a card")
{
    Direct before;
    CHECK(before.frame({1}, {set(TuioShape::Symbol, 1, 0.f, 9), set(TuioShape::Area, 1, 0.25f)}) == "appear card 1");
    Direct after;
    CHECK(after.frame({1}, {set(TuioShape::Area, 1, 0.25f), set(TuioShape::Symbol, 1, 0.f, 9)})
          == "appear finger 1 cancel finger 1 appear card 1");
    // The symbol need not be said again.
    CHECK(after.frame({1}, {set(TuioShape::Area, 1, 0.3f)}) == "move card 1");
    // It goes with its session.
    CHECK(after.frame({}, {}) == "vanish card 1");
    CHECK(after.frame({1}, {set(TuioShape::Area, 1, 0.3f)}) == "appear finger 1");
}

TEST_CASE("tuio contacts: a symbol without a place is nothing yet, and there are not more of them than cards")
{
    Direct direct;
    std::vector<std::int32_t> alive;
    std::vector<Tactile::TuioSet> sets;
    for (std::int32_t i = 1; i <= 65; ++i) {
        alive.push_back(i);
        sets.push_back(set(TuioShape::Symbol, i, 0.f, 100 + i));
    }
    CHECK(direct.frame(alive, sets) == "");
    CHECK(direct.drops(TuioDrop::MarkerCap) == 1);
    CHECK(direct.frame(alive, {set(TuioShape::Area, 64), set(TuioShape::Area, 65)}) == "appear card 64 appear finger 65");
}

TEST_CASE("tuio contacts: the counters tell how many lie on the table now")
{
    Direct direct;
    direct.frame({1, 2, 3}, {set(TuioShape::Token, 1), set(TuioShape::Pointer, 2), set(TuioShape::Area, 3)});
    CHECK(direct.sources.countersOf(0).markers == 1);
    CHECK(direct.sources.countersOf(0).fingers == 2);
    CHECK(direct.sources.countersOf(0).frames == 1);
    direct.contacts.sourceLost(direct.source);
    CHECK(direct.sources.countersOf(0).isLost);
    CHECK(direct.sources.countersOf(0).fingers == 0);
    direct.changes();
    // Back: the card where it was, fingers when they have been lifted.
    CHECK(direct.frame({1, 2, 3}, {}) == "appear card 1");
    CHECK(direct.sources.countersOf(0).markers == 1);
    CHECK(direct.sources.countersOf(0).fingers == 0);
}
