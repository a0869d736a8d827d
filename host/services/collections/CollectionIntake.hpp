#pragma once

#include "services/collections/CollectionBacklog.hpp"
#include "services/collections/CollectionPlace.hpp"
#include "services/collections/CollectionPreviews.hpp"

#include <Bedrock/RareWarnings.hpp>
#include <Bedrock/WorkerPool.hpp>

#include <QtGlobal>

#include <atomic>
#include <functional>
#include <mutex>
#include <vector>

namespace Host
{
/// Has changes on the table's own disk as soon as they are made, however long the database takes: copies their previews, appends
/// them to the CollectionBacklog, and passes them on, numbered and in their order. They stay in the file until the database has
/// all of them. A disk that cannot be written is logged with its remedy; the changes are passed on all the same. One thread,
/// which waits for nothing but this disk. Operations return at once and may be called on any thread.
class CollectionIntake
{
public:
    using Change = CollectionDatabase::Change;
    /// Called on the intake's thread.
    struct Handlers
    {
        std::function<void(const std::vector<Change>& changes)> left; ///< by an earlier program; called before `passed`
        std::function<void(const std::vector<Change>& changes, quint64 last)> passed; ///< `last`: the number of the last one
    };

    CollectionIntake(const CollectionPlace& place, Handlers handlers);
    /// Returns after everything that was asked for has been done.
    ~CollectionIntake();
    CollectionIntake(const CollectionIntake&) = delete;
    CollectionIntake& operator=(const CollectionIntake&) = delete;

    void add(Change change);
    /// Calls `step` on the intake's thread after the changes before were passed on.
    void afterwards(std::function<void()> step);
    /// The changes up to this number are in the database, and what an earlier program has left.
    void written(quint64 number);
    /// The database cannot be written: tries again what could not be brought to the disk.
    void keep();

    /// The changes that are not passed on yet.
    [[nodiscard]] int waiting() const { return m_waiting; }
    void waitUntilIdle() { m_pool.waitUntilIdle(); }
    [[nodiscard]] QString path() const { return m_backlog.path(); }

private:
    void readLeft();
    void passAdded();
    /// Copies the preview, unless that fails.
    [[nodiscard]] Change lasting(Change change);
    void append(const std::vector<Change>& changes);

    const CollectionPreviews m_previews;
    const Handlers m_handlers;
    Bedrock::RareWarnings m_warnings{"CollectionService"}; ///< of the thread, as are the next three
    CollectionBacklog m_backlog;
    std::vector<Change> m_unkept; ///< passed on, but not in the file
    quint64 m_last = 0;           ///< number of the change that was passed on last

    std::atomic<int> m_waiting{0};
    std::mutex m_mutex; ///< guards the next one
    std::vector<Change> m_added;

    Bedrock::WorkerPool m_pool{1}; ///< the last member
};
}
