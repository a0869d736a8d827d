#include "collections/CollectionKeeper.hpp"

#include "FakeCollectionStore.hpp"
#include "PluginSupport.hpp"
#include "TestHost.hpp"

#include <doctest/doctest.h>

using PluginTest::FakeCollectionStore;
using PluginTest::Strings;
using Tavola::CollectionKeeper;

namespace
{
CollectionKeeper::Item item(const char* name, std::int32_t status = 1)
{
    CollectionKeeper::Item result;
    result.displayName = QString::fromUtf8(name);
    result.status = status;
    return result;
}

/// A keeper whose restored items get ids from 100 on.
struct Keeping
{
    TestSupport::TestHost host;
    std::shared_ptr<FakeCollectionStore> store = std::make_shared<FakeCollectionStore>();
    unsigned long code = PluginTest::newCode();
    Strings restored; ///< "100 name"
    long nextId = 100;
    Strings gone;      ///< "100"
    Strings refreshed; ///< "100 name 3"
    std::vector<CollectionKeeper::Reason> reasons;
    std::shared_ptr<CollectionKeeper> keeper = std::make_shared<CollectionKeeper>(
        code,
        CollectionKeeper::Handlers{[this](const std::vector<CollectionKeeper::Item>& items, CollectionKeeper::Reason reason) {
                                       reasons.push_back(reason);
                                       for (const auto& one : items) {
                                           restored.push_back(std::to_string(nextId) + " " + one.displayName.toStdString());
                                           keeper->restored(nextId++, one);
                                       }
                                   },
                                   [this](long id) { gone.push_back(std::to_string(id)); },
                                   [this](long id, const CollectionKeeper::Item& one) {
                                       refreshed.push_back(std::to_string(id) + " " + one.displayName.toStdString() + " "
                                                           + std::to_string(one.status));
                                   }});

    explicit Keeping(bool withStore = true)
    {
        if (withStore)
            host.tavola().services()->addService("collection-store", QString(), store);
    }
    ~Keeping() { store->breakPromises(); }
};
}

TEST_CASE("collection keeper: an item gets its key when it is added, is added to the store once and updated when it differs")
{
    Keeping table;
    table.keeper->added(7);
    table.keeper->added(8);
    CHECK(table.store->changes().empty());
    table.keeper->changed(8, item("moon"));
    table.keeper->changed(7, item("moon"));
    // Two of the same content are two, with the keys of their drops.
    CHECK(table.store->changes() == Strings{"add 2 1 moon", "add 1 1 moon"});
    table.keeper->changed(7, item("moon"));
    CHECK(table.store->changes().empty());
    table.keeper->changed(7, item("moon", 3));
    CHECK(table.store->changes() == Strings{"update 1 3 moon"});
    auto withPreview = item("moon", 3);
    withPreview.preview = "/tmp/moon.png";
    table.keeper->changed(7, withPreview);
    CHECK(table.store->changes() == Strings{"update 1 3 moon"});
    CHECK(table.store->kept[table.code].back().preview == "/tmp/moon.png");
}

TEST_CASE("collection keeper: what is removed is removed in the store, what was never stored or only left is not")
{
    Keeping table;
    for (const long id : {1, 2, 3})
        table.keeper->added(id);
    table.keeper->changed(1, item("a"));
    table.keeper->changed(2, item("b"));
    (void)table.store->changes();
    table.keeper->removed(1);
    table.keeper->removed(3);
    table.keeper->removed(99);
    table.keeper->left(2);
    CHECK(table.store->changes() == Strings{"remove 1"});
    table.keeper->changed(1, item("late"));
    table.keeper->changed(2, item("late"));
    CHECK(table.store->changes().empty());
}

TEST_CASE("collection keeper: reading restores in order what is missing, each once, and not what was removed meanwhile")
{
    Keeping table;
    table.store->keepEarlier(table.code, "x-1", "one", 1);
    table.store->keepEarlier(table.code, "x-2", "two", 3);
    table.store->keepEarlier(table.code, "x-3", "three", 1);
    table.store->holdsAnswers = true;
    table.keeper->read();
    table.store->answer(0, table.store->kept[table.code]);
    CHECK(table.restored.empty());
    table.host.frame();
    CHECK(table.restored == Strings{"100 one", "101 two", "102 three"});

    // Read again, with an item that was removed after the store was asked.
    table.restored.clear();
    table.keeper->read();
    const auto before = table.store->kept[table.code];
    table.keeper->removed(101);
    table.keeper->left(102);
    table.store->answer(1, before);
    table.host.frame();
    CHECK(table.restored == Strings{"103 three"});
    CHECK(table.store->changes() == Strings{"remove x-2"});
    // A restored item is updated, not added.
    table.keeper->changed(100, item("one", 3));
    CHECK(table.store->changes() == Strings{"update x-1 3 one"});
}

TEST_CASE("collection keeper: a card that is read while an answer is under way is read once more after it")
{
    Keeping table;
    table.store->holdsAnswers = true;
    table.keeper->read();
    table.keeper->read();
    table.keeper->read();
    CHECK(table.store->reads.size() == 1);
    table.store->answer(0, {});
    table.host.frame();
    REQUIRE(table.store->reads.size() == 2);
    table.store->keepEarlier(table.code, "x-1", "one", 1);
    table.store->answer(1, table.store->kept[table.code]);
    table.host.frame();
    CHECK(table.store->reads.size() == 2);
    CHECK(table.restored == Strings{"100 one"});
}

TEST_CASE("collection keeper: a store that cannot be read changes nothing, and the next reading succeeds")
{
    Keeping table;
    table.store->keepEarlier(table.code, "x-1", "one", 1);
    table.store->throws = true;
    table.keeper->read();
    table.host.frame();
    table.store->throws = false;
    table.store->holdsAnswers = true;
    table.keeper->read();
    table.store->fail(1, "no disk");
    table.host.frame();
    CHECK(table.restored.empty());
    table.store->holdsAnswers = false;
    table.keeper->read();
    table.host.frame();
    CHECK(table.restored == Strings{"100 one"});
}

TEST_CASE("collection keeper: an answer for a keeper that is gone is dropped")
{
    Keeping table;
    table.store->keepEarlier(table.code, "x-1", "one", 1);
    table.keeper->read();
    table.keeper.reset();
    table.host.frame();
    CHECK(table.restored.empty());
}

TEST_CASE("collection keeper: without a store nothing happens")
{
    Keeping table(false);
    CHECK_FALSE(CollectionKeeper::hasStore());
    table.keeper->read();
    table.keeper->added(1);
    table.keeper->changed(1, item("a"));
    table.keeper->removed(1);
    table.keeper->left(1);
    table.host.frame();
    CHECK(table.store->reads.empty());
    CHECK(table.store->changes().empty());
    CHECK(table.restored.empty());
    // Nor when there is no application any more.
    table.host.destroyTavola();
    CHECK_FALSE(CollectionKeeper::hasStore());
}

TEST_CASE("collection keeper: what another table changes is read at once, shown, and not stored again")
{
    Keeping table;
    using Reason = CollectionKeeper::Reason;
    table.store->keepEarlier(table.code, "x-1", "one", 1);
    table.keeper->added(7);
    table.keeper->changed(7, item("two"));
    table.keeper->read();
    table.host.frame();
    CHECK(table.reasons == std::vector<Reason>{Reason::Opened});
    (void)table.store->changes();

    auto& kept = table.store->kept[table.code];
    table.store->keepEarlier(table.code, "y-1", "three", 3);
    for (auto& one : kept)
        if (one.displayName == "two")
            one.status = 3;
    kept.front().preview = "/museum/one.png";
    table.store->tellOfChange(table.code);
    table.host.frame();
    CHECK(table.restored == Strings{"100 one", "101 three"});
    CHECK(table.reasons.back() == Reason::Changed);
    CHECK(table.refreshed == Strings{"7 two 3", "100 one 1"});
    CHECK(table.gone.empty());

    kept.erase(kept.begin());
    table.store->tellOfChange(table.code);
    table.host.frame();
    CHECK(table.gone == Strings{"100"});
    CHECK(table.refreshed.size() == 2);
    // It is forgotten, and does not come back.
    table.keeper->changed(100, item("late"));
    table.keeper->removed(100);
    CHECK(table.store->changes().empty());
}

TEST_CASE("collection keeper: the store's copy of this table's own preview is no change")
{
    Keeping table;
    table.keeper->added(7);
    auto own = item("moon");
    own.preview = "/tmp/moon.png";
    table.keeper->changed(7, own);
    auto& kept = table.store->kept[table.code];
    kept.front().preview = "/museum/moon.png";
    table.keeper->read();
    table.host.frame();
    CHECK(table.refreshed.empty());
    kept.front().status = 3;
    table.keeper->read();
    table.host.frame();
    CHECK(table.refreshed == Strings{"7 moon 3"});
    // With the preview that the table shows.
    own.status = 3;
    (void)table.store->changes();
    table.keeper->changed(7, own);
    CHECK(table.store->changes().empty());
}

TEST_CASE("collection keeper: an answer that is older than a change of this table does not undo it")
{
    Keeping table;
    for (const long id : {1, 2}) {
        table.keeper->added(id);
        table.keeper->changed(id, item("a"));
    }
    table.store->holdsAnswers = true;
    table.keeper->read();
    const auto before = table.store->kept[table.code];
    table.keeper->added(3);
    table.keeper->changed(3, item("new"));
    table.keeper->changed(2, item("a", 3));
    table.keeper->added(4); // not stored
    table.store->answer(0, before);
    table.host.frame();
    CHECK(table.gone.empty());
    CHECK(table.refreshed.empty());
    // The next one is newer.
    table.keeper->read();
    table.store->answer(1, {});
    table.host.frame();
    CHECK(table.gone == Strings{"1", "2", "3"});
}

TEST_CASE("collection keeper: a space that opens while a change is read is read once more, as one that opens")
{
    using Reason = CollectionKeeper::Reason;
    Keeping table;
    table.store->holdsAnswers = true;
    table.keeper->read();
    table.keeper->read(Reason::Opened);
    table.store->tellOfChange(table.code);
    table.store->answer(0, {});
    table.host.frame();
    table.store->keepEarlier(table.code, "x-1", "one", 1);
    table.store->answer(1, table.store->kept[table.code]);
    table.host.frame();
    CHECK(table.reasons == std::vector<Reason>{Reason::Opened});
    CHECK(table.store->reads.size() == 2);
}

TEST_CASE("collection keeper: items are claimed by their keys; one that is not stored needs no claim")
{
    Keeping table;
    for (const long id : {1, 2, 3})
        table.keeper->added(id);
    table.keeper->changed(1, item("a"));
    table.keeper->changed(2, item("b"));
    table.store->othersClaims = {"2"};
    CHECK(table.keeper->claim({1, 2, 3}).value() == std::set<long>{1, 3});
    CHECK(table.store->claims == std::vector<int>{2});
    CHECK(table.keeper->claim({3}).value() == std::set<long>{3});
    CHECK(table.store->claims.size() == 1);
    (void)table.store->changes();
    CHECK(table.keeper->lastingKeys({1, 2, 3, 4}) == QList<QString>{"run-1", "run-2"});
    table.keeper->release({1, 3, 4});
    CHECK(table.store->changes() == std::vector<std::string>{"release 1"});
    CHECK_FALSE(CollectionKeeper::isShared());
    table.store->shared = true;
    CHECK(CollectionKeeper::isShared());
}
