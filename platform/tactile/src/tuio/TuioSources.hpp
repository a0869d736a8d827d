#pragma once

#include "tuio/TuioState.hpp"

#include <Tactile/TuioCounters.hpp>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Tactile
{
/// Who sends: addresses and the sources behind them, with their counters. Shared by the decoders of both versions. A
/// source's index is its ContactKey::source.
class TuioSources
{
public:
    TuioSources();

    /// Null for an address that is not known.
    [[nodiscard]] TuioSender* findSender(std::uint16_t listener, const SenderAddress& address);
    /// Makes the address known; where there are too many, the one unheard of for longest is forgotten.
    [[nodiscard]] TuioSender& senderOf(std::uint16_t listener, const SenderAddress& address);

    /// The sender calls itself `text` from now on; an empty text changes nothing.
    void nameSender(TuioSender& sender, std::string_view text);
    /// The index of the sender's source, with a new place for a new one. −1, counted, when there are too many.
    [[nodiscard]] int touchSourceOf(TuioSender& sender);

    [[nodiscard]] TuioSource& source(int index) { return m_sources[static_cast<std::size_t>(index)]; }
    [[nodiscard]] std::size_t size() const noexcept { return m_sources.size(); }

    /// `source` −1: for the table as a whole only.
    void count(TuioDrop cause, int source, std::uint64_t times = 1);
    [[nodiscard]] TuioSourceCounters& countersOf(int index) { return counters.sources[static_cast<std::size_t>(index)]; }

    TuioCounters counters;

private:
    [[nodiscard]] int findSource(std::uint16_t listener, bool isNamed, const std::string& name) const;
    int freePlace();

    std::vector<TuioSender> m_senders;
    std::vector<TuioSource> m_sources;
    std::uint64_t m_uses = 0;
};
}
