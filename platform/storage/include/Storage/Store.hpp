#pragma once

#include <Bedrock/Export.hpp>
#include <Storage/Address.hpp>
#include <Storage/Failure.hpp>
#include <Storage/Schema.hpp>
#include <Storage/Transaction.hpp>

#include <tl/expected.hpp>

#include <chrono>
#include <functional>
#include <memory>

namespace Storage
{
/// A database for the lifetime of this object, SQLite or PostgreSQL, with a thread and a connection of its own.
///
///     store->post(Store::Kind::Write,
///                 [=](Transaction& transaction) { return transaction.run("DELETE FROM item WHERE id = ?", {id}); },
///                 [reply](const Store::Outcome& outcome) { reply.send(outcome ? "done" : outcome.error().text()); });
///
/// A job is one transaction, in the order of the calls; jobs of one kind that wait together are committed together. A job may be
/// called several times: after a lost connection, and when another job of its group fails. So it has no effect but on the
/// database and on what its outcome reads. Every result that was reported is kept: it is on the disk, and a commit whose
/// acknowledgement was lost is looked up on the server before a job runs again.
///
/// All functions: any thread, also inside a job's `done`; run() not there.
class TAVOLA_EXPORT Store
{
public:
    enum class Kind {
        Read, ///< sees one state of the database; changes nothing
        Write ///< what it reads stays true until its end: no other job of this schema writes meanwhile, on any machine
    };
    /// Returns false to roll back, and so does a statement that fails.
    using Job = std::function<bool(Transaction& transaction)>;
    /// Whether the job was committed; false: it returned false.
    using Outcome = tl::expected<bool, Failure>;
    /// Called once on the store's thread.
    using Done = std::function<void(const Outcome& outcome)>;

    enum class Event {
        Changed, ///< another connection may have changed something: also after an outage, in which changes are not noticed
        Away     ///< the database was lost; Changed follows when it is back
    };
    enum class WhenAway {
        Fail, ///< open() fails
        Open  ///< the store opens; its jobs fail until the database is there
    };

    struct Settings
    {
        /// From the call of post() until a job that has not come about is given up. `done` is called about two seconds after it
        /// at the latest. SQLite waits so long for another program's lock.
        std::chrono::milliseconds deadline{5000};
        WhenAway whenAway = WhenAway::Fail; ///< for PostgreSQL
        /// Called on the store's thread; none: changes are not looked for. Others' changes are noticed within a second.
        std::function<void(Event event)> onEvent;
    };

    /// Connects and brings the tables to the version of `schema`, all of them or none; blocks for it. Refuses a database of a
    /// newer version. A sentence with the remedy on failure.
    [[nodiscard]] static tl::expected<std::unique_ptr<Store>, QString> open(const Address& address, const Schema& schema,
                                                                            const Settings& settings);
    /// Runs what was posted, or fails it when the database is away; see endWithin() for one that hangs.
    ~Store();
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    void post(Kind kind, Job job, Done done);
    /// For the end of a program whose server hangs: what has not come about in this time from now fails as Away, a job under way
    /// and later ones as well. For good. A SQLite file's store goes on as before: its waits are short or for another's lock.
    void endWithin(std::chrono::milliseconds time);
    /// Blocks until the outcome is known: not for the thread of frames.
    [[nodiscard]] Outcome run(Kind kind, const Job& job);

    [[nodiscard]] const Address& address() const noexcept { return m_address; }

private:
    class Worker;
    explicit Store(const Address& address);

    Address m_address;
    std::unique_ptr<Worker> m_worker;
};
}
