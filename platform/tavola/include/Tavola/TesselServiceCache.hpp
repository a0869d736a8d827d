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
    [[nodiscard]] bool isCached(unsigned long code) const;
    /// An unregistered card's record for a code that is not cached.
    [[nodiscard]] TesselServiceAPI::MarkerProperties markerProperties(unsigned long code) const;

    void insert(unsigned long code, const TesselServiceAPI::MarkerProperties& properties);
    void remove(unsigned long code);
    void clear();

private:
    std::unordered_map<unsigned long, TesselServiceAPI::MarkerProperties> m_entries;
};
}
