#pragma once

#include <Tavola/HttpClient.hpp>

#include <QUrl>

#include <functional>
#include <memory>

namespace Host
{
class ServiceStates;

/// Looks whether a server answers at all. One thread, with an event loop.
class MediaServerProbe
{
public:
    /// A server that takes longer than `timeoutSeconds`, 5 at most, counts as away.
    MediaServerProbe(const QUrl& address, double timeoutSeconds);

    using Done = std::function<void(bool isThere)>;
    /// Asks for the address itself, with which nothing is done. Any answer but a server's failure (status 500 and above) means
    /// that it is there. `done` is called once, later, by the event loop; destroyed without a call when another question or the
    /// end of this object comes before.
    void ask(Done done);

private:
    QUrl m_address;
    double m_timeoutSeconds;
    Tavola::HttpClient m_client;
    Tavola::HttpClient::Exchange m_exchange;
};

/// Keeps "the media server is away" true while visitors send nothing: asks through the inbox each few seconds of frame time, more
/// often while it is away, so that a replay has the answers of the day. One question at a time. Main thread only.
class MediaServerWatch
{
public:
    static constexpr float kAskEverySeconds = 15.f;
    static constexpr float kAskEverySecondsWhileAway = 5.f;

    using Ask = std::function<void(MediaServerProbe::Done done)>;
    /// `ask` is not called in a replay. Without a function nothing is asked.
    MediaServerWatch(std::shared_ptr<ServiceStates> states, Ask ask);

    /// Once a frame.
    void update(float dtSeconds);

private:
    struct Shared;
    std::shared_ptr<Shared> m_shared; ///< with the open question, which may outlive this
    Ask m_ask;
    float m_sinceLastSeconds = 0.f;
};
}
