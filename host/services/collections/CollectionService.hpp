#pragma once

#include "services/collections/CollectionFile.hpp"
#include "services/collections/CollectionSettings.hpp"

#include <Bedrock/RareWarnings.hpp>

#include <QJsonObject>
#include <QString>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace Host
{
/// Keeps collections in a CollectionFile, on a thread of its own. Changes that cannot be written are kept in memory, one for each
/// item, and tried again with the next change and after a pause, for as long as the table is open; that is logged with its
/// remedy, each reason at most once a minute. What is older than the settings allow is removed when the file is opened, and each
/// hour. Operations return at once and may be called on any thread.
class CollectionService
{
public:
    using Change = CollectionFile::Change;
    /// Nothing when the store could not be read, which was logged.
    using Answer = std::function<void(const std::optional<std::vector<CollectedItem>>& items)>;
    /// Seconds since 1970; called on the service's thread.
    using Clock = std::function<qint64()>;

    /// `path`: of the file.
    CollectionService(const QString& path, const CollectionSettings& settings, Clock clock = {});
    /// Tries once more to write what could not be written. Answers that are owed are dropped.
    ~CollectionService();
    CollectionService(const CollectionService&) = delete;
    CollectionService& operator=(const CollectionService&) = delete;

    void change(Change change);
    /// Calls `answer` on the service's thread, after the changes before have been tried.
    void read(unsigned long code, Answer answer);

    /// {"waiting": changes that are not on the disk yet, "failed": whether the last attempt to write or read has failed}
    [[nodiscard]] QJsonObject state() const;
    /// Has changes that could not be written tried again now.
    void retry();
    /// Blocks until every request has been tried: up to some seconds where another program locks the file.
    void waitUntilIdle();

private:
    struct Question
    {
        unsigned long code;
        Answer answer;
    };
    using Time = std::chrono::steady_clock::time_point;

    void work();
    /// Does what is to be done. The lock is not held during it.
    void turn(std::unique_lock<std::mutex>& lock);
    [[nodiscard]] bool isDue(Time now) const;
    [[nodiscard]] bool write(const std::map<QString, Change>& changes);
    void removeExpired();
    [[nodiscard]] qint64 oldestKept() const;
    void enter(Change change);

    const CollectionSettings m_settings;
    const Clock m_clock;
    Bedrock::RareWarnings m_warnings{"CollectionService"}; ///< of the thread, as are the next two
    CollectionFile m_file;
    bool m_isOpen = false;

    mutable std::mutex m_mutex; ///< guards what follows
    std::condition_variable m_wake;
    std::condition_variable m_idle;
    std::map<QString, Change> m_changes; ///< by the items' keys
    std::deque<Question> m_questions;
    Time m_nextAttempt; ///< of changes that have failed
    Time m_nextCleaning;
    std::size_t m_writing = 0; ///< changes that are being written
    bool m_isBusy = false;
    bool m_hasFailed = false;
    bool m_isStopped = false;

    std::thread m_thread; ///< the last member
};
}
