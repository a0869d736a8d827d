#pragma once

#include <Tavola/TesselServiceAPI.hpp>

#include <functional>
#include <memory>
#include <vector>

namespace Tavola
{
class TesselServiceCache;
}

namespace Host
{
class PeopleRegistry;
struct Person;

/// The marker service of a table: answers from the registry of people and keeps the cache in step with it.
class MarkerService final : public Tavola::TesselServiceAPI
{
public:
    MarkerService(std::shared_ptr<PeopleRegistry> registry, std::shared_ptr<Tavola::TesselServiceCache> cache);

    using PersonalWidget = boost::expected<Bedrock::IntrusivePtr<Trellis::Widget>, QString>;
    /// Where the widgets for content keys come from; without it there are none.
    void setPersonalWidgets(std::function<PersonalWidget(const QString& contentKey)> widgetForKey);

    /// Fills the cache with everybody in the registry, and with nobody else. Reads it in the call: before the table opens.
    /// Main thread.
    void fillCache();
    /// Fills it with these people, and with nobody else. Main thread.
    void fillCache(const std::vector<Person>& people);
    /// When somebody has written to the registry since it was read: reads it on the background thread, after which the cache
    /// changes at once in a frame's after-update; a card that stays is known at every moment. What cannot be read leaves the
    /// cache as it is, and is tried again after kLooksLeftOutAfterFailure calls. True when it begins to read; not while an
    /// earlier reading is under way. Main thread.
    bool refreshCache();
    /// Runs what reads the registry and hands over what it read to the main thread: no registration comes in between, so
    /// that what is older never arrives after what is newer. Any thread.
    void inOrder(const std::function<void()>& readAndHandOver);
    /// A registry that cannot be read is looked at more seldom: each attempt is a warning.
    static constexpr int kLooksLeftOutAfterFailure = 15;

    PersonalWidget personalWidget(unsigned long code) override;
    bool registerPersonalMarker(unsigned long code, const QString& name, const QString& email) override;

private:
    struct State;
    std::shared_ptr<PeopleRegistry> m_registry;
    std::shared_ptr<Tavola::TesselServiceCache> m_cache;
    std::shared_ptr<State> m_state; ///< shared with what is on its way between the threads
    std::function<PersonalWidget(const QString&)> m_widgetForKey;
};
}
