// Row 10: what a second of input costs, with a hundred fingers that drag and forty cards, at 200 frames a second of the tracker
// and 60 of the table. Processor time of all threads, in percent of one core; painting is not part of it.

#include "../tests/support/ScriptedDatagrams.hpp"
#include "InputScene.hpp"
#include "support/Compare.hpp"
#include "support/Options.hpp"

#include <Tactile/UdpDatagramSource.hpp>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <stdexcept>

namespace
{
constexpr int kTrackerFrames = 200; ///< a second
constexpr int kFingers = 100;
constexpr int kCards = 40;

/// Calls `send(packets)` for each step of a second, and cranks the table's frames between them.
template <class Send>
void playSecond(Bench::InputScene& scene, const std::vector<Bench::InputScene::Packets>& packets, Send send)
{
    double due = 0.0;
    for (const auto& step : packets) {
        send(step);
        due += 1.0 / kTrackerFrames;
        if (due >= Bench::InputScene::kFrameSeconds) {
            due -= Bench::InputScene::kFrameSeconds;
            scene.application.frame(Bench::InputScene::kFrameSeconds);
        }
    }
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

int fingers()
{
    return Bench::options().sizeOr(kFingers, 10);
}

void fedIn(benchmark::State& state)
{
    Bench::InputScene scene(fingers(), kCards);
    auto owned = std::make_unique<TestSupport::ScriptedDatagrams>();
    auto& datagrams = *owned;
    if (!scene.input.addSource(std::move(owned)))
        throw std::runtime_error("the source does not start");
    const auto feed = [&](const Bench::InputScene::Packets& packets) {
        datagrams.send(packets.fingers);
        datagrams.send(packets.cards);
    };
    playSecond(scene, scene.packetsOf(kTrackerFrames), feed);
    scene.requireAllHeld();
    std::vector<double> percent;
    for (auto _ : state) {
        for (int round = 0; round < Bench::options().rounds; ++round) {
            const auto packets = scene.packetsOf(kTrackerFrames);
            const double begin = Bench::threadSeconds();
            playSecond(scene, packets, feed);
            percent.push_back(100.0 * (Bench::threadSeconds() - begin));
        }
    }
    scene.requireAllHeld();
    state.counters["value"] = median(percent);
}

/// A socket that sends to one port of this machine.
class Sender
{
public:
    explicit Sender(std::uint16_t port) : m_socket(socket(AF_INET, SOCK_DGRAM, 0))
    {
        m_to.sin_family = AF_INET;
        m_to.sin_port = htons(port);
        m_to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    }
    ~Sender() { close(m_socket); }
    Sender(const Sender&) = delete;
    Sender& operator=(const Sender&) = delete;
    void send(const std::vector<char>& packet) const
    {
        if (sendto(m_socket, packet.data(), packet.size(), 0, reinterpret_cast<const sockaddr*>(&m_to), sizeof m_to)
            != ssize_t(packet.size()))
            throw std::runtime_error("a packet was not sent");
    }

private:
    int m_socket;
    sockaddr_in m_to{};
};

/// The processor time of sending is the tracker's, and that of waiting for the input thread is this program's: both are measured
/// on this thread and taken off.
void throughSocket(benchmark::State& state)
{
    Bench::InputScene scene(fingers(), kCards);
    Tactile::NetworkSettings settings;
    settings.port = 0;
    auto owned = std::make_unique<Tactile::UdpDatagramSource>(settings);
    const auto& source = *owned;
    if (!scene.input.addSource(std::move(owned)))
        throw std::runtime_error(scene.input.errorText());
    const Sender sender(source.port());
    double others = 0.0;
    const auto feed = [&](const Bench::InputScene::Packets& packets) {
        const double begin = Bench::threadSeconds();
        const std::uint64_t before = scene.input.datagramsReceived();
        sender.send(packets.fingers);
        sender.send(packets.cards);
        if (!scene.input.waitForDatagrams(before + 2, std::chrono::seconds(10)))
            throw std::runtime_error("a packet did not arrive");
        others += Bench::threadSeconds() - begin;
    };
    playSecond(scene, scene.packetsOf(kTrackerFrames), feed);
    scene.requireAllHeld();
    std::vector<double> percent;
    for (auto _ : state) {
        for (int round = 0; round < Bench::options().rounds; ++round) {
            const auto packets = scene.packetsOf(kTrackerFrames);
            others = 0.0;
            const double begin = Bench::processSeconds();
            playSecond(scene, packets, feed);
            percent.push_back(100.0 * (Bench::processSeconds() - begin - others));
        }
    }
    scene.requireAllHeld();
    state.counters["value"] = median(percent);
}

const Bench::Row kRow([] {
    Bench::add("row10/fed", fedIn);
    Bench::add("row10/socket", throughSocket);
});
}
