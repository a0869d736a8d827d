#pragma once

#include "services/collections/CollectionDatabase.hpp"
#include "services/collections/CollectionSettings.hpp"

#include <Bedrock/RareWarnings.hpp>

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <thread>
#include <vector>

namespace Host
{
/// Keeps collections in a CollectionDatabase, on a thread of its own. Changes that cannot be written are kept in memory, one for
/// each item, and tried again with the next change and after a pause, for as long as the table is open; that is logged with its
/// remedy, each reason at most once a minute. What is older than the settings allow is removed when the database is opened, and
/// each hour. Operations return at once and may be called on any thread.
class CollectionService
{
public:
    using Change = CollectionDatabase::Change;
    /// Nothing when the store could not be read, which was logged.
    using Answer = std::function<void(const std::optional<std::vector<CollectedItem>>& items)>;
    /// Nothing when the store could not be asked, which was logged.
    using Claimed = std::function<void(const std::optional<QStringList>& keys)>;
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
    /// Tries once more to write what could not be written. Answers that are owed are dropped.
    ~CollectionService();
    CollectionService(const CollectionService&) = delete;
    CollectionService& operator=(const CollectionService&) = delete;

    void change(Change change);
    /// Calls `answer` on the service's thread with what the changes before make of the card's items, also of those that could
    /// not be written.
    void read(unsigned long code, Answer answer);
    /// Calls `claimed` on the service's thread with those of the items that this owner alone may send from now on; see
    /// CollectionDatabase::claim.
    void claim(const QStringList& keys, const QString& owner, Claimed claimed);
    /// Calls `changed` once, at once or when another program has changed something, with the cards of which anything was changed
    /// since the last call, and those that could not be read before. On the service's thread or the caller's. Replaces one that
    /// was not called. Needs Watch::Others.
    void awaitChange(Changed changed);

    /// {"waiting": changes that are not on the disk yet, "failed": whether the last attempt to write or read has failed}
    [[nodiscard]] QJsonObject state() const;
    /// Has changes that could not be written tried again now.
    void retry();
    /// Blocks until every request has been tried: up to some seconds where another program locks the database.
    void waitUntilIdle();

private:
    /// Answers a request. False when the database has failed. `isUsable`: whether it is worth asking.
    using Request = std::function<bool(bool isUsable)>;
    using Changes = std::map<QString, Change>; ///< by the items' keys
    using Time = std::chrono::steady_clock::time_point;

    void work();
    /// Does what is to be done. The lock is not held during it.
    void turn(std::unique_lock<std::mutex>& lock);
    /// Whether there is something for the next attempt.
    [[nodiscard]] bool isWaiting() const;
    [[nodiscard]] bool isDue(Time now) const;
    void ask(Request request);
    [[nodiscard]] bool write(const Changes& changes);
    [[nodiscard]] bool answerRead(unsigned long code, const Answer& answer, bool isUsable);
    /// What other programs have changed. False when it cannot be read.
    [[nodiscard]] bool readNews();
    void tellNews(std::unique_lock<std::mutex>& lock);
    void removeExpired();
    [[nodiscard]] qint64 oldestKept() const;
    void enter(Change change);

    const CollectionSettings m_settings;
    const Clock m_clock;
    Bedrock::RareWarnings m_warnings{"CollectionService"}; ///< of the thread, as are the next four
    CollectionDatabase m_database;
    bool m_isOpen = false;
    Changes m_unwritten;              ///< that could not be written in this turn
    std::set<unsigned long> m_unread; ///< cards that could not be read last

    mutable std::mutex m_mutex; ///< guards what follows
    std::condition_variable m_wake;
    std::condition_variable m_idle;
    Changes m_changes;
    std::deque<Request> m_requests;
    Changed m_changed;
    std::set<unsigned long> m_changedCards; ///< that were not reported yet
    Time m_nextAttempt;                     ///< after a failure
    Time m_nextCleaning;
    std::size_t m_writing = 0; ///< changes that are being written
    bool m_hasNews = false;    ///< another program may have changed something
    bool m_needsOpening = false;
    bool m_isBusy = false;
    bool m_hasFailed = false;
    bool m_isStopped = false;

    std::thread m_thread; ///< the last member
};
}
