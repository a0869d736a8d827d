#include "items/PageImport.hpp"

#include "Folder.hpp"
#include "items/ItemStore.hpp"

#include <TestDatabase.hpp>

#include <doctest/doctest.h>

#include <QFile>

using namespace MediaServer;

namespace
{

std::unique_ptr<ItemStore> openItems(const QString& database)
{
    auto opened = ItemStore::open(database);
    REQUIRE_MESSAGE(opened, opened.error().toStdString());
    return std::move(*opened);
}

Item importedLink(const char* address, const char* name)
{
    return {0, ItemKind::Url, QString::fromUtf8(address), QString::fromUtf8(name), {}};
}

/// "address name" of each item of a card.
QStringList pageOf(ItemStore& store, qint64 tessel)
{
    QStringList lines;
    const std::vector<Item> items = store.items(tessel).value();
    for (const Item& item : items)
        lines << item.value + QLatin1Char(' ') + item.displayName;
    return lines;
}

}

TEST_CASE("page import: pages keep their addresses and items, and what the database has already stays")
{
    for (const TestDatabase::Kind kind : TestDatabase::kinds()) {
        const TestDatabase file(TestDatabase::Kind::Sqlite);
        const TestDatabase database(kind);
        CAPTURE(database.name());
        const QString to = database.address().shown();
        QString token;
        {
            const auto source = openItems(file.address().file);
            token = source->tokenFor(7).value();
            REQUIRE(source->add(7, importedLink("https://a.example/", "a")));
            REQUIRE(source->add(7, {0, ItemKind::File, "boat.png", "Boat", {}}));
            REQUIRE(source->add(-8, importedLink("https://a.example/", "own")));
            REQUIRE(source->add(9, importedLink("https://a.example/", "old")));
            REQUIRE(source->add(9, importedLink("https://b.example/", "b")));
            REQUIRE(source->expect({"film.mp4", QByteArray(64, 'a'), 12}));
        }
        const auto target = openItems(to);
        REQUIRE(target->add(9, importedLink("https://a.example/", "new")));
        const QString kept = target->tokenFor(9).value();
        for (const bool isFirst : {true, false}) {
            const auto imported = PageImport::run(file.address().file, to);
            REQUIRE_MESSAGE(imported, imported.error().toStdString());
            CHECK(imported->people == (isFirst ? 2 : 0));
            CHECK(imported->items == (isFirst ? 4 : 0));
            CHECK(imported->otherAddress == 1);
            CHECK(target->tokenFor(7).value() == token);
            CHECK(target->tokenFor(9).value() == kept);
            CHECK(pageOf(*target, 7) == QStringList{"https://a.example/ a", "boat.png Boat"});
            CHECK(pageOf(*target, -8) == QStringList{"https://a.example/ own"});
            CHECK(pageOf(*target, 9) == QStringList{"https://a.example/ new", "https://b.example/ b"});
            CHECK(target->expected("film.mp4").value()->size == 12);
        }
    }
}

TEST_CASE("page import: a server that starts on another server's database without pages says how those of a file come there")
{
    for (const TestDatabase::Kind kind : TestDatabase::kinds()) {
        const TestDatabase database(kind);
        CAPTURE(database.name());
        const QString name = database.address().shown();
        const auto store = openItems(name);
        CHECK(PageImport::advice(*store, name).contains("--import FILE") == (kind == TestDatabase::Kind::Postgres));
        (void)store->tokenFor(7);
        CHECK(PageImport::advice(*store, name).isEmpty());
    }
}

TEST_CASE("page import: thousands of items come in their order")
{
    const TestDatabase file(TestDatabase::Kind::Sqlite);
    const TestDatabase database(TestDatabase::Kind::Sqlite);
    QStringList expected;
    {
        const auto source = openItems(file.address().file);
        (void)source->tokenFor(7);
        file.execute(QStringLiteral("INSERT INTO item (tessel, kind, value, displayname, systemname) WITH RECURSIVE n(i) AS "
                                    "(SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 1200) "
                                    "SELECT 7, 'url', 'https://a.example/' || i, i, '' FROM n"));
    }
    for (int i = 1; i <= 1200; ++i)
        expected << QStringLiteral("https://a.example/%1 %1").arg(i);
    CHECK(PageImport::run(file.address().file, database.address().file)->items == 1200);
    CHECK(pageOf(*openItems(database.address().file), 7) == expected);
}

TEST_CASE("page import: a file that is not there or no database is refused with the reason")
{
    const TestDatabase database(TestDatabase::Kind::Sqlite);
    const Folder folder;
    const auto missing = PageImport::run(folder.path(QStringLiteral("missing.sqlite")), database.address().file);
    REQUIRE_FALSE(missing);
    CHECK(missing.error().contains("missing.sqlite"));
    CHECK_FALSE(QFile::exists(folder.path(QStringLiteral("missing.sqlite"))));
    QFile words(folder.path(QStringLiteral("words.sqlite")));
    REQUIRE(words.open(QIODevice::WriteOnly));
    words.write(QByteArray(5000, 'w'));
    words.close();
    const auto spoilt = PageImport::run(words.fileName(), database.address().file);
    REQUIRE_FALSE(spoilt);
    CHECK(spoilt.error().contains("words.sqlite"));
    CHECK_FALSE(PageImport::run(database.address().file, QStringLiteral("mysql://x/y")));
}
