#pragma once

#include "services/MailDelayWatch.hpp"
#include "services/MediaServerWatch.hpp"

#include <Trellis/Operator.hpp>

#include <functional>
#include <memory>

namespace Host
{
class ServiceStates;

/// Gives the root of the table the pseudo-classes "mail-delayed", "media-server-away" and "people-away" while these are so. An
/// operator of the main layer. Main thread only.
class ServiceSigns final : public Trellis::Operator
{
public:
    /// `isMailDelayed`: see MailDelayWatch. `askMediaServer`: see MediaServerWatch.
    ServiceSigns(std::shared_ptr<ServiceStates> states, std::function<bool()> isMailDelayed,
                 MediaServerWatch::Ask askMediaServer = {});
    void update(Trellis::Widget& root, const Trellis::FrameInfo& frame) override;

private:
    std::shared_ptr<ServiceStates> m_states; ///< shared with the services
    MailDelayWatch m_mail;
    MediaServerWatch m_mediaServer;
};
}
