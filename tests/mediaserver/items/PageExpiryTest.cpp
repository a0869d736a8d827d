#include "items/PageExpiry.hpp"

#include "Folder.hpp"
#include "OtherConnection.hpp"
#include "items/ItemStore.hpp"

#include <LogCapture.hpp>

#include <doctest/doctest.h>

using namespace MediaServer;

namespace
{

struct PageExpiryFixture
{
    void add(qint64 tessel)
    {
        Item item;
        item.value = QStringLiteral("https://museum.example/");
        REQUIRE(store->add(tessel, item));
    }

    /// Everything that is there happened so long ago.
    void age(int days) const
    {
        const QString since = QStringLiteral("strftime('%Y-%m-%dT%H:%M:%SZ', 'now', '-%1 days')").arg(days);
        executeBeside(file, QStringLiteral("UPDATE person SET since = ") + since);
        executeBeside(file, QStringLiteral("UPDATE item SET added = ") + since);
    }

    Folder folder;
    QString file = folder.path(QStringLiteral("items.sqlite"));
    std::unique_ptr<ItemStore> store = std::move(*ItemStore::open(file));
    PageExpiry::Clock::time_point start = PageExpiry::Clock::now();
};

}

TEST_CASE_FIXTURE(PageExpiryFixture, "page expiry: a page goes, with its items, so many days after the last addition")
{
    add(7);
    add(8);
    age(31);
    Item fresh;
    fresh.value = QStringLiteral("https://museum.example/new");
    REQUIRE(store->add(8, fresh));
    const QString old = *store->tokenFor(7);
    const QString kept = *store->tokenFor(8);
    PageExpiry expiry(*store, 30);
    expiry.check(start);
    expiry.waitUntilIdle();
    CHECK_FALSE(store->personOf(old)->has_value());
    CHECK(store->items(7)->empty());
    CHECK(store->personOf(kept)->has_value());
    CHECK(store->items(8)->size() == 2);
    // The card's next page has another address.
    CHECK(*store->tokenFor(7) != old);
}

TEST_CASE_FIXTURE(PageExpiryFixture, "page expiry: it looks once an hour, and never where pages are kept for ever")
{
    PageExpiry never(*store, 0);
    PageExpiry expiry(*store, 30);
    expiry.check(start);
    expiry.waitUntilIdle();
    add(7);
    age(40);
    never.check(start);
    expiry.check(start + std::chrono::minutes(59));
    expiry.waitUntilIdle();
    CHECK(store->items(7)->size() == 1);
    expiry.check(start + std::chrono::minutes(60));
    expiry.waitUntilIdle();
    CHECK(store->items(7)->empty());
}

TEST_CASE_FIXTURE(PageExpiryFixture, "page expiry: a database that fails is logged, and tried again an hour later")
{
    executeBeside(file, QStringLiteral("ALTER TABLE person RENAME TO people"));
    TestSupport::expectWarningStartingWith("MediaServer # Old pages could not be removed (");
    PageExpiry expiry(*store, 30);
    expiry.check(start);
    expiry.waitUntilIdle();
    executeBeside(file, QStringLiteral("ALTER TABLE people RENAME TO person"));
    add(7);
    age(31);
    expiry.check(start + std::chrono::hours(1));
    expiry.waitUntilIdle();
    CHECK(store->items(7)->empty());
}
