#pragma once

#include "services/CardLanguages.hpp"

#include <Tavola/TesselServiceAPI.hpp>
#include <Tavola/TesselServiceCache.hpp>

#include <functional>
#include <memory>
#include <vector>

namespace Host
{
class PeopleRegistry;

/// The marker service of a table: answers from the registry of people, and enters registrations into the cache.
class MarkerService final : public Tavola::TesselServiceAPI
{
public:
    /// `languages`, if any, gets those of the people in the cache.
    MarkerService(std::shared_ptr<PeopleRegistry> registry, std::shared_ptr<Tavola::TesselServiceCache> cache,
                  std::shared_ptr<CardLanguages> languages = nullptr);

    using PersonalWidget = boost::expected<Bedrock::IntrusivePtr<Trellis::Widget>, QString>;
    /// Sets the function that returns the widget for a content key; without it there are none.
    void setPersonalWidgets(std::function<PersonalWidget(const QString& contentKey)> widgetForKey);

    /// Fills the cache with the people of the registry, in place of what it held. Reads the registry in the call: before the
    /// table opens. False when it cannot be read (logged): the cache then has the people of the table's copy, or stays as it
    /// was where there is none. Main thread.
    bool fillCache();
    /// What the table keeps of people in memory.
    struct Entries
    {
        Tavola::TesselServiceCache::Entries cards;
        CardLanguages languages;
    };
    /// What is kept of these people. Any thread.
    [[nodiscard]] static Entries entriesOf(const std::vector<Person>& people);
    /// Puts these entries in the place of everything cached, and gives back what was; a card in both is known at every moment.
    /// Main thread.
    Entries fillCache(Entries entries);
    /// Runs a function that reads the registry and hands its result over to the main thread. No registration comes in between, so
    /// that an older result never arrives after a newer one. Not on the main thread, which it would block.
    void inOrder(const std::function<void()>& readAndHandOver);

    PersonalWidget personalWidget(unsigned long code) override;
    bool registerPersonalMarker(unsigned long code, const QString& name, const QString& email) override;

private:
    struct State;
    std::shared_ptr<PeopleRegistry> m_registry;
    std::shared_ptr<Tavola::TesselServiceCache> m_cache;
    std::shared_ptr<CardLanguages> m_languages; ///< may be null
    std::shared_ptr<State> m_state;             ///< shared with tasks and queued functions
    std::function<PersonalWidget(const QString&)> m_widgetForKey;
};
}
