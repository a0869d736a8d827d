#pragma once

#include "contacts/TrackerFrame.hpp"

#include <cstdint>
#include <unordered_set>
#include <vector>

namespace Tactile
{
/// The cards on the table, and the senders' sightings of them. A card without a sighting is held for a while.
class MarkerContacts
{
public:
    explicit MarkerContacts(TrackerFrame& frame);

    /// Begins a frame: applies the events of cards that waited for it. `events` are those of the frame.
    void beginFrame(const std::vector<ContactEvent>& events);
    void apply(const ContactEvent& event);

    /// Ends the sightings of a sender; whether there were any.
    bool endSightings(std::uint16_t source);
    /// Takes the cards away whose hold is over.
    void endHolds();
    void followAll();
    void writeTo(Sample& sample) const;

    /// Whether `point` lies in the outline of a card, also of one that appears in this frame.
    [[nodiscard]] bool isInOutline(Vecta::Vector2f point) const;

private:
    Sighting* findSighting(const ContactKey& key);
    MarkerContact* find(std::int64_t id);
    MarkerContact* findNearest(std::uint64_t code, Vecta::Vector2f point, float within, bool heldOnly);
    [[nodiscard]] bool isReturning(std::uint64_t code) const;
    [[nodiscard]] bool isReturning(const ContactKey& key) const;

    void appear(const ContactEvent& event);
    void putDown(const ContactEvent& event);
    void warnOfTwin(const ContactEvent& event);
    void move(Sighting& seen, const ContactEvent& event);
    void endSighting(Sighting& seen);
    void end(MarkerContact& contact);

    TrackerFrame& m_frame;
    std::vector<MarkerContact> m_markers; // in the order in which they were put down
    std::vector<Sighting> m_sightings;
    std::vector<Vecta::Vector2f> m_appearing;         // positions of the cards that appear in this frame
    std::vector<ContactEvent> m_returning;            // of cards that wait for the next frame
    std::vector<ContactEvent> m_returned;             // of the frame before; kept for its memory
    std::unordered_set<std::uint64_t> m_doubledCodes; // warned of
};
}
