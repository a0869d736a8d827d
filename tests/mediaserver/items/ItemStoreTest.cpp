#include "items/ItemStore.hpp"

#include "Folder.hpp"

#include <SpoiltDatabase.hpp>

#include <doctest/doctest.h>

#include <QElapsedTimer>
#include <QFile>
#include <QSqlQuery>
#include <QVariant>

#include <limits>
#include <set>

using namespace MediaServer;

namespace
{

std::unique_ptr<ItemStore> openStore(const QString& file)
{
    auto store = ItemStore::open(file);
    REQUIRE(store);
    return std::move(*store);
}

Item linkItem(const char* address, const char* name = "")
{
    Item item;
    item.value = QString::fromUtf8(address);
    item.displayName = QString::fromUtf8(name);
    return item;
}

/// Runs one statement on a connection of its own.
QVariant execute(const QString& file, const QString& statement)
{
    QVariant result;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("beside"));
        database.setDatabaseName(file);
        REQUIRE(database.open());
        QSqlQuery query(database);
        REQUIRE(query.exec(statement));
        if (query.next())
            result = query.value(0);
    }
    QSqlDatabase::removeDatabase(QStringLiteral("beside"));
    return result;
}

}

TEST_CASE("item store: items and tokens are there when it is opened again")
{
    const Folder folder;
    const QString file = folder.path(QStringLiteral("items.sqlite"));
    QString token;
    {
        const auto store = openStore(file);
        REQUIRE(store->add(7, linkItem("https://a.example/", "First \xe2\x80\x9cname\xe2\x80\x9d")));
        Item picture;
        picture.kind = ItemKind::File;
        picture.value = QStringLiteral("boat.png");
        picture.systemName = QStringLiteral("Undefined");
        REQUIRE(store->add(7, picture));
        token = *store->tokenFor(7);
    }
    const auto store = openStore(file);
    CHECK(*store->tokenFor(7) == token);
    const auto items = *store->items(7);
    REQUIRE(items.size() == 2);
    CHECK(items[0].kind == ItemKind::Url);
    CHECK(items[0].displayName == QString::fromUtf8("First \xe2\x80\x9cname\xe2\x80\x9d"));
    CHECK(items[1].kind == ItemKind::File);
    CHECK(items[1].value == QLatin1String("boat.png"));
    CHECK(items[1].systemName == QLatin1String("Undefined"));
    CHECK(execute(file, QStringLiteral("PRAGMA journal_mode")).toString() == QLatin1String("wal"));
}

TEST_CASE("item store: a token stays the same, belongs to one card and is not derived from it")
{
    const Folder folder;
    const auto store = openStore(folder.path(QStringLiteral("items.sqlite")));
    const auto beside = openStore(folder.path(QStringLiteral("other.sqlite")));
    std::set<QString> tokens;
    for (qint64 tessel = 0; tessel < 200; ++tessel) {
        const QString token = *store->tokenFor(tessel);
        CHECK(isTokenForm(token));
        CHECK(QByteArray::fromBase64(token.toLatin1(), QByteArray::Base64UrlEncoding).size() == 16);
        CHECK(*store->tokenFor(tessel) == token);
        CHECK(**store->personOf(token) == tessel);
        tokens.insert(token);
        tokens.insert(*beside->tokenFor(tessel));
    }
    CHECK(tokens.size() == 400);
}

TEST_CASE("item store: only the exact token finds a person")
{
    const Folder folder;
    const auto store = openStore(folder.path(QStringLiteral("items.sqlite")));
    const QString token = *store->tokenFor(7);
    CHECK_FALSE(*store->personOf(QStringLiteral("7")));
    CHECK_FALSE(*store->personOf(QString()));
    CHECK_FALSE(*store->personOf(token.left(21)));
    CHECK_FALSE(*store->personOf(token.left(21) + QLatin1Char('%')));
    const QString otherCase = token.toLower() == token ? token.toUpper() : token.toLower();
    CHECK_FALSE(*store->personOf(otherCase));
}

TEST_CASE("item store: an item added twice is kept once, with the later name and its old place")
{
    const Folder folder;
    const auto store = openStore(folder.path(QStringLiteral("items.sqlite")));
    REQUIRE(store->add(7, linkItem("https://a.example/", "old")));
    REQUIRE(store->add(7, linkItem("https://b.example/", "other")));
    const qint64 id = (*store->items(7))[0].id;
    REQUIRE(store->add(7, linkItem("https://a.example/", "new")));
    const auto items = *store->items(7);
    REQUIRE(items.size() == 2);
    CHECK(items[0].id == id);
    CHECK(items[0].displayName == QLatin1String("new"));
    CHECK(items[1].displayName == QLatin1String("other"));
}

TEST_CASE("item store: removing takes this person's item of this kind and says whether there was one")
{
    const Folder folder;
    const auto store = openStore(folder.path(QStringLiteral("items.sqlite")));
    REQUIRE(store->add(7, linkItem("https://a.example/")));
    REQUIRE(store->add(8, linkItem("https://a.example/")));
    CHECK_FALSE(*store->remove(7, ItemKind::File, QStringLiteral("https://a.example/")));
    CHECK_FALSE(*store->remove(7, ItemKind::Url, QStringLiteral("https://b.example/")));
    CHECK_FALSE(*store->remove(9, ItemKind::Url, QStringLiteral("https://a.example/")));
    CHECK(*store->remove(7, ItemKind::Url, QStringLiteral("https://a.example/")));
    CHECK_FALSE(*store->remove(7, ItemKind::Url, QStringLiteral("https://a.example/")));
    CHECK(store->items(7)->empty());
    CHECK(store->items(8)->size() == 1);
}

TEST_CASE("item store: an id is one person's and does not come back for another item")
{
    const Folder folder;
    const auto store = openStore(folder.path(QStringLiteral("items.sqlite")));
    REQUIRE(store->add(7, linkItem("https://a.example/")));
    const qint64 id = (*store->items(7))[0].id;
    CHECK((*store->item(7, id))->value == QLatin1String("https://a.example/"));
    CHECK_FALSE(*store->item(8, id));
    REQUIRE(*store->remove(7, ItemKind::Url, QStringLiteral("https://a.example/")));
    REQUIRE(store->add(7, linkItem("https://b.example/")));
    CHECK((*store->items(7))[0].id != id);
    CHECK_FALSE(*store->item(7, id));
}

TEST_CASE("item store: cards of all 64 bits are kept apart")
{
    const Folder folder;
    const auto store = openStore(folder.path(QStringLiteral("items.sqlite")));
    using Limits = std::numeric_limits<qint64>;
    std::set<QString> tokens;
    const qint64 cards[] = {Limits::min(), -1, 0, 9007199254740992, 9007199254740993, Limits::max()};
    for (const qint64 tessel : cards) {
        const QString token = *store->tokenFor(tessel);
        CHECK(**store->personOf(token) == tessel);
        tokens.insert(token);
    }
    CHECK(tokens.size() == 6);
}

TEST_CASE("item store: text is kept as text, whatever it looks like")
{
    const Folder folder;
    const auto store = openStore(folder.path(QStringLiteral("items.sqlite")));
    const char* const hostile = "'); DROP TABLE item; --";
    REQUIRE(store->add(7, linkItem(hostile, hostile)));
    CHECK((*store->items(7))[0].displayName == QLatin1String(hostile));
    CHECK(*store->remove(7, ItemKind::Url, QLatin1String(hostile)));
}

TEST_CASE("item store: two stores on one file see each other's items")
{
    const Folder folder;
    const QString file = folder.path(QStringLiteral("items.sqlite"));
    const auto one = openStore(file);
    const auto other = openStore(file);
    REQUIRE(one->add(7, linkItem("https://a.example/")));
    REQUIRE(other->add(7, linkItem("https://b.example/")));
    CHECK(one->items(7)->size() == 2);
    CHECK(*one->tokenFor(7) == *other->tokenFor(7));
}

TEST_CASE("item store: a file that is no database is refused and left alone")
{
    const Folder folder;
    const QByteArray text = QByteArray("not a database\n").repeated(200);
    folder.write(QStringLiteral("notes.txt"), text);
    const auto store = ItemStore::open(folder.path(QStringLiteral("notes.txt")));
    REQUIRE_FALSE(store);
    CHECK(store.error().startsWith(
        QStringLiteral("The database \"%1\" cannot be used: ").arg(folder.path(QStringLiteral("notes.txt")))));
    QFile file(folder.path(QStringLiteral("notes.txt")));
    REQUIRE(file.open(QIODevice::ReadOnly));
    CHECK(file.readAll() == text);
}

TEST_CASE("item store: a file of format 1 keeps its people and items and is brought up to date")
{
    Folder folder;
    const QString file = folder.path(QStringLiteral("items.sqlite"));
    QString token;
    {
        const auto store = openStore(file);
        REQUIRE(store->add(7, linkItem("https://a.example/", "A")));
        token = *store->tokenFor(7);
    }
    execute(file, QStringLiteral("DROP TABLE expected"));
    execute(file, QStringLiteral("PRAGMA user_version = 1"));
    {
        const auto store = openStore(file);
        CHECK(*store->tokenFor(7) == token);
        CHECK(store->items(7)->size() == 1);
        CHECK(*store->expect({QStringLiteral("map.png"), QByteArray(64, 'a'), 3}));
    }
    CHECK(execute(file, QStringLiteral("PRAGMA user_version")).toInt() == 2);
}

TEST_CASE("item store: an expected file is kept until it has come, and gives way to another one after a day")
{
    Folder folder;
    const QString file = folder.path(QStringLiteral("items.sqlite"));
    const QString name = QStringLiteral("map.png");
    const ExpectedFile map{name, QByteArray(64, 'a'), 3};
    const ExpectedFile other{name, QByteArray(64, 'b'), 4};
    {
        const auto store = openStore(file);
        CHECK_FALSE(store->expected(name)->has_value());
        CHECK(*store->expect(map));
        CHECK(*store->expect(map));
        CHECK_FALSE(*store->expect(other));
    }
    execute(file, QStringLiteral("UPDATE expected SET announced = strftime('%Y-%m-%dT%H:%M:%SZ', 'now', '-23 hours')"));
    const auto store = openStore(file);
    CHECK_FALSE(*store->expect(other));
    CHECK((*store->expected(name))->sha256 == map.sha256);
    CHECK((*store->expected(name))->size == 3);
    execute(file, QStringLiteral("UPDATE expected SET announced = strftime('%Y-%m-%dT%H:%M:%SZ', 'now', '-25 hours')"));
    CHECK(*store->expect(other));
    CHECK((*store->expected(name))->sha256 == other.sha256);
    CHECK_FALSE(*store->expect(map));
    REQUIRE(store->forgetExpected(name));
    REQUIRE(store->forgetExpected(name));
    CHECK_FALSE(store->expected(name)->has_value());
}

TEST_CASE("item store: a file of a newer version is refused")
{
    const Folder folder;
    const QString file = folder.path(QStringLiteral("items.sqlite"));
    openStore(file).reset();
    execute(file, QStringLiteral("PRAGMA user_version = 9"));
    const auto store = ItemStore::open(file);
    REQUIRE_FALSE(store);
    CHECK(store.error().endsWith(QLatin1String(" was made by a newer version of this program; use that one")));
}

TEST_CASE("item store: a folder that does not exist is an error")
{
    const Folder folder;
    CHECK_FALSE(ItemStore::open(folder.path(QStringLiteral("none/items.sqlite"))));
}

TEST_CASE("item store: a file that cannot be used is refused with the reason and the remedy, and a lock is waited for")
{
    using TestSupport::SpoiltDatabase;
    constexpr std::chrono::milliseconds kWait(200);
    for (const SpoiltDatabase::Kind kind : TestSupport::kSpoiltKinds) {
        CAPTURE(SpoiltDatabase::name(kind));
        const Folder folder;
        const QString file = folder.path(QStringLiteral("items.sqlite"));
        const SpoiltDatabase spoilt(file, kind);
        QElapsedTimer clock;
        clock.start();
        const auto store = ItemStore::open(file, kWait);
        REQUIRE_FALSE(store);
        CAPTURE(store.error().toStdString());
        CHECK(store.error().startsWith(QStringLiteral("The database \"%1\" cannot be used: ").arg(file)));
        CHECK(store.error().endsWith(QStringLiteral("; ") + SpoiltDatabase::remedy(kind)));
        CHECK((kind != SpoiltDatabase::Kind::Locked || clock.elapsed() >= kWait.count() - 10));
    }
}
