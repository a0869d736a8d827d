#include "personalspace/SharedUploads.hpp"

#include "KeptSpace.hpp"
#include "LogCapture.hpp"

#include <doctest/doctest.h>

#include <algorithm>

namespace
{
using PluginTest::KeptSpace;
using PluginTest::kUploaded;
using PluginTest::Strings;

const QJsonObject kDone{{"success", true}};

/// A space in upload mode, of a card whose items other tables have, too. Each command waits for its answer.
struct SharedSpace : KeptSpace
{
    /// `isShared`: false for a table whose store is its own.
    explicit SharedSpace(bool isShared = true)
    {
        store->shared = isShared;
        open();
        mode().setValue(Mode::Upload);
        host.mediaServer().holdAnswers(true);
        host.frame();
    }
    void addElsewhere(const char* key, const char* name)
    {
        store->keepEarlier(code, key, name, kUploaded);
        changedElsewhere();
    }
    void removeElsewhere(const QString& key)
    {
        auto& items = store->kept[code];
        items.erase(std::remove_if(items.begin(), items.end(), [&key](const auto& item) { return item.key == key; }),
                    items.end());
        changedElsewhere();
    }
    void changedElsewhere()
    {
        store->tellOfChange(code);
        host.frame();
    }
    void removeFirst() { contentWidget()->removeItem(contents->items().begin()->first); }
    void answerLast(const QJsonObject& reply = kDone)
    {
        const auto waiting = host.mediaServer().waiting();
        const auto last = std::find_if(waiting.rbegin(), waiting.rend(), [this](std::size_t index) {
            return host.mediaServer().commands()[index].value("command") != "getuserpage";
        });
        REQUIRE(last != waiting.rend());
        answer(*last, reply);
    }
    /// "additem http://one" of each command since the last call, but for those about pages.
    Strings sent()
    {
        Strings result;
        const auto& all = host.mediaServer().commands();
        for (; m_seen < all.size(); ++m_seen)
            if (all[m_seen].value("command") != "getuserpage")
                result.push_back(
                    (all[m_seen].value("command").toString() + ' ' + all[m_seen].value("url").toString()).toStdString());
        return result;
    }

private:
    std::size_t m_seen = 0;
};
}

TEST_CASE("shared uploads: what another table collects while this one deletes the same is given to the server again")
{
    for (const bool isAnswered : {true, false}) {
        CAPTURE(isAnswered);
        SharedSpace table;
        table.addElsewhere("x-1", "one");
        table.removeFirst();
        CHECK(table.sent() == Strings{"deleteitem http://one"});
        if (isAnswered)
            table.answerLast();
        table.addElsewhere("y-1", "one");
        if (!isAnswered) {
            CHECK(table.sent().empty());
            table.answerLast();
        }
        CHECK(table.sent() == Strings{"additem http://one"});
        CHECK(table.items() == Strings{"one 3"});
        table.answerLast();
        // Once; and nothing for another thing.
        table.addElsewhere("y-2", "one");
        table.addElsewhere("y-3", "two");
        CHECK(table.sent().empty());
        table.removeElsewhere("y-1");
        CHECK(table.sent() == Strings{"additem http://one"});
        table.answerLast();
        table.removeElsewhere("y-2");
        CHECK(table.sent() == Strings{"deleteitem http://one"}); // it has given it
        table.answerLast();
        CHECK(table.store->changes() == Strings{"remove x-1"});
    }
}

TEST_CASE("shared uploads: a deletion that may have come about counts as one")
{
    SharedSpace table;
    table.addElsewhere("x-1", "one");
    table.removeFirst();
    TestSupport::expectWarningStartingWith("PersonalSpaceUploader # Failed to delete user item : ");
    table.answerLast({{"success", false}});
    table.addElsewhere("y-1", "one");
    CHECK(table.sent() == Strings{"deleteitem http://one", "additem http://one"});
    table.answerLast();
}

TEST_CASE("shared uploads: what this table has given to the server it deletes when others remove the last item of it")
{
    SharedSpace table;
    table.collect("one");
    table.answerLast();
    table.addElsewhere("x-1", "one");
    CHECK(table.sent() == Strings{"additem http://one"});
    table.removeElsewhere("1");
    (void)table.sent();
    table.answerLast();
    table.removeElsewhere("x-1");
    CHECK(table.sent() == Strings{"deleteitem http://one"});
    table.answerLast();
    // It has no part in what it has not given.
    table.addElsewhere("x-2", "two");
    table.removeElsewhere("x-2");
    CHECK(table.sent().empty());
}

TEST_CASE("shared uploads: what another table may have deleted before it was killed is given again while an item of it is left")
{
    SharedSpace table;
    table.addElsewhere("x-1", "one");
    table.addElsewhere("x-2", "one");
    table.removeElsewhere("x-1");
    CHECK(table.sent().empty()); // a thing that others have given
    table.addElsewhere("x-3", "two");
    table.collect("two");
    table.answerLast();
    CHECK(table.sent() == Strings{"additem http://two"});
    table.removeElsewhere("x-3");
    CHECK(table.sent() == Strings{"additem http://two"});
    TestSupport::expectWarningStartingWith("SharedUploads # Failed to upload user item : ");
    table.answerLast({{"success", false}});
    table.open();
    CHECK(table.sent() == Strings{"additem http://two"});
    table.answerLast();
    CHECK(table.items().size() == 2);
}

TEST_CASE("shared uploads: of two items of one thing that two tables remove at once, neither stays on the server")
{
    SharedSpace table;
    table.addElsewhere("x-1", "one");
    table.addElsewhere("x-2", "one");
    table.removeFirst();
    CHECK(table.sent().empty());
    REQUIRE(table.store->changes() == Strings{"remove x-2"}); // what came later stands before
    table.removeElsewhere("x-1");
    CHECK(table.sent() == Strings{"deleteitem http://one"});
    table.answerLast();
    table.addElsewhere("x-3", "one");
    CHECK(table.sent() == Strings{"additem http://one"});
    table.answerLast();
}

TEST_CASE("shared uploads: what is removed at another table while it is given again is deleted after it")
{
    SharedSpace table;
    table.collect("one");
    table.answerLast();
    table.removeFirst();
    table.answerLast();
    table.addElsewhere("y-1", "one");
    table.removeElsewhere("y-1");
    CHECK(table.sent() == Strings{"additem http://one", "deleteitem http://one", "additem http://one"});
    table.answerLast();
    CHECK(table.sent() == Strings{"deleteitem http://one"});
    TestSupport::expectWarningStartingWith("SharedUploads # Failed to delete user item : ");
    table.answerLast({{"success", false}});
    // It may be gone all the same.
    table.addElsewhere("y-2", "one");
    CHECK(table.sent() == Strings{"additem http://one"});
    table.answerLast();
}

TEST_CASE("shared uploads: what could not be given again is when a space opens")
{
    SharedSpace table;
    table.addElsewhere("x-1", "one");
    table.removeFirst();
    table.answerLast();
    table.addElsewhere("y-1", "one");
    TestSupport::expectWarningStartingWith("SharedUploads # Failed to upload user item : ");
    table.answerLast({{"success", false}});
    CHECK(table.items() == Strings{"one 3"});
    CHECK(table.sent() == Strings{"deleteitem http://one", "additem http://one"});
    table.open();
    CHECK(table.sent() == Strings{"additem http://one"});
    table.answerLast();
    table.open();
    CHECK(table.sent().empty());
}

TEST_CASE("shared uploads: a table whose store is its own sends nothing beside its own commands")
{
    SharedSpace table(false);
    table.addElsewhere("x-1", "one");
    table.addElsewhere("x-2", "one");
    table.removeFirst();
    table.removeFirst();
    CHECK(table.sent() == Strings{"deleteitem http://one"});
    table.answerLast();
    table.addElsewhere("x-3", "one");
    table.removeElsewhere("x-3");
    table.collect("two");
    table.answerLast();
    table.removeElsewhere("1");
    CHECK(table.sent() == Strings{"additem http://two"});
}
