#pragma once

#include "contacts/TrackerFrame.hpp"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Tactile
{
/// The fingers on the table. An event whose contact is not known is ignored, as is all that follows of a finger that was
/// not let down.
class FingerContacts
{
public:
    explicit FingerContacts(TrackerFrame& frame) : m_frame(frame) { m_fingers.reserve(kUsualCount); }

    /// `isShadow(point)`: whether a finger that starts there is the shadow of a card, and ignored.
    template <class IsShadow>
    void apply(const ContactEvent& event, IsShadow isShadow)
    {
        if (event.kind == ContactEvent::Kind::Appear) {
            if (!find(event.key) && !event.isInIgnoredArea && !isShadow(event.position))
                letDown(event);
        } else if (FingerContact* contact = find(event.key)) {
            change(*contact, event);
        }
    }

    /// Cancels the fingers of a sender; whether there were any.
    bool cancelAll(std::uint16_t source);
    void followAll();
    void writeTo(Sample& sample) const;

private:
    static constexpr std::size_t kUsualCount = 64;

    FingerContact* find(const ContactKey& key);
    void letDown(const ContactEvent& event);
    void change(FingerContact& contact, const ContactEvent& event);
    void end(FingerContact& contact, InputChange::Kind kind);

    TrackerFrame& m_frame;
    std::vector<FingerContact> m_fingers; // by id, ascending: ids only grow
    std::size_t m_nextFinger = 0;         // likely the one that is looked for next
};
}
