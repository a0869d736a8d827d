#pragma once

#include <Tavola/TesselServiceAPI.hpp>

#include <memory>

namespace Tavola
{
class TesselServiceCache;
}
class PeopleRegistry;

/// The marker service of a table: answers from the registry of people and keeps the cache in step with it.
class MarkerService final : public Tavola::TesselServiceAPI
{
public:
    MarkerService(std::shared_ptr<PeopleRegistry> registry, std::shared_ptr<Tavola::TesselServiceCache> cache);

    /// Fills the cache with everybody in the registry. Main thread.
    void fillCache();

    boost::expected<Bedrock::IntrusivePtr<Trellis::Widget>, QString> personalWidget(unsigned long code) override;
    bool registerPersonalMarker(unsigned long code, const QString& name, const QString& email) override;

private:
    std::shared_ptr<PeopleRegistry> m_registry;
    std::shared_ptr<Tavola::TesselServiceCache> m_cache;
};
