#pragma once

#include <Bedrock/Export.hpp>
#include <Tavola/TesselServiceAPI.hpp>

#include <cstdint>
#include <map>

namespace Tavola
{
/// The cards that the marker service has reported so far, readable at once. Owned by the service provider. Main thread only.
class TAVOLA_EXPORT TesselServiceCache
{
public:
    using Entries = std::map<unsigned long, TesselServiceAPI::MarkerProperties>;

    [[nodiscard]] bool isCached(unsigned long code) const;
    /// An unregistered card's record for a code that is not cached.
    [[nodiscard]] TesselServiceAPI::MarkerProperties markerProperties(unsigned long code) const;

    void insert(unsigned long code, const TesselServiceAPI::MarkerProperties& properties);
    void remove(unsigned long code);
    void clear();
    /// Replaces everything cached by `entries`, and returns the entries replaced. Constant time for any number of cards.
    Entries replace(Entries entries);

private:
    Entries m_entries;
};
}
