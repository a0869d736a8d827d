#pragma once

#include <Storage/Schema.hpp>
#include <Storage/Transaction.hpp>

#include <QByteArray>
#include <QDate>
#include <QString>

#include <optional>
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

/// People, identified by the number of their card, and their items, inside one transaction, which also keeps what failed: after a
/// failure the results mean nothing. On the store's thread.
class Items
{
public:
    /// The tables that this class needs.
    [[nodiscard]] static Storage::Schema schema();

    explicit Items(Storage::Transaction& transaction) : m_transaction(transaction) {}

    /// The person's secret; null for a person who has none.
    [[nodiscard]] QString knownToken(qint64 tessel);
    /// The person's secret, made at the first call: 128 random bits as 22 characters of base64url. It is not derived from the
    /// card.
    [[nodiscard]] QString tokenFor(qint64 tessel);
    /// Gives a person another secret in place of theirs, which opens nothing any more.
    [[nodiscard]] QString renewToken(qint64 tessel);
    /// The card of that token; empty for a token that was not given out.
    [[nodiscard]] std::optional<qint64> personOf(const QString& token);

    /// Stores the item; when the person has it already, only its names are updated. `item.id` is ignored.
    void add(qint64 tessel, const Item& item);
    /// Whether add() would leave the person with `most` items or fewer: there is room, or the item is there already.
    [[nodiscard]] bool hasRoom(qint64 tessel, const Item& item, int most);
    /// False when the person does not have it.
    [[nodiscard]] bool remove(qint64 tessel, ItemKind kind, const QString& value);
    /// Nothing happens when the person does not have it.
    void remove(qint64 tessel, qint64 id);
    void removeAll(qint64 tessel);
    /// In the order in which they were added first.
    [[nodiscard]] std::vector<Item> items(qint64 tessel);
    /// The person's item of that id; empty when there is none or it belongs to another person.
    [[nodiscard]] std::optional<Item> item(qint64 tessel, qint64 id);

    /// Whether any person has a page.
    [[nodiscard]] bool hasPeople();
    /// The day (UTC) on which the person's last item was added first, or on which they got their secret.
    [[nodiscard]] QDate lastAddition(qint64 tessel);
    /// Removes people that got no item for so many days, with their items: `most` of them, so that it does not take long. Returns
    /// how many these were.
    [[nodiscard]] int removeOlderThan(int days, int most);

    /// Keeps the announcement of a file. False when another file of that name is expected, announced less than a day ago.
    [[nodiscard]] bool expect(const ExpectedFile& file);
    [[nodiscard]] std::optional<ExpectedFile> expected(const QString& name);
    /// The file has come.
    void forgetExpected(const QString& name);

private:
    Storage::Transaction& m_transaction;
};

}
