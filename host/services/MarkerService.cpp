#include "MarkerService.hpp"

#include "PeopleRegistry.hpp"

#include <Facet/Node.hpp>
#include <Trellis/Widget.hpp>

#include <mutex>
#include <utility>

namespace Host
{
namespace
{
using Api = Tavola::TesselServiceAPI;

Api::MarkerProperties propertiesOf(const Person& person)
{
    return {person.kind, Api::PersonalMarkerProperties{person.name, person.email, person.contentKey.toUtf8()}};
}
}

struct MarkerService::State
{
    /// Locked from an access to the registry until its result is queued for the cache, so that results are queued in the order of
    /// the accesses: a reading from before a registration never undoes it. Never locked on the main thread.
    std::mutex order;
};

MarkerService::MarkerService(std::shared_ptr<PeopleRegistry> registry, std::shared_ptr<Tavola::TesselServiceCache> cache,
                             std::shared_ptr<CardLanguages> languages)
    : m_registry(std::move(registry)), m_cache(std::move(cache)), m_languages(std::move(languages)),
      m_state(std::make_shared<State>())
{
}

bool MarkerService::fillCache()
{
    const auto people = m_registry->people();
    if (const auto known = people ? people : m_registry->copiedPeople())
        fillCache(entriesOf(*known));
    return people.has_value();
}

MarkerService::Entries MarkerService::entriesOf(const std::vector<Person>& people)
{
    Entries entries;
    for (const Person& person : people)
        entries.cards.emplace(person.code, propertiesOf(person));
    entries.languages = CardLanguages(people);
    return entries;
}

MarkerService::Entries MarkerService::fillCache(Entries entries)
{
    entries.cards = m_cache->replace(std::move(entries.cards));
    if (m_languages)
        m_languages->swapPeople(entries.languages);
    return entries;
}

void MarkerService::inOrder(const std::function<void()>& readAndHandOver)
{
    const std::lock_guard lock(m_state->order);
    readAndHandOver();
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
    const std::lock_guard lock(m_state->order);
    const auto person = m_registry->registerOwner(code, name, email);
    if (!person)
        return false;
    Facet::Node::invokeAfterUpdate([cache = m_cache, languages = m_languages, entry = *person] {
        cache->insert(entry.code, propertiesOf(entry));
        if (languages)
            languages->insert(entry);
    });
    return true;
}
}
