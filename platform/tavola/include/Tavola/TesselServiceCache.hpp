#pragma once

#include <Bedrock/Export.hpp>
#include <Tavola/TesselServiceAPI.hpp>

#include <cstdint>
#include <unordered_map>

namespace Tavola
{
/// What the marker service has told of the cards so far; answers at once. Main thread only.
class TAVOLA_EXPORT TesselServiceCache
{
public:
    using Entries = std::unordered_map<unsigned long, TesselServiceAPI::MarkerProperties>;

    [[nodiscard]] bool isCached(unsigned long code) const;
    /// An unregistered card's record for a code that is not cached.
    [[nodiscard]] TesselServiceAPI::MarkerProperties markerProperties(unsigned long code) const;

    void insert(unsigned long code, const TesselServiceAPI::MarkerProperties& properties);
    void remove(unsigned long code);
    void clear();
    /// Puts `entries` in the place of everything cached; gives back what was. Takes the same time for any number of cards.
    Entries replace(Entries entries);

private:
    Entries m_entries;
};
}
