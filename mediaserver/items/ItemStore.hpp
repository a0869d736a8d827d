#pragma once

#include "Items.hpp"
#include "shared/Result.hpp"

#include <Storage/Store.hpp>

#include <QDate>
#include <QHash>
#include <QString>

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace MediaServer
{

/// People, identified by the number of their card, and their items, in a SQLite file or on a PostgreSQL server. Every operation
/// that reports success is on the disk: it survives a kill and a power cut. The functions are those of Items, each a transaction
/// of its own: they block until it has ended, or until the database has not answered for the deadline; after that they fail at
/// once for as long, so that a server that hangs does not take all the time of the thread that serves visitors. Any thread.
/// Several stores may be open on one database.
class ItemStore
{
public:
    static constexpr std::chrono::milliseconds kDeadline{3000};

    /// `database`: see Storage::Address. Makes file and tables when needed. Refuses a file that is no database, or what was
    /// written by a newer version. The error names the reason and the remedy.
    [[nodiscard]] static Result<std::unique_ptr<ItemStore>> open(const QString& database,
                                                                 std::chrono::milliseconds deadline = kDeadline);
    ~ItemStore();
    ItemStore(const ItemStore&) = delete;
    ItemStore& operator=(const ItemStore&) = delete;

    [[nodiscard]] Result<QString> tokenFor(qint64 tessel);
    [[nodiscard]] Result<QString> renewToken(qint64 tessel);
    [[nodiscard]] Result<std::optional<qint64>> personOf(const QString& token);

    [[nodiscard]] Result<void> add(qint64 tessel, const Item& item);
    [[nodiscard]] Result<bool> hasRoom(qint64 tessel, const Item& item, int most);
    [[nodiscard]] Result<bool> remove(qint64 tessel, ItemKind kind, const QString& value);
    [[nodiscard]] Result<void> remove(qint64 tessel, qint64 id);
    [[nodiscard]] Result<void> removeAll(qint64 tessel);
    [[nodiscard]] Result<std::vector<Item>> items(qint64 tessel);
    [[nodiscard]] Result<std::optional<Item>> item(qint64 tessel, qint64 id);

    [[nodiscard]] Result<bool> hasPeople();
    [[nodiscard]] Result<QDate> lastAddition(qint64 tessel);
    /// All of them, in several transactions.
    [[nodiscard]] Result<int> removeOlderThan(int days);

    [[nodiscard]] Result<bool> expect(const ExpectedFile& file);
    [[nodiscard]] Result<std::optional<ExpectedFile>> expected(const QString& name);
    [[nodiscard]] Result<void> forgetExpected(const QString& name);

    using Kind = Storage::Store::Kind;
    /// A transaction of its own as well, without waiting for it: changes that wait together are committed together. `done` is
    /// called on the store's thread. The job may be called several times.
    void post(Kind kind, std::function<void(Items&)> job, std::function<void(const Result<void>&)> done);
    /// As tokenFor(), without waiting. `done` is called on the store's thread.
    void findToken(qint64 tessel, const std::function<void(const Result<QString>&)>& done);
    /// The person's secret as findToken() has found it; null when it has not, or when anything was changed by another server
    /// since. Such a change is noticed within a second.
    [[nodiscard]] QString rememberedToken(qint64 tessel);

private:
    explicit ItemStore(std::chrono::milliseconds deadline) : m_deadline(deadline) {}
    void forgetTokens();
    /// What `question` returns of the items, in a transaction of its own.
    template <class Question>
    [[nodiscard]] auto ask(Kind kind, const Question& question) -> Result<decltype(question(std::declval<Items&>()))>;
    [[nodiscard]] Result<void> change(const std::function<void(Items&)>& change);
    /// One job, unless the last one has found the database away a moment ago.
    [[nodiscard]] Storage::Store::Outcome run(Kind kind, const Storage::Store::Job& job);

    struct Outage
    {
        std::chrono::steady_clock::time_point until;
        Storage::Failure failure;
    };
    std::chrono::milliseconds m_deadline;
    std::mutex m_mutex;
    std::optional<Outage> m_outage;          ///< under the mutex
    QHash<qint64, QString> m_tokens;         ///< under the mutex
    std::unique_ptr<Storage::Store> m_store; ///< last member: its thread ends first
};

/// Whether the text has the form of a token.
[[nodiscard]] bool isTokenForm(const QString& text);

}
