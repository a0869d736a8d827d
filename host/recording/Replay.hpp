#pragma once

#include <Bedrock/InboxSource.hpp>

#include <cstdint>
#include <vector>

namespace Host
{
/// Gives each frame the results that the recorded frame took, in its order. Plugged into the inbox while it lives. Main thread
/// only.
class Replay final : public Bedrock::InboxSource
{
public:
    Replay();
    ~Replay() override;
    Replay(const Replay&) = delete;
    Replay& operator=(const Replay&) = delete;

    /// What the coming frame takes, which is this one of the recording. Waits for results of this process's own work that are
    /// still under way, and serves Qt's events meanwhile: ten seconds at most, which is a warning; after that less.
    void expect(std::uint64_t frameNumber, std::vector<Bedrock::Arrival> arrivals);
    /// The same, with a patience of its own.
    void expect(std::uint64_t frameNumber, std::vector<Bedrock::Arrival> arrivals, int patienceMs);

    std::vector<Bedrock::Arrival> next() override;
    /// Warns once.
    void missed(const Bedrock::Arrival& arrival) override;

private:
    std::vector<Bedrock::Arrival> m_expected;
    int m_patienceMs;
    bool m_hasWarned = false;
};
}
