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

/// The marker service of a table: registers people and keeps the cache equal to the registry of people.
class MarkerService final : public Tavola::TesselServiceAPI
{
public:
    MarkerService(std::shared_ptr<PeopleRegistry> registry, std::shared_ptr<Tavola::TesselServiceCache> cache);

    using PersonalWidget = boost::expected<Bedrock::IntrusivePtr<Trellis::Widget>, QString>;
    /// Sets the function that returns the widget for a content key; without it there are none.
    void setPersonalWidgets(std::function<PersonalWidget(const QString& contentKey)> widgetForKey);

    /// Replaces the contents of the cache by the people of the registry. Reads the registry in the call, so it belongs before
    /// the table's first frame. Main thread.
    void fillCache();
    /// Replaces the contents of the cache by these people. Main thread.
    void fillCache(const std::vector<Person>& people);
    /// When the registry was written since the last reading: reads it on the background thread; the cache then changes in one
    /// step in a frame's after-update, in which a card that stays is cached throughout. A failed reading leaves the cache as it
    /// is and is repeated after kRefreshesSkippedAfterFailure calls. Returns whether a reading begins; none does while an earlier
    /// one is under way. Main thread.
    bool refreshCache();
    /// Runs a function that reads the registry and queues the result for the main thread, with registrations locked out, so that
    /// results are queued in the order of the readings. Any thread.
    void inOrder(const std::function<void()>& readAndHandOver);
    /// Each failed reading is a warning, so the next attempt waits for so many calls.
    static constexpr int kRefreshesSkippedAfterFailure = 15;

    PersonalWidget personalWidget(unsigned long code) override;
    bool registerPersonalMarker(unsigned long code, const QString& name, const QString& email) override;

private:
    struct State;
    std::shared_ptr<PeopleRegistry> m_registry;
    std::shared_ptr<Tavola::TesselServiceCache> m_cache;
    std::shared_ptr<State> m_state; ///< shared with tasks and queued functions
    std::function<PersonalWidget(const QString&)> m_widgetForKey;
};
}
