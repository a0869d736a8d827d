#pragma once

#include <functional>
#include <memory>

namespace Host
{
class ServiceStates;

/// Asks through the inbox whether mail is delayed, once at the beginning and then each second of frame time while it is, so that
/// a replay has the answers of the day. Main thread only.
class MailDelayWatch
{
public:
    /// `isDelayed` answers at once; it is not called in a replay. Without a function nothing is asked.
    MailDelayWatch(std::shared_ptr<ServiceStates> states, std::function<bool()> isDelayed);

    /// Once a frame.
    void update(float dtSeconds);

private:
    std::shared_ptr<ServiceStates> m_states; ///< shared with open questions, which may outlive this
    std::function<bool()> m_isDelayed;
    float m_untilNextSeconds = 0.f;
    bool m_hasAsked = false;
};
}
