#include "MarkerService.hpp"

#include "PeopleRegistry.hpp"

#include <Bedrock/BGThread.hpp>
#include <Bedrock/FunctionTask.hpp>
#include <Facet/Node.hpp>
#include <Tavola/TesselServiceCache.hpp>
#include <Trellis/Widget.hpp>

#include <mutex>

namespace Host
{
namespace
{
using Api = Tavola::TesselServiceAPI;
using Entries = Tavola::TesselServiceCache::Entries;

Api::MarkerProperties propertiesOf(const Person& person)
{
    return {person.kind, Api::PersonalMarkerProperties{person.name, person.email, person.contentKey.toUtf8()}};
}

Entries entriesOf(const std::vector<Person>& people)
{
    Entries entries;
    entries.reserve(people.size());
    for (const Person& person : people)
        entries.emplace(person.code, propertiesOf(person));
    return entries;
}

void runInBackground(std::function<void()> work)
{
    Bedrock::BGThread::instance()->addTask(std::make_shared<Bedrock::FunctionTask>([work = std::move(work)](Bedrock::Task& task) {
        task.setFinished();
        work();
    }));
}
}

struct MarkerService::State
{
    /// Locked from an access to the registry until its result is queued for the cache, so that results are queued in the order of
    /// the accesses: a reading from before a registration never undoes it. Never locked on the main thread.
    std::mutex order;
    // Main thread only.
    QByteArray stamp; ///< of the registry when the cache was filled
    bool isReading = false;
    int refreshesToSkip = 0;
};

MarkerService::MarkerService(std::shared_ptr<PeopleRegistry> registry, std::shared_ptr<Tavola::TesselServiceCache> cache)
    : m_registry(std::move(registry)), m_cache(std::move(cache)), m_state(std::make_shared<State>())
{
}

void MarkerService::fillCache()
{
    const QByteArray stamp = m_registry->stamp();
    const auto people = m_registry->people();
    if (!people)
        return;
    m_state->stamp = stamp;
    m_cache->replace(entriesOf(*people));
}

void MarkerService::fillCache(const std::vector<Person>& people)
{
    m_cache->replace(entriesOf(people));
}

bool MarkerService::refreshCache()
{
    if (m_state->isReading)
        return false;
    if (m_state->refreshesToSkip > 0) {
        --m_state->refreshesToSkip;
        return false;
    }
    // Taken before the reading, so that a write during the reading is noticed the next time.
    const QByteArray stamp = m_registry->stamp();
    if (stamp == m_state->stamp)
        return false;
    m_state->isReading = true;
    runInBackground([state = m_state, registry = m_registry, cache = m_cache, stamp] {
        const std::lock_guard lock(state->order);
        const auto people = registry->people();
        // By pointer, because queued functions are copied.
        const auto entries = people ? std::make_shared<Entries>(entriesOf(*people)) : nullptr;
        Facet::Node::invokeAfterUpdate([state, cache, stamp, entries] {
            state->isReading = false;
            if (!entries) {
                state->refreshesToSkip = kRefreshesSkippedAfterFailure;
                return;
            }
            state->stamp = stamp;
            // Destroying thousands of entries takes time, too.
            *entries = cache->replace(std::move(*entries));
            runInBackground([entries] { entries->clear(); });
        });
    });
    return true;
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
    Facet::Node::invokeAfterUpdate([cache = m_cache, entry = *person] { cache->insert(entry.code, propertiesOf(entry)); });
    return true;
}
}
