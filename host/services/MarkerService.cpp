#include "MarkerService.hpp"

#include "PeopleRegistry.hpp"

#include <Facet/Node.hpp>
#include <Tavola/TesselServiceCache.hpp>
#include <Trellis/Widget.hpp>

namespace
{
using Api = Tavola::TesselServiceAPI;

Api::MarkerProperties propertiesOf(const Person& person)
{
    return {person.kind, Api::PersonalMarkerProperties{person.name, person.email, person.contentKey.toUtf8()}};
}
}

MarkerService::MarkerService(std::shared_ptr<PeopleRegistry> registry, std::shared_ptr<Tavola::TesselServiceCache> cache)
    : m_registry(std::move(registry)), m_cache(std::move(cache))
{
}

void MarkerService::fillCache()
{
    m_stamp = m_registry->stamp();
    m_cache->clear();
    for (const Person& person : m_registry->people())
        m_cache->insert(person.code, propertiesOf(person));
}

void MarkerService::refreshCache()
{
    if (m_registry->stamp() != m_stamp)
        fillCache();
}

void MarkerService::setPersonalWidgets(std::function<PersonalWidget(const QString&)> widgetForKey)
{
    m_widgetForKey = std::move(widgetForKey);
}

MarkerService::PersonalWidget MarkerService::personalWidget(unsigned long code)
{
    const Api::MarkerProperties card = m_cache->markerProperties(code);
    const auto* const owner = card.personalProperties();
    if (!m_widgetForKey || !owner || owner->contentKey.isEmpty())
        return boost::make_unexpected(QStringLiteral("This presentation has no folder for card %1").arg(code));
    return m_widgetForKey(QString::fromUtf8(owner->contentKey));
}

bool MarkerService::registerPersonalMarker(unsigned long code, const QString& name, const QString& email)
{
    if (!m_registry->registerOwner(code, name, email))
        return false;
    const auto person = m_registry->person(code);
    if (!person)
        return false;
    Facet::Node::invokeAfterUpdate([cache = m_cache, entry = *person] { cache->insert(entry.code, propertiesOf(entry)); });
    return true;
}
