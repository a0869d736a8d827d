#include "services/MediaServerWatch.hpp"

#include "services/ServiceStates.hpp"

#include <Bedrock/Inbox.hpp>

#include <algorithm>
#include <utility>

namespace Host
{
namespace
{
constexpr char kProbeJob = 'w';
constexpr char kThere[] = "1";
constexpr double kLongestSeconds = 5.0;
constexpr int kFirstServerFailure = 500;

bool isThere(const Tavola::HttpAnswer& answer)
{
    using End = Tavola::HttpAnswer::End;
    const bool isLong = answer.end == End::HeadTooLong || answer.end == End::BodyTooLong;
    return isLong || (answer.end == End::Whole && answer.status < kFirstServerFailure);
}
}

MediaServerProbe::MediaServerProbe(const QUrl& address, double timeoutSeconds)
    : m_address(address.adjusted(QUrl::RemoveUserInfo)), m_timeoutSeconds(std::min(timeoutSeconds, kLongestSeconds))
{
}

void MediaServerProbe::ask(Done done)
{
    Tavola::HttpRequest request;
    request.url = m_address;
    request.timeoutSeconds = m_timeoutSeconds;
    request.headers = {{"Connection", "close"}};
    m_exchange =
        m_client.send(std::move(request), [done = std::move(done)](const Tavola::HttpAnswer& answer) { done(isThere(answer)); });
}

struct MediaServerWatch::Shared
{
    std::shared_ptr<ServiceStates> states;
    bool isAsking = false;
};

MediaServerWatch::MediaServerWatch(std::shared_ptr<ServiceStates> states, Ask ask)
    : m_shared(std::make_shared<Shared>(Shared{std::move(states)})), m_ask(std::move(ask))
{
}

void MediaServerWatch::update(float dtSeconds)
{
    m_sinceLastSeconds += dtSeconds;
    const bool isAway = m_shared->states->is(ServiceState::MediaServerAway);
    const float pause = isAway ? kAskEverySecondsWhileAway : kAskEverySeconds;
    if (!m_ask || m_shared->isAsking || m_sinceLastSeconds < pause)
        return;
    m_sinceLastSeconds = 0.f;
    m_shared->isAsking = true;
    Bedrock::Inbox::instance().ask(
        kProbeJob,
        [this](Bedrock::BytesReply reply) {
            m_ask([reply = std::make_shared<Bedrock::BytesReply>(std::move(reply))](bool isThere) {
                std::move(*reply).answer(isThere ? kThere : "0");
            });
        },
        [shared = m_shared](const QByteArray& bytes) {
            shared->isAsking = false;
            shared->states->set(ServiceState::MediaServerAway, bytes != kThere);
        });
}
}
