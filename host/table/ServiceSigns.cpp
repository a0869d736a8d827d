#include "table/ServiceSigns.hpp"

#include "services/ServiceStates.hpp"

#include <Trellis/FrameInfo.hpp>
#include <Trellis/Widget.hpp>

#include <utility>

namespace Host
{
namespace
{
const std::pair<ServiceState, QByteArray> kSigns[ServiceStates::kCount] = {
    {ServiceState::MailDelayed, QByteArrayLiteral("mail-delayed")},
    {ServiceState::MediaServerAway, QByteArrayLiteral("media-server-away")},
    {ServiceState::PeopleAway, QByteArrayLiteral("people-away")},
};
}

ServiceSigns::ServiceSigns(std::shared_ptr<ServiceStates> states, std::function<bool()> isMailDelayed,
                           MediaServerWatch::Ask askMediaServer)
    : m_states(states), m_mail(states, std::move(isMailDelayed)), m_mediaServer(std::move(states), std::move(askMediaServer))
{
}

void ServiceSigns::update(Trellis::Widget& root, const Trellis::FrameInfo& frame)
{
    m_mail.update(frame.dt());
    m_mediaServer.update(frame.dt());
    for (const auto& [state, name] : kSigns)
        root.setPseudoClass(name, m_states->is(state));
}
}
