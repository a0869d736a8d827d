#pragma once

#include "tuio/TuioState.hpp"

#include <Tactile/ContactEvent.hpp>

#include <vector>

namespace Tactile
{
class TuioSources;

/// Turns the alive lists and sets of whole frames, of either version, into contact events. The states lie in the sources.
class TuioContacts
{
public:
    explicit TuioContacts(TuioSources& sources) : m_sources(sources) {}

    /// Where events are appended from now on.
    void writeTo(std::vector<ContactEvent>& events) { m_events = &events; }

    /// The sender began anew: its session ids mean other things now.
    void restart(int source, TuioChannel channel);
    /// `alive` is sorted, and afterwards holds something else.
    void takeAlive(int source, TuioChannel channel, std::vector<std::int32_t>& alive);
    void takeSet(int source, TuioChannel channel, const TuioSet& set);
    /// The frame is complete.
    void endFrame(int source, TuioChannel channel);

    void sourceLost(int source);

private:
    void takeSymbol(int source, TuioChannel channel, const TuioSet& set);
    void announce(int source, TuioChannel channel, TuioSession& session);
    void reshape(int source, TuioChannel channel, TuioSession& session, TuioShape shape);
    [[nodiscard]] bool isFull(int source, bool isMarker) const;
    void write(ContactEvent::Kind kind, int source, TuioChannel channel, const TuioSession& session);
    void recount(int source);

    TuioSources& m_sources;
    std::vector<ContactEvent>* m_events = nullptr;
};
}
