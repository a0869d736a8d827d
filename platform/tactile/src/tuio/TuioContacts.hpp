#pragma once

#include "tuio/TuioState.hpp"

#include <Tactile/ContactEvent.hpp>

#include <vector>

namespace Tactile
{
class TuioSources;

/// Turns the alive lists and sets of whole frames, of either version, into contact events. TuioSources owns the state.
class TuioContacts
{
public:
    explicit TuioContacts(TuioSources& sources) : m_sources(sources) {}

    /// Appends events to `events` from now on. Not owned.
    void writeTo(std::vector<ContactEvent>& events) { m_events = &events; }

    /// Begins a frame that has a number. False, counted as late, when its number is lower than the last and `isNear`; a
    /// lower number that is not near is a restart of the sender, as is any after the source was lost.
    [[nodiscard]] bool beginFrame(int source, TuioChannel channel, std::int32_t frame, bool isNear);
    /// Cancels all contacts: the session ids of a sender that restarted mean other things.
    void restart(int source, TuioChannel channel);
    /// Session ids that are alive, in any order. `alive` is exchanged for other contents.
    void applyAlive(int source, TuioChannel channel, std::vector<std::int32_t>& alive);
    void applySet(int source, TuioChannel channel, const TuioSet& set);
    void endFrame(int source, TuioChannel channel);

    /// Gives up the contacts of a source that was silent for long.
    void sourceLost(int source);

private:
    void applySymbol(int source, TuioChannel channel, const TuioSet& set);
    void announce(int source, TuioChannel channel, TuioSession& session);
    void reshape(int source, TuioChannel channel, TuioSession& session, TuioShape shape);
    [[nodiscard]] bool isFull(int source, bool isMarker) const;
    void write(ContactEvent::Kind kind, int source, TuioChannel channel, const TuioSession& session);
    void recount(int source);

    TuioSources& m_sources;
    std::vector<ContactEvent>* m_events = nullptr;
};
}
