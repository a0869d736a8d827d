#pragma once

#include <Bedrock/Inbox.hpp>
#include <Bedrock/InboxSource.hpp>

#include <folly/futures/Future.h>

#include <string>
#include <vector>

/// Keeps what the process's inbox delivers, then gives all of it to one frame again.
class ReplaySession final : public Bedrock::InboxSource
{
public:
    ReplaySession()
    {
        Bedrock::Inbox::instance().setTap([this](const Bedrock::Arrival& arrival) { recorded.push_back(arrival); });
    }
    ~ReplaySession() override
    {
        Bedrock::Inbox::instance().setTap(nullptr);
        Bedrock::Inbox::instance().setSource(nullptr);
    }
    ReplaySession(const ReplaySession&) = delete;
    ReplaySession& operator=(const ReplaySession&) = delete;

    void replay()
    {
        Bedrock::Inbox::instance().setTap(nullptr);
        Bedrock::Inbox::instance().setSource(this);
    }
    /// A frame of the replay that takes these results.
    int frame(std::vector<Bedrock::Arrival> arrivals)
    {
        m_next = std::move(arrivals);
        return Bedrock::Inbox::instance().deliver();
    }

    std::vector<Bedrock::Arrival> next() override { return m_next; }
    void missed(const Bedrock::Arrival&) override { ++missing; }

    std::vector<Bedrock::Arrival> recorded;
    int missing = 0;

private:
    std::vector<Bedrock::Arrival> m_next;
};

/// What came of a future: as `describe` words its value, "failure: text", or "" while it is open.
template <class T, class Describe>
std::string outcomeOf(const folly::Future<T>& future, Describe describe)
{
    if (!future.isReady())
        return {};
    if (future.hasValue())
        return describe(future.value());
    return std::string("failure: ") + future.result().template tryGetExceptionObject<std::exception>()->what();
}
