#include "services/collections/CollectionClaims.hpp"

#include "Folder.hpp"
#include "SqliteFault.hpp"

#include <doctest/doctest.h>

#include <QStringList>

#include <chrono>
#include <optional>

using namespace Host;

namespace
{
using ChangeKind = CollectionDatabase::Change::Kind;

/// A store with the items "a-1" and "a-2", of which another table has claimed the first.
struct ClaimedStore
{
    Folder folder;
    CollectionDatabase database{*CollectionPlace::of({}, folder.path(QStringLiteral("collections.sqlite"))),
                                {},
                                [this](const QString& what, const QString& reason, const QString&) {
                                    CHECK_MESSAGE(isFaultExpected, (what + reason).toStdString());
                                    ++faults;
                                }};
    bool isFaultExpected = false;
    int faults = 0;
    CollectionClaims claims;
    QStringList answers; ///< the keys of each, joined
    qint64 now = 1000;

    ClaimedStore()
    {
        REQUIRE(database.open());
        change(ChangeKind::Add, "a-1");
        change(ChangeKind::Add, "a-2");
        CHECK(database.claim({"a-1"}, QStringLiteral("other"), now)->keys == QStringList{"a-1"});
    }
    void change(ChangeKind kind, const char* key)
    {
        CollectionDatabase::Change result{kind, 7, {}};
        result.item.key = QString::fromUtf8(key);
        CHECK(database.apply({result}, now));
    }
    void claim(const QStringList& keys)
    {
        claims.add(keys, QStringLiteral("one"), [this](const std::optional<QStringList>& claimed) {
            answers << (claimed ? claimed->join(QLatin1Char(' ')) : QStringLiteral("not asked"));
        });
    }
    bool ask(bool isUsable = true, std::chrono::seconds later = {})
    {
        return claims.ask(
            database, isUsable, [](const QString& key) { return key == QLatin1String("new"); }, now,
            CollectionClaims::Clock::now() + later);
    }
};
}

TEST_CASE("collection claims: items that no other table sends are answered at once, with those that are not stored yet")
{
    ClaimedStore store;
    CHECK(store.claims.nextAttempt() == CollectionClaims::Clock::time_point::max());
    store.claim({"a-2", "gone", "new"});
    CHECK(store.claims.nextAttempt() <= CollectionClaims::Clock::now());
    CHECK(store.ask());
    CHECK(store.answers == QStringList{"a-2 new"});
    CHECK(store.claims.nextAttempt() == CollectionClaims::Clock::time_point::max());
    CHECK(store.ask());
    CHECK(store.answers.size() == 1);
}

TEST_CASE("collection claims: one waits until the other table has removed what it sends")
{
    ClaimedStore store;
    store.claim({"a-1", "a-2"});
    store.claim({"a-2"});
    CHECK(store.ask());
    CHECK(store.answers == QStringList{"a-2"});
    const auto next = store.claims.nextAttempt();
    CHECK(next > CollectionClaims::Clock::now());
    CHECK(next <= CollectionClaims::Clock::now() + std::chrono::seconds(CollectionClaim::kSeconds + 1));
    store.change(ChangeKind::Remove, "a-1");
    CHECK(store.ask());
    CHECK(store.answers == QStringList{"a-2", "a-2"});
}

TEST_CASE("collection claims: one that waits gets what another table does not send when that one's claim is over")
{
    ClaimedStore store;
    store.claim({"a-1"});
    store.now += CollectionClaim::kSeconds;
    CHECK(store.ask());
    CHECK(store.answers.isEmpty());
    store.now += 1;
    CHECK(store.ask());
    CHECK(store.answers == QStringList{"a-1"});
}

TEST_CASE("collection claims: an outage fails a new one, and one that waits for another table's goes on waiting")
{
    ClaimedStore store;
    store.claim({"a-1"});
    CHECK(store.ask());
    store.claim({"a-2"});
    CHECK_FALSE(store.ask(false));
    CHECK(store.answers == QStringList{"not asked"});
    CHECK(store.claims.nextAttempt() > CollectionClaims::Clock::now());
    CHECK(store.claims.nextAttempt() < CollectionClaims::Clock::time_point::max());
    store.change(ChangeKind::Remove, "a-1");
    CHECK(store.ask());
    CHECK(store.answers == QStringList{"not asked", ""});
}

TEST_CASE("collection claims: one is answered with what it has after a little more than a minute, whatever other tables do")
{
    ClaimedStore store;
    store.claim({"a-1", "a-2"});
    CHECK(store.ask(true, std::chrono::seconds(60)));
    CHECK(store.answers.isEmpty());
    CHECK(store.ask(true, std::chrono::seconds(71)));
    CHECK(store.answers == QStringList{"a-2"});
    store.claim({"a-1"});
    CHECK(store.ask());
    CHECK_FALSE(store.ask(false, std::chrono::seconds(71)));
    CHECK(store.answers.last() == "not asked");
}

TEST_CASE("collection claims: a database that fails is asked once for all that wait")
{
    ClaimedStore store;
    const auto lost =
        TestSupport::SqliteFault::lostTable(store.folder.path(QStringLiteral("collections.sqlite")), QStringLiteral("items"));
    store.isFaultExpected = true;
    store.claim({"a-1"});
    store.claim({"a-2"});
    CHECK_FALSE(store.ask());
    CHECK(store.faults == 1);
    CHECK(store.answers == QStringList{"not asked", "not asked"});
}
