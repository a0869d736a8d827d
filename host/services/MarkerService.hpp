#pragma once

#include <Tavola/TesselServiceAPI.hpp>

#include <functional>
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

    using PersonalWidget = boost::expected<Bedrock::IntrusivePtr<Trellis::Widget>, QString>;
    /// Where the widgets for content keys come from; without it there are none.
    void setPersonalWidgets(std::function<PersonalWidget(const QString& contentKey)> widgetForKey);

    /// Fills the cache with everybody in the registry, and with nobody else. Main thread.
    void fillCache();
    /// As above when somebody has written to the registry since; cheap when nobody has. Main thread.
    void refreshCache();

    PersonalWidget personalWidget(unsigned long code) override;
    bool registerPersonalMarker(unsigned long code, const QString& name, const QString& email) override;

private:
    std::shared_ptr<PeopleRegistry> m_registry;
    std::shared_ptr<Tavola::TesselServiceCache> m_cache;
    std::function<PersonalWidget(const QString&)> m_widgetForKey;
    QByteArray m_stamp; ///< of the registry when the cache was filled
};
