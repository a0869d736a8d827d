#pragma once

#include "tuio/TuioState.hpp"

#include <Tactile/TuioCounters.hpp>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Tactile
{
/// The senders: their addresses, the sources that these belong to, and the counters. Shared by the decoders of both
/// versions. A source's index is its ContactKey::source.
class TuioSources
{
public:
    TuioSources();

    /// Null for an address that is not known.
    [[nodiscard]] TuioSender* findSender(std::uint16_t listener, const SenderAddress& address);
    /// Adds the address if it is new, in place of the one that has been silent for longest when there are too many.
    [[nodiscard]] TuioSender& senderOf(std::uint16_t listener, const SenderAddress& address);

    /// Sets the sender's source name; an empty text changes nothing.
    void nameSender(TuioSender& sender, std::string_view text);
    /// The index of the sender's source, which is added if it is new. −1, counted, when there are too many.
    [[nodiscard]] int touchSourceOf(TuioSender& sender);

    [[nodiscard]] TuioSource& source(int index) { return m_sources[static_cast<std::size_t>(index)]; }
    [[nodiscard]] std::size_t size() const noexcept { return m_sources.size(); }

    /// `source` −1: counted for the table as a whole only.
    void count(TuioDrop cause, int source, std::uint64_t times = 1);
    /// Counts a frame that the sender did not close; adds the sender's source if it is new.
    void countUnclosed(TuioSender& sender, TuioChannel channel);
    /// The source closed a frame.
    void countClosed(int source, TuioChannel channel) { unclosedOf(source, channel).inARow = 0; }
    [[nodiscard]] TuioSourceCounters& countersOf(int index) { return counters.sources[static_cast<std::size_t>(index)]; }

    TuioCounters counters;

private:
    [[nodiscard]] int findSource(std::uint16_t listener, bool isNamed, const std::string& name) const;
    int freePlace();
    TuioUnclosedFrames& unclosedOf(int source, TuioChannel channel)
    {
        return countersOf(source).unclosed[static_cast<std::size_t>(channel)];
    }

    std::vector<TuioSender> m_senders;
    std::vector<TuioSource> m_sources;
    std::uint64_t m_uses = 0;
};
}
