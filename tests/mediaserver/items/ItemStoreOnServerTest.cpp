#include "items/ItemStore.hpp"

#include <EventLoop.hpp>
#include <PostgresProxy.hpp>
#include <TestDatabase.hpp>

#include <doctest/doctest.h>

#include <QDateTime>

#include <future>
#include <limits>
#include <memory>

using namespace MediaServer;

namespace
{

std::unique_ptr<ItemStore> openOn(const TestDatabase& database)
{
    auto opened = ItemStore::open(database.address().shown());
    REQUIRE_MESSAGE(opened, opened.error().toStdString());
    return std::move(*opened);
}

Item linkTo(const QString& address, const QString& name = {})
{
    return {0, ItemKind::Url, address, name, {}};
}

}

TEST_CASE("items on any database: items and tokens are there when it is opened again")
{
    TestDatabase::onEach([](const TestDatabase& database) {
        const auto one = openOn(database);
        const QString token = *one->tokenFor(7);
        CHECK(isTokenForm(token));
        REQUIRE(one->add(7, linkTo("https://a.example/", "old")));
        REQUIRE(one->add(7, {0, ItemKind::File, "boat.png", "Boat", {}}));
        REQUIRE(one->add(7, linkTo("https://a.example/", "new")));
        const auto other = openOn(database);
        CHECK(*other->tokenFor(7) == token);
        CHECK(*other->personOf(token) == std::optional<qint64>(7));
        CHECK_FALSE(other->personOf("0000000000000000000000")->has_value());
        const auto items = *other->items(7);
        REQUIRE(items.size() == 2);
        CHECK(items[0].displayName == "new");
        CHECK(items[0].kind == ItemKind::Url);
        CHECK(items[1].value == "boat.png");
        CHECK(items[1].kind == ItemKind::File);
        CHECK(other->lastAddition(7)->daysTo(QDateTime::currentDateTimeUtc().date()) <= 1);
        const QString renewed = *other->renewToken(7);
        CHECK(renewed != token);
        CHECK(*one->tokenFor(7) == renewed);
    });
}

TEST_CASE("items on any database: an item is one person's, and its id does not come back")
{
    TestDatabase::onEach([](const TestDatabase& database) {
        const auto store = openOn(database);
        using Limits = std::numeric_limits<qint64>;
        for (const qint64 tessel : {Limits::min(), qint64(0), Limits::max()})
            REQUIRE(store->add(tessel, linkTo("https://a.example/")));
        const qint64 id = (*store->items(0))[0].id;
        CHECK((*store->item(0, id))->value == "https://a.example/");
        CHECK_FALSE(store->item(Limits::max(), id)->has_value());
        CHECK(*store->remove(0, ItemKind::Url, "https://a.example/"));
        CHECK_FALSE(*store->remove(0, ItemKind::Url, "https://a.example/"));
        CHECK_FALSE(*store->remove(1, ItemKind::Url, "https://a.example/"));
        REQUIRE(store->add(0, linkTo("https://b.example/")));
        CHECK((*store->items(0))[0].id > id);
        REQUIRE(store->remove(0, (*store->items(0))[0].id));
        REQUIRE(store->removeAll(Limits::max()));
        CHECK(store->items(0)->empty());
        CHECK(store->items(Limits::max())->empty());
        CHECK(store->items(Limits::min())->size() == 1);
    });
}

TEST_CASE("items on any database: a secret is remembered until it changes, here or at another server")
{
    TestDatabase::onEach([](const TestDatabase& database) {
        const auto one = openOn(database);
        const auto other = openOn(database);
        const auto found = [&one] {
            const auto promise = std::make_shared<std::promise<QString>>();
            one->findToken(7, [promise](const Result<QString>& token) { promise->set_value(*token); });
            return promise->get_future().get();
        };
        CHECK(one->rememberedToken(7).isNull());
        const QString token = found(); // made, so it is not known to be kept yet
        CHECK(isTokenForm(token));
        CHECK(one->rememberedToken(7).isNull());
        CHECK(found() == token);
        CHECK(one->rememberedToken(7) == token);
        const QString renewed = *one->renewToken(7);
        CHECK(one->rememberedToken(7).isNull());
        CHECK(found() == renewed);
        CHECK(one->rememberedToken(7) == renewed);
        REQUIRE(other->renewToken(7));
        CHECK(TestSupport::pumpUntil([&one] { return one->rememberedToken(7).isNull(); }));
        CHECK(found() == *other->tokenFor(7));
        CHECK(found() == one->rememberedToken(7));
        CHECK(one->removeOlderThan(-1) == 1); // a page goes with its secret
        CHECK(one->rememberedToken(7).isNull());
    });
}

TEST_CASE("items on any database: a server that has just failed to answer is not asked for as long as that took")
{
    if (!TestDatabase::hasPostgres())
        return;
    const TestDatabase database(TestDatabase::Kind::Postgres);
    // A machine that stands still meanwhile may ask it again, or not open it in time.
    for (int attempt = 1;; ++attempt) {
        REQUIRE(attempt < 10);
        PostgresProxy proxy(database.address().port);
        Storage::Address address = database.address();
        address.port = proxy.port();
        const auto store = ItemStore::open(address.shown(), std::chrono::milliseconds(1000));
        if (!store)
            continue;
        proxy.freeze();
        CHECK_FALSE((*store)->tokenFor(7));
        proxy.thaw();
        if ((*store)->tokenFor(7))
            continue;
        CHECK(TestSupport::pumpUntil([&store] { return (*store)->tokenFor(7).has_value(); }));
        break;
    }
}

TEST_CASE("items on any database: there is room up to the limit, and for what is there already")
{
    TestDatabase::onEach([](const TestDatabase& database) {
        const auto store = openOn(database);
        CHECK(*store->hasRoom(7, linkTo("https://a.example/"), 1));
        REQUIRE(store->add(7, linkTo("https://a.example/")));
        CHECK_FALSE(*store->hasRoom(7, linkTo("https://b.example/"), 1));
        CHECK(*store->hasRoom(7, linkTo("https://a.example/"), 1));
        CHECK(*store->hasRoom(7, linkTo("https://b.example/"), 2));
    });
}

TEST_CASE("items on any database: a web address may be as long as a request")
{
    const QString address = QStringLiteral("https://a.example/") + QString(60000, QLatin1Char('a'));
    TestDatabase::onEach([&](const TestDatabase& database) {
        const auto store = openOn(database);
        REQUIRE(store->add(7, linkTo(address, "1")));
        REQUIRE(store->add(7, linkTo(address, "2")));
        REQUIRE(store->items(7)->size() == 1);
        CHECK((*store->items(7))[0].value == address);
        CHECK(*store->remove(7, ItemKind::Url, address));
    });
}

TEST_CASE("items on any database: old pages go with their items, others stay")
{
    TestDatabase::onEach([](const TestDatabase& database) {
        const auto store = openOn(database);
        for (const qint64 tessel : {1, 2, 3})
            REQUIRE(store->add(tessel, linkTo("https://a.example/")));
        database.execute("UPDATE person SET since = '2020-01-01T00:00:00Z' WHERE tessel <> 3");
        database.execute("UPDATE item SET added = '2020-01-02T00:00:00Z' WHERE tessel = 1");
        CHECK(*store->lastAddition(1) == QDate(2020, 1, 2));
        CHECK(*store->removeOlderThan(30) == 1);
        CHECK(store->items(1)->empty());
        CHECK(store->items(2)->size() == 1);
        CHECK(store->items(3)->size() == 1);
        CHECK(database.execute("SELECT count(*) FROM item").toInt() == 2);
    });
}

TEST_CASE("items on any database: hundreds of old pages go at once")
{
    TestDatabase::onEach([](const TestDatabase& database) {
        const auto store = openOn(database);
        database.execute(
            "WITH RECURSIVE card (n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM card WHERE n < 450) INSERT INTO person "
            "(tessel, token, since) SELECT n, 'token ' || n, '2020-01-01T00:00:00Z' FROM card");
        (void)*store->tokenFor(1000);
        CHECK(*store->removeOlderThan(30) == 450);
        CHECK(database.execute("SELECT count(*) FROM person").toInt() == 1);
    });
}

TEST_CASE("items on any database: an expected file gives way to another one after a day")
{
    const ExpectedFile map{QStringLiteral("map.png"), QByteArray(64, 'a'), qint64(5) << 32};
    const ExpectedFile other{QStringLiteral("map.png"), QByteArray(64, 'b'), 4};
    TestDatabase::onEach([&](const TestDatabase& database) {
        const auto store = openOn(database);
        CHECK(*store->expect(map));
        CHECK(*store->expect(map));
        CHECK_FALSE(*store->expect(other));
        CHECK((*store->expected(map.name))->size == map.size);
        database.execute("UPDATE expected SET announced = '2020-01-01T00:00:00Z'");
        CHECK(*store->expect(other));
        CHECK((*store->expected(map.name))->sha256 == other.sha256);
        REQUIRE(store->forgetExpected(map.name));
        CHECK_FALSE(store->expected(map.name)->has_value());
    });
}
