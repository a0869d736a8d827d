#include "recording/Replay.hpp"

#include <Bedrock/Inbox.hpp>
#include <Bedrock/Trace.hpp>

#include <QCoreApplication>
#include <QElapsedTimer>

#include <chrono>
#include <utility>

namespace Host
{
namespace
{
constexpr int kPatienceMs = 10000;
constexpr int kLittlePatienceMs = 200;
constexpr std::chrono::milliseconds kBetweenEvents(5);
}

Replay::Replay() : m_patienceMs(kPatienceMs)
{
    Bedrock::Inbox::instance().setSource(this);
}

Replay::~Replay()
{
    Bedrock::Inbox::instance().setSource(nullptr);
}

void Replay::expect(std::uint64_t frameNumber, std::vector<Bedrock::Arrival> arrivals)
{
    expect(frameNumber, std::move(arrivals), m_patienceMs);
}

void Replay::expect(std::uint64_t frameNumber, std::vector<Bedrock::Arrival> arrivals, int patienceMs)
{
    m_expected = std::move(arrivals);
    QElapsedTimer clock;
    clock.start();
    while (!Bedrock::Inbox::instance().waitFor(m_expected, kBetweenEvents)) {
        if (clock.elapsed() >= patienceMs) {
            Bedrock::Trace::warning(
                "Replay # Waited %g s in vain for what frame %llu of the recording took, such as a picture; the "
                "replay goes on without",
                patienceMs * 1e-3, static_cast<unsigned long long>(frameNumber));
            m_patienceMs = kLittlePatienceMs;
            return;
        }
        QCoreApplication::processEvents();
    }
}

std::vector<Bedrock::Arrival> Replay::next()
{
    return std::exchange(m_expected, {});
}

void Replay::missed(const Bedrock::Arrival& /*arrival*/)
{
    if (!std::exchange(m_hasWarned, true))
        Bedrock::Trace::warning(
            "Replay # The replay goes another way than what was recorded: a result is missing that a frame "
            "took, and from here on widgets may differ. Check whether files of the presentation have changed");
}
}
