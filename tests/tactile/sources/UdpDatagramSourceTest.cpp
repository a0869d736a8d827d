#include "LogCapture.hpp"
#include "Patience.hpp"
#include "TestTable.hpp"

#include <Tactile/UdpDatagramSource.hpp>

#include <doctest/doctest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <thread>

using Tactile::NetworkSettings;
using Tactile::TuioInput;
using Tactile::UdpDatagramSource;
using namespace std::chrono_literals;

namespace
{
/// A sending socket, bound to one of the loopback addresses.
class Sender
{
public:
    explicit Sender(const char* from = "127.0.0.1") : m_socket(socket(AF_INET, SOCK_DGRAM, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        inet_pton(AF_INET, from, &address.sin_addr);
        REQUIRE(bind(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0);
    }
    ~Sender() { close(m_socket); }
    Sender(const Sender&) = delete;
    Sender& operator=(const Sender&) = delete;

    void send(const std::vector<char>& packet, std::uint16_t port) const
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        inet_pton(AF_INET, "127.0.0.1", &address.sin_addr);
        REQUIRE(sendto(m_socket, packet.data(), packet.size(), 0, reinterpret_cast<sockaddr*>(&address), sizeof address)
                == static_cast<ssize_t>(packet.size()));
    }

private:
    int m_socket;
};

NetworkSettings anyPort()
{
    NetworkSettings settings;
    settings.port = 0;
    return settings;
}
}

TEST_CASE("udp source: real datagrams on a port that the system chose put a card and a finger on the table")
{
    TuioInput input(TestTable::plainSettings());
    auto source = std::make_unique<UdpDatagramSource>(anyPort());
    auto* udp = source.get();
    REQUIRE(input.addSource(std::move(source)));
    REQUIRE(udp->port() != 0);

    const Sender sender;
    sender.send(TestTable::cardsPacket(1, {{1, 1001, 0.5f, 0.5f}}, ""), udp->port());
    sender.send(TestTable::fingersPacket(1, {{1, 0.1f, 0.1f}}, ""), udp->port());
    REQUIRE(input.waitForDatagrams(2, TestSupport::kPatience));
    Tactile::Sample sample;
    input.readSample(0.0, sample);
    CHECK(sample.markers.size() == 1);
    CHECK(sample.fingers.size() == 1);
    CHECK(input.counters().sources.at(0).name.rfind("127.0.0.1:", 0) == 0);
}

TEST_CASE("udp source: the largest datagram comes whole, and an empty one is counted as malformed")
{
    TuioInput input(TestTable::plainSettings());
    auto source = std::make_unique<UdpDatagramSource>(anyPort());
    auto* udp = source.get();
    REQUIRE(input.addSource(std::move(source)));
    const Sender sender;
    // 65,504 bytes: the most that UDP carries and OSC allows.
    Tactile::OscWriter writer;
    writer.beginMessage("/tuio/2Dcur", "");
    writer.add("alive");
    while (writer.packet().size() < 65504)
        writer.add(7);
    writer.endMessage();
    sender.send(writer.packet(), udp->port());
    sender.send({}, udp->port());
    REQUIRE(input.waitForDatagrams(2, TestSupport::kPatience));
    CHECK(input.counters().refusals[static_cast<std::size_t>(Tactile::OscRefusal::Empty)] == 1);
    CHECK(input.counters().drops[static_cast<std::size_t>(Tactile::TuioDrop::Malformed)] == 1);
}

TEST_CASE("udp source: datagrams from senders that are not allowed are thrown away, and reported once")
{
    TuioInput input(TestTable::plainSettings());
    NetworkSettings settings = anyPort();
    settings.allowedSenders = {"127.0.0.3", "127.0.0.2"};
    auto source = std::make_unique<UdpDatagramSource>(settings);
    auto* udp = source.get();
    REQUIRE(input.addSource(std::move(source)));
    const Sender stranger;
    const Sender friendly("127.0.0.2");
    TestSupport::expectWarningStartingWith("UdpDatagramSource # Refused a datagram from 127.0.0.1:");
    stranger.send(TestTable::fingersPacket(1, {{1, 0.5f, 0.5f}}, ""), udp->port());
    stranger.send(TestTable::fingersPacket(2, {{1, 0.5f, 0.5f}}, ""), udp->port());
    friendly.send(TestTable::fingersPacket(1, {{9, 0.5f, 0.5f}}, ""), udp->port());
    REQUIRE(input.waitForDatagrams(1, TestSupport::kPatience));
    CHECK(udp->refusedSenders() == 2);
    CHECK(input.datagramsReceived() == 1);
    CHECK(input.counters().sources.at(0).name.rfind("127.0.0.2:", 0) == 0);
}

namespace
{
/// To the machine's own address in IPv6.
void sendByIpv6(const std::vector<char>& packet, std::uint16_t port)
{
    const int descriptor = socket(AF_INET6, SOCK_DGRAM, 0);
    REQUIRE(descriptor >= 0);
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    address.sin6_port = htons(port);
    address.sin6_addr = in6addr_loopback;
    const ssize_t sent =
        sendto(descriptor, packet.data(), packet.size(), 0, reinterpret_cast<sockaddr*>(&address), sizeof address);
    close(descriptor);
    REQUIRE(sent == static_cast<ssize_t>(packet.size()));
}
}

TEST_CASE("udp source: it listens on an IPv6 address, and the allowed senders may be of that kind")
{
    TuioInput input(TestTable::plainSettings());
    NetworkSettings settings = anyPort();
    settings.address = "::1";
    settings.allowedSenders = {"::1"};
    auto source = std::make_unique<UdpDatagramSource>(settings);
    auto* udp = source.get();
    REQUIRE(input.addSource(std::move(source)));
    sendByIpv6(TestTable::cardsPacket(1, {{1, 1001, 0.5f, 0.5f}}, ""), udp->port());
    REQUIRE(input.waitForDatagrams(1, TestSupport::kPatience));
    CHECK(input.counters().sources.at(0).name.rfind("[::1]:", 0) == 0);
    CHECK(udp->refusedSenders() == 0);
}

TEST_CASE("udp source: on all addresses of both kinds, a sender by IPv4 is known by its IPv4 address")
{
    TuioInput input(TestTable::plainSettings());
    NetworkSettings settings = anyPort();
    settings.address = "::";
    settings.allowedSenders = {"127.0.0.1"};
    auto source = std::make_unique<UdpDatagramSource>(settings);
    auto* udp = source.get();
    REQUIRE(input.addSource(std::move(source)));
    TestSupport::expectWarningStartingWith("UdpDatagramSource # Refused a datagram from [::1]:");
    sendByIpv6(TestTable::fingersPacket(1, {{1, 0.5f, 0.5f}}, ""), udp->port());
    const Sender friendly;
    friendly.send(TestTable::fingersPacket(1, {{1, 0.5f, 0.5f}}, ""), udp->port());
    REQUIRE(input.waitForDatagrams(1, TestSupport::kPatience));
    CHECK(udp->refusedSenders() == 1);
    CHECK(input.counters().sources.at(0).name.rfind("127.0.0.1:", 0) == 0);
}

TEST_CASE("udp source: a handler that throws costs one datagram")
{
    std::atomic<int> calls{0};
    UdpDatagramSource source(anyPort());
    std::mutex mutex;
    std::condition_variable arrived;
    REQUIRE(source.start([&](const Tactile::Datagram&) {
        const std::lock_guard<std::mutex> lock(mutex);
        ++calls;
        arrived.notify_all();
        if (calls == 1)
            throw std::runtime_error("out of sorts");
    }));
    TestSupport::expectError("UdpDatagramSource # Failed to handle a datagram (out of sorts); it is dropped");
    const Sender sender;
    sender.send({'a'}, source.port());
    sender.send({'b'}, source.port());
    std::unique_lock<std::mutex> lock(mutex);
    CHECK(arrived.wait_for(lock, TestSupport::kPatience, [&] { return calls == 2; }));
}

TEST_CASE("udp source: a flood of refused datagrams does not keep it from ending")
{
    NetworkSettings settings = anyPort();
    settings.allowedSenders = {"127.0.0.2"};
    UdpDatagramSource source(settings);
    TestSupport::expectWarningStartingWith("UdpDatagramSource # Refused a datagram from 127.0.0.1:");
    REQUIRE(source.start([](const Tactile::Datagram&) {}));
    std::atomic<bool> isOver{false};
    std::thread flood([&isOver, port = source.port()] {
        const Sender sender;
        while (!isOver)
            sender.send({'a'}, port);
    });
    const auto patience = std::chrono::steady_clock::now() + TestSupport::kPatience;
    while (source.refusedSenders() < 100 && std::chrono::steady_clock::now() < patience)
        std::this_thread::yield();
    source.stop();
    isOver = true;
    flood.join();
    CHECK(source.refusedSenders() >= 100);
}
