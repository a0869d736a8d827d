#include "PageImport.hpp"

#include "Items.hpp"

#include <Storage/Store.hpp>

#include <QFileInfo>
#include <QHash>
#include <QSqlQuery>

#include <limits>
#include <memory>
#include <vector>

namespace MediaServer
{

namespace
{

using StoreKind = Storage::Store::Kind;
using Rows = std::vector<QVariantList>;

/// Each batch is a transaction, and commands of tables are carried out between two of them.
constexpr int kRowsAtOnce = 500;

/// What is copied of one table. Its first column is its key.
struct CopiedTable
{
    QString select; ///< has "?" for the key after which to begin, and for how many rows to read
    QString insert; ///< without its rows
    int columns;
    bool hasNewKeys; ///< the key is not inserted
    QVariant beforeAll;
};

const CopiedTable kPeople{QStringLiteral("SELECT tessel, token, since FROM person WHERE tessel > ? ORDER BY tessel LIMIT ?"),
                          QStringLiteral("INSERT INTO person (tessel, token, since) VALUES "), 3, false,
                          std::numeric_limits<qint64>::min()};
const CopiedTable kItems{QStringLiteral("SELECT id, tessel, kind, value, displayname, systemname, added FROM item WHERE id > ? "
                                        "ORDER BY id LIMIT ?"),
                         QStringLiteral("INSERT INTO item (tessel, kind, value, displayname, systemname, added) VALUES "), 7,
                         true, std::numeric_limits<qint64>::min()};
const CopiedTable kExpected{QStringLiteral("SELECT name, sha256, size, announced FROM expected WHERE name > ? "
                                           "ORDER BY name LIMIT ?"),
                            QStringLiteral("INSERT INTO expected (name, sha256, size, announced) VALUES "), 4, false, QString()};

Result<std::unique_ptr<Storage::Store>> openPages(const QString& text, std::chrono::milliseconds deadline)
{
    const auto address = Storage::Address::parse(text);
    if (!address)
        return tl::unexpected(QStringLiteral("The database cannot be used: ") + address.error());
    Storage::Store::Settings settings;
    settings.deadline = deadline;
    auto store = Storage::Store::open(*address, Items::schema(), settings);
    if (!store)
        return tl::unexpected(QStringLiteral("The database \"%1\" cannot be used: %2").arg(text, store.error()));
    return std::move(*store);
}

bool readBatch(Storage::Transaction& reading, const CopiedTable& table, const QVariant& after, Rows& rows)
{
    rows.clear();
    return reading.run(table.select, {after, kRowsAtOnce}, [&](const QSqlQuery& row) {
        QVariantList read;
        for (int i = 0; i < table.columns; ++i)
            read << row.value(i);
        rows.push_back(read);
    });
}

/// How many rows were inserted.
int writeBatch(Storage::Transaction& writing, const CopiedTable& table, const Rows& rows)
{
    const int firstColumn = table.hasNewKeys ? 1 : 0;
    QVariantList values;
    for (const QVariantList& row : rows)
        values << row.mid(firstColumn);
    writing.run(table.insert + Storage::Transaction::rows(static_cast<int>(rows.size()), table.columns - firstColumn)
                    + QStringLiteral(" ON CONFLICT DO NOTHING"),
                values);
    return writing ? writing.changedRows() : 0;
}

/// How many of these people have another token in the database.
int countOthers(Storage::Transaction& writing, const Rows& people)
{
    QVariantList cards;
    QHash<qint64, QString> tokens;
    for (const QVariantList& row : people) {
        cards << row[0];
        tokens.insert(row[0].toLongLong(), row[1].toString());
    }
    int count = 0;
    writing.run(QStringLiteral("SELECT tessel, token FROM person WHERE tessel IN ") + Storage::Transaction::rows(1, cards.size()),
                cards, [&](const QSqlQuery& row) {
                    if (tokens.value(row.value(0).toLongLong()) != row.value(1).toString())
                        ++count;
                });
    return count;
}

/// How many rows were not there.
Result<int> copyTable(Storage::Store& from, Storage::Store& to, const CopiedTable& table, int& others)
{
    int all = 0;
    Rows rows;
    for (QVariant after = table.beforeAll;; after = rows.back().front()) {
        const auto isRead =
            from.run(StoreKind::Read, [&](Storage::Transaction& reading) { return readBatch(reading, table, after, rows); });
        if (!isRead)
            return tl::unexpected(QStringLiteral("The file cannot be read: ") + isRead.error().text());
        if (rows.empty())
            return all;
        int inserted = 0;
        int differing = 0;
        const auto isWritten = to.run(StoreKind::Write, [&](Storage::Transaction& writing) {
            inserted = writeBatch(writing, table, rows);
            differing = &table == &kPeople ? countOthers(writing, rows) : 0;
            return bool(writing);
        });
        if (!isWritten)
            return tl::unexpected(QStringLiteral("The database cannot be written: ") + isWritten.error().text());
        all += inserted;
        others += differing;
    }
}

}

QString PageImport::advice(ItemStore& store, const QString& database)
{
    const auto address = Storage::Address::parse(database);
    if (!address || !address->isPostgres() || store.hasPeople().value_or(true))
        return {};
    return QStringLiteral(
        "There is no page in the database yet; if the server had its pages in a file before, end it and start it "
        "once with --import FILE");
}

Result<PageImport> PageImport::run(const QString& file, const QString& database, std::chrono::milliseconds deadline)
{
    if (QFileInfo(file).size() == 0)
        return tl::unexpected(QStringLiteral("There is nothing to import: the file \"%1\" is not there.").arg(file));
    const auto from = openPages(file, deadline);
    if (!from)
        return tl::unexpected(from.error());
    const auto to = openPages(database, deadline);
    if (!to)
        return tl::unexpected(to.error());
    PageImport result;
    const auto people = copyTable(**from, **to, kPeople, result.otherAddress);
    if (!people)
        return tl::unexpected(people.error());
    const auto items = copyTable(**from, **to, kItems, result.otherAddress);
    if (!items)
        return tl::unexpected(items.error());
    const auto expected = copyTable(**from, **to, kExpected, result.otherAddress);
    if (!expected)
        return tl::unexpected(expected.error());
    result.people = *people;
    result.items = *items;
    return result;
}

}
