#pragma once

#include "services/collections/CollectionChanges.hpp"
#include "services/collections/CollectionClaims.hpp"
#include "services/collections/CollectionDatabase.hpp"
#include "services/collections/CollectionIntake.hpp"
#include "services/collections/CollectionSettings.hpp"

#include <Bedrock/RareWarnings.hpp>

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <set>
#include <thread>
#include <vector>

namespace Host
{
/// Keeps collections in a CollectionDatabase, on a thread of its own. Changes are on the table's own disk within a moment (see
/// CollectionIntake). Those that cannot be written to the database are kept, one for each item, and tried again with the next
/// change, after a pause, and when the table opens again; that is logged with its remedy, each reason at most once a minute. What
/// is older than the settings allow is removed when the database is opened, and each hour. Operations return at once and may be
/// called on any thread.
class CollectionService
{
public:
    using Change = CollectionDatabase::Change;
    /// Nothing when the store could not be read, which was logged.
    using Answer = std::function<void(const std::optional<std::vector<CollectedItem>>& items)>;
    using Claimed = CollectionClaims::Claimed;
    using Changed = std::function<void(const std::set<unsigned long>& codes)>;
    /// Seconds since 1970; called on the service's thread.
    using Clock = std::function<qint64()>;
    enum class Watch {
        No,
        Others ///< what other programs change is reported, within a second
    };

    /// `deadline`: for each attempt to reach the database.
    CollectionService(const CollectionPlace& place, const CollectionSettings& settings, Watch watch, Clock clock = {},
                      std::chrono::milliseconds deadline = CollectionDatabase::Settings().deadline);
    /// Tries once more to write what could not be written; it waits on the disk otherwise. Answers that are owed are dropped.
    ~CollectionService();
    CollectionService(const CollectionService&) = delete;
    CollectionService& operator=(const CollectionService&) = delete;

    void change(Change change);
    /// Calls `answer` on the service's thread with what the changes before make of the card's items, also of those that could
    /// not be written.
    void read(unsigned long code, Answer answer);
    /// Calls `claimed` on the service's thread with those of the items that this owner alone may send from now on, once the
    /// others are gone; see CollectionClaims. A database that could not be asked was logged.
    void claim(const QStringList& keys, const QString& owner, Claimed claimed);
    /// Calls `changed` once, at once or when another program has changed something, with the cards of which anything was changed
    /// since the last call, and those that could not be read before. On the service's thread or the caller's. Replaces one that
    /// was not called. Needs Watch::Others.
    void awaitChange(Changed changed);

    /// Ends an owner's right to send items before its time, so that another table need not wait for that.
    void release(const QStringList& keys, const QString& owner);

    /// {"waiting": changes that are not in the database yet, "failed": whether the last attempt to write or read has failed}
    [[nodiscard]] QJsonObject state() const;
    /// Has changes that could not be written tried again now.
    void retry();
    /// For the end of the table: no call of a database on a server takes longer from now on.
    void endWithin(std::chrono::milliseconds time) { m_database.endWithin(time); }
    /// Blocks until every request has been tried: up to some seconds where another program locks the database.
    void waitUntilIdle();

private:
    /// Answers a request. False when the database has failed. `isUsable`: whether it is worth asking.
    using Request = std::function<bool(bool isUsable)>;
    using Time = std::chrono::steady_clock::time_point;

    void work();
    /// Does what is to be done. The lock is not held during it.
    void turn(std::unique_lock<std::mutex>& lock);
    /// Whether there is something for the next attempt.
    [[nodiscard]] bool isWaiting() const;
    [[nodiscard]] bool isDue(Time now) const;
    void ask(Request request);
    /// Writes what m_unwritten holds. False when that fails.
    [[nodiscard]] bool write();
    [[nodiscard]] bool answerRead(unsigned long code, const Answer& answer, bool isUsable);
    [[nodiscard]] bool askForClaims(bool isUsable);
    /// What other programs have changed. False when it cannot be read.
    [[nodiscard]] bool readNews();
    void tellNews(std::unique_lock<std::mutex>& lock);
    void removeExpired();
    [[nodiscard]] qint64 oldestKept() const;

    const CollectionSettings m_settings;
    const Clock m_clock;
    Bedrock::RareWarnings m_warnings{"CollectionService"}; ///< of the thread, as are the next five
    CollectionDatabase m_database;
    CollectionClaims m_claims;
    bool m_isOpen = false;
    std::vector<Change> m_unwritten;  ///< that are not written in this turn, in order
    std::set<unsigned long> m_unread; ///< cards that could not be read last

    mutable std::mutex m_mutex; ///< guards what follows
    std::condition_variable m_wake;
    std::condition_variable m_idle;
    CollectionChanges m_older; ///< that an earlier program could not write
    CollectionChanges m_changes;
    quint64 m_last = 0; ///< number of the last one of these
    std::deque<Request> m_requests;
    Changed m_changed;
    std::set<unsigned long> m_changedCards; ///< that were not reported yet
    Time m_nextAttempt;                     ///< after a failure
    Time m_nextCleaning;
    Time m_nextClaim = Time::max(); ///< when claims that wait are asked for again
    std::size_t m_writing = 0;      ///< changes that are being written
    bool m_isLeftKnown = false;     ///< m_older has what an earlier program has left
    bool m_hasNews = false;         ///< another program may have changed something
    bool m_needsOpening = false;
    bool m_isBusy = false;
    bool m_hasFailed = false;
    bool m_isStopped = false;

    CollectionIntake m_intake; ///< uses what is before it
    std::thread m_thread;      ///< the last member
};
}
