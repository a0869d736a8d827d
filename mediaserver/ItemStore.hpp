#pragma once

#include "Database.hpp"

#include <QDate>
#include <QString>

#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace MediaServer
{

enum class ItemKind { Url, File };

/// An item that a person kept. Each person has at most one item of a kind and value.
struct Item
{
    qint64 id = 0; ///< given by the store, never used twice
    ItemKind kind = ItemKind::Url;
    QString value; ///< web address or bare file name, exactly as sent
    QString displayName;
    QString systemName;
};

/// A file that a table announced and that the content folder does not have yet.
struct ExpectedFile
{
    QString name;
    QByteArray sha256; ///< 64 hexadecimal digits
    qint64 size = 0;   ///< bytes
};

/// People, identified by the number of their card, and their items, in an SQLite file. Every operation that reports success is on
/// the disk (write-ahead log, synchronous FULL): it survives a kill and a power cut.
///
/// A store lives on the thread that opened it. Several stores may be open on one file.
class ItemStore
{
public:
    /// Creates file and tables when needed. Refuses a file that is no database or was written by a newer version. A lock of
    /// another program is waited for, here and later, up to `lockWaitMs`. The error names the reason and the remedy.
    [[nodiscard]] static Result<std::unique_ptr<ItemStore>> open(const QString& file, int lockWaitMs = 3000);
    ~ItemStore();
    ItemStore(const ItemStore&) = delete;
    ItemStore& operator=(const ItemStore&) = delete;

    /// The person's secret, made at the first call: 128 random bits as 22 characters
    /// of base64url. It is not derived from the card.
    [[nodiscard]] Result<QString> tokenFor(qint64 tessel);

    /// Another secret for a person who has one: the former one opens nothing any more.
    [[nodiscard]] Result<QString> renewToken(qint64 tessel);

    /// The card of that token; empty for a token that was not given out.
    [[nodiscard]] Result<std::optional<qint64>> personOf(const QString& token);

    /// Stores the item; when the person has it already, only its names are updated. `item.id` is ignored.
    [[nodiscard]] Result<void> add(qint64 tessel, const Item& item);

    /// Whether add() would leave the person with `most` items or fewer: there is room, or the item is there already.
    [[nodiscard]] Result<bool> hasRoom(qint64 tessel, const Item& item, int most);

    /// False when the person does not have it.
    [[nodiscard]] Result<bool> remove(qint64 tessel, ItemKind kind, const QString& value);

    /// Nothing happens when the person does not have it.
    [[nodiscard]] Result<void> remove(qint64 tessel, qint64 id);
    [[nodiscard]] Result<void> removeAll(qint64 tessel);

    /// The day (UTC) on which the person's last item was added first, or on which they got their secret.
    [[nodiscard]] Result<QDate> lastAddition(qint64 tessel);
    /// Removes the people that got no item for so many days, with their items. Returns how many these were.
    [[nodiscard]] Result<int> removeOlderThan(int days);

    /// In the order in which they were added first.
    [[nodiscard]] Result<std::vector<Item>> items(qint64 tessel);

    /// Keeps the announcement of a file. False when another file of that name is expected, announced less than a day ago.
    [[nodiscard]] Result<bool> expect(const ExpectedFile& file);
    [[nodiscard]] Result<std::optional<ExpectedFile>> expected(const QString& name);
    /// The file has come.
    [[nodiscard]] Result<void> forgetExpected(const QString& name);

    /// The person's item of that id; empty when there is none or it belongs to another person.
    [[nodiscard]] Result<std::optional<Item>> item(qint64 tessel, qint64 id);

private:
    explicit ItemStore(std::unique_ptr<Database> database) : m_database(std::move(database)) {}
    [[nodiscard]] static Result<void> done(const Result<QSqlQuery>& statement);

    std::unique_ptr<Database> m_database;
};

/// Whether the text has the form of a token.
[[nodiscard]] bool isTokenForm(const QString& text);

} // namespace MediaServer
