#include "LogCapture.hpp"
#include "LoopbackStream.hpp"

#include <Tactile/TcpDatagramSource.hpp>
#include <Tactile/UdpDatagramSource.hpp>

#include <doctest/doctest.h>

#include <memory>
#include <string>

using Tactile::NetworkDatagramSource;
using Tactile::NetworkSettings;

namespace
{
/// Each kind of source that listens on a port.
struct Kind
{
    std::string name;
    std::unique_ptr<NetworkDatagramSource> (*make)(const NetworkSettings& settings);
};

const Kind kKinds[] = {
    {"UdpDatagramSource",
     [](const NetworkSettings& s) -> std::unique_ptr<NetworkDatagramSource> {
         return std::make_unique<Tactile::UdpDatagramSource>(s);
     }},
    {"TcpDatagramSource",
     [](const NetworkSettings& s) -> std::unique_ptr<NetworkDatagramSource> {
         return std::make_unique<Tactile::TcpDatagramSource>(s);
     }},
};

NetworkSettings onPort(std::uint16_t port)
{
    NetworkSettings settings;
    settings.port = port;
    return settings;
}

void ignore(const Tactile::Datagram&) {}
}

TEST_CASE("network source: it listens on this machine only, unless told otherwise")
{
    CHECK(NetworkSettings().address == "127.0.0.1");
    CHECK(NetworkSettings().port == 3333);
    CHECK(NetworkSettings().allowedSenders.empty());
}

TEST_CASE("network source: what keeps it from listening is reported with its remedy")
{
    for (const Kind& kind : kKinds) {
        const auto first = kind.make(onPort(0));
        REQUIRE(first->start(ignore));
        struct Row
        {
            NetworkSettings settings;
            std::string text;
        };
        const std::string taken = "127.0.0.1:" + std::to_string(first->port());
        const Row rows[] = {
            {{"127.0.0.1", first->port(), {}},
             " # Failed to listen on " + taken
                 + " (Address already in use); close the program that listens there, or choose another port"},
            {{"table.local", 3333, {}},
             " # Failed to listen on table.local:3333 (not a numeric address); give one of this machine's addresses, such as "
             "127.0.0.1"},
            {{"203.0.113.7", 0, {}},
             " # Failed to listen on 203.0.113.7:0 (Cannot assign requested address); give an address of this machine, or "
             "0.0.0.0 for all of them"},
            {{"127.0.0.1", 0, {"10.0.0.1", "camera"}},
             " # Failed to read the allowed sender \"camera\"; give a numeric address such as 192.168.0.20"},
        };
        for (const Row& row : rows) {
            TestSupport::expectError(kind.name + row.text);
            const auto source = kind.make(row.settings);
            CHECK_FALSE(source->start(ignore));
            CHECK(source->errorText() == kind.name + row.text);
            CHECK(source->port() == 0);
        }
    }
}

TEST_CASE("network source: a port is one of its kind, so that both kinds may listen on the same number")
{
    // By TCP first: of its numbers many are in use for a while after a connection has ended.
    const auto tcp = kKinds[1].make(onPort(0));
    REQUIRE(tcp->start(ignore));
    const auto udp = kKinds[0].make(onPort(tcp->port()));
    CHECK(udp->start(ignore));
    CHECK(udp->port() == tcp->port());
}

TEST_CASE("network source: stopped, its port is free again and its handler rests")
{
    for (const Kind& kind : kKinds) {
        CAPTURE(kind.name);
        std::uint16_t port = 0;
        {
            const auto source = kind.make(onPort(0));
            REQUIRE(source->start(ignore));
            port = source->port();
            source->stop();
            source->stop();
        }
        CHECK(kind.make(onPort(port))->start(ignore));
    }
}

TEST_CASE("network source: one that was never started is stopped without effect")
{
    for (const Kind& kind : kKinds) {
        const auto source = kind.make(onPort(0));
        source->stop();
        CHECK(source->port() == 0);
        CHECK(source->errorText().empty());
        CHECK(source->refusedSenders() == 0);
    }
}

TEST_CASE("network source: connections of a table that has ended do not keep its port from the next one")
{
    std::uint16_t port = 0;
    std::unique_ptr<LoopbackStream> tracker;
    {
        const auto source = kKinds[1].make(onPort(0));
        REQUIRE(source->start(ignore));
        port = source->port();
        tracker = std::make_unique<LoopbackStream>(port);
    }
    CHECK(tracker->isClosed());
    CHECK(kKinds[1].make(onPort(port))->start(ignore));
}
