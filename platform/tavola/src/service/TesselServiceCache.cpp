#include <Tavola/TesselServiceCache.hpp>

#include <Trellis/Widget.hpp>

namespace Tavola
{
bool TesselServiceCache::isCached(unsigned long code) const
{
    return m_entries.count(code) != 0;
}

TesselServiceAPI::MarkerProperties TesselServiceCache::markerProperties(unsigned long code) const
{
    const auto found = m_entries.find(code);
    return found != m_entries.end() ? found->second : TesselServiceAPI::MarkerProperties();
}

void TesselServiceCache::insert(unsigned long code, const TesselServiceAPI::MarkerProperties& properties)
{
    m_entries[code] = properties;
}

void TesselServiceCache::remove(unsigned long code)
{
    m_entries.erase(code);
}

void TesselServiceCache::clear()
{
    m_entries.clear();
}

TesselServiceCache::Entries TesselServiceCache::replace(Entries entries)
{
    m_entries.swap(entries);
    return entries;
}
}
