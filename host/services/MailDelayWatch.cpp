#include "services/MailDelayWatch.hpp"

#include "services/ServiceStates.hpp"

#include <Bedrock/Inbox.hpp>

#include <utility>

namespace Host
{
namespace
{
constexpr char kDelayJob = 'd';
constexpr float kAskEverySeconds = 1.f;
constexpr char kYes[] = "1";
}

MailDelayWatch::MailDelayWatch(std::shared_ptr<ServiceStates> states, std::function<bool()> isDelayed)
    : m_states(std::move(states)), m_isDelayed(std::move(isDelayed))
{
}

void MailDelayWatch::update(float dtSeconds)
{
    m_untilNextSeconds -= dtSeconds;
    const bool isWanted = !m_hasAsked || m_states->is(ServiceState::MailDelayed);
    if (!m_isDelayed || !isWanted || m_untilNextSeconds > 0.f)
        return;
    m_hasAsked = true;
    m_untilNextSeconds = kAskEverySeconds;
    Bedrock::Inbox::instance().ask(
        kDelayJob, [this](Bedrock::BytesReply reply) { std::move(reply).answer(m_isDelayed() ? kYes : "0"); },
        [states = m_states](const QByteArray& bytes) { states->set(ServiceState::MailDelayed, bytes == kYes); });
}
}
