#include "personalspace/KeptContents.hpp"

#include "KeptSpace.hpp"
#include "LogCapture.hpp"

#include <doctest/doctest.h>

using Kept = PluginTest::KeptSpace;
using PluginTest::kReady;
using PluginTest::kUploaded;
using PluginTest::kUploadFailed;
using PluginTest::kUploading;
using PluginTest::OpenSpace;
using PluginTest::Strings;
using Tavola::PersonalSpaceContents;
using Mode = OpenSpace::Mode;
using ItemStatus = PersonalSpaceContents::ItemStatus;

TEST_CASE("kept contents: what is dropped is stored when its files are known, and with its preview and status")
{
    Kept table;
    table.open();
    const long id = table.contents->addItem({});
    table.contents->previewReady(id, "/tmp/early.png");
    CHECK(table.store->changes().empty());
    Tavola::FileRepresentation::FileData files;
    files.displayName = "moon";
    table.contents->filesReady(id, files);
    CHECK(table.store->changes() == Strings{"add 1 1 moon"});
    CHECK(table.store->kept[table.code].front().preview == "/tmp/early.png");
    // After a restart nothing waits for the server's answer.
    table.contents->setItemStatus(ItemStatus::Uploading, id);
    CHECK(table.store->changes().empty());
    table.contents->setItemStatus(ItemStatus::Uploaded, id);
    CHECK(table.store->changes() == Strings{"update 1 3 moon"});
    table.contents->setItemStatus(ItemStatus::Failed, id);
    CHECK(table.store->changes() == Strings{"update 1 4 moon"});
}

TEST_CASE("kept contents: an open space shows what the card had collected, before what was dropped meanwhile, without widgets")
{
    Kept table;
    table.store->keepEarlier(table.code, "x-1", "one", kReady);
    table.store->keepEarlier(table.code, "x-2", "two", kUploading);
    table.store->keepEarlier(table.code, "x-3", "three", kUploaded);
    table.store->keepEarlier(table.code, "x-4", "four", kUploadFailed);
    table.store->holdsAnswers = true;
    table.open();
    CHECK(table.store->reads == std::vector<unsigned long>{table.code});
    table.collect("five");
    table.store->answer(0, table.store->kept[table.code]);
    CHECK(table.items() == Strings{"five 1"});
    table.host.frame();
    // In e-mail mode nothing is uploaded, and a failed one shows that it is.
    CHECK(table.items() == Strings{"one 1", "two 1", "three 3", "four 4", "five 1"});
    CHECK(table.hasClass("has-content"));
    CHECK(table.commands().empty());
    for (const auto& entry : table.contents->items())
        CHECK(entry.second.widgetId == (entry.second.files.displayName == "five" ? 55 : 0));
    const auto tiles = table.tiles();
    REQUIRE(tiles.size() == 5);
    CHECK(tiles[3]->hasCSSClass("uploaded"));
    CHECK(tiles[4]->hasCSSClass("failed"));
    CHECK_FALSE(tiles[1]->hasCSSClass("failed"));
    // What was read is not written again, but for what is Ready now.
    CHECK(table.store->changes() == Strings{"add 1 1 five", "update x-2 1 two"});
}

TEST_CASE("kept contents: in upload mode what is not on the server is uploaded when it comes back, what has failed as well")
{
    Kept table;
    table.store->keepEarlier(table.code, "x-1", "one", kReady);
    table.store->keepEarlier(table.code, "x-2", "two", kUploaded);
    table.store->keepEarlier(table.code, "x-3", "three", kUploadFailed);
    TestSupport::expectWarningStartingWith("PersonalSpaceUploader # Failed to fetch user's URL : ");
    TestSupport::expectWarningStartingWith("PersonalSpaceUploader # Failed to upload user item : ");
    table.host.mediaServer().script = [](const QJsonObject& command) {
        return QJsonObject{{"success", command.value("url").toString() == "http://one"}};
    };
    table.store->holdsAnswers = true;
    table.open();
    table.mode().setValue(Mode::Upload);
    table.store->answer(0, table.store->kept[table.code]);
    table.host.frames(3);
    CHECK(table.commands() == Strings{"getuserpage", "additem", "additem"});
    CHECK(table.items() == Strings{"one 3", "two 3", "three 4"});
    CHECK(table.store->changes() == Strings{"update x-3 1 three", "update x-1 3 one", "update x-3 4 three"});
}

TEST_CASE("kept contents: a preview comes back with its item")
{
    Kept table;
    table.store->keepEarlier(table.code, "x-1", "one", kReady);
    table.store->kept[table.code].front().preview = "/museum/one.png";
    table.store->holdsAnswers = true;
    table.open();
    Strings previews;
    table.contents->eventAddListenerBd(
        "preview-ready",
        [&](Bedrock::BinaryData& data) {
            CHECK(data.readInt64() == table.contents->items().begin()->first);
            previews.push_back(data.readString().toStdString());
        },
        Facet::Node::kImmediate);
    // No space is there to load the picture.
    table.close();
    table.store->answer(0, table.store->kept[table.code]);
    table.host.frame();
    CHECK(previews == Strings{"/museum/one.png"});
    CHECK(table.contents->items().begin()->second.preview == "/museum/one.png");
    CHECK(table.store->changes().empty());
}

TEST_CASE("kept contents: a space that opens again shows everything once")
{
    Kept table;
    table.store->keepEarlier(table.code, "x-1", "one", kReady);
    table.open();
    table.collect("two");
    CHECK(table.items() == Strings{"one 1", "two 1"});
    table.open();
    table.host.frames(2);
    CHECK(table.items() == Strings{"one 1", "two 1"});
    CHECK(table.tiles().size() == 2);
}

TEST_CASE("kept contents: what is removed or sent is removed from the store, and does not come back")
{
    Kept table;
    table.store->keepEarlier(table.code, "x-1", "one", kReady);
    table.store->keepEarlier(table.code, "x-2", "two", kReady);
    table.open();
    const long first = table.contents->items().begin()->first;
    table.contentWidget()->removeItem(first);
    CHECK(table.store->changes() == Strings{"remove x-1"});
    // As after an e-mail, also when the space is closed by then.
    PersonalSpaceContents::removeItems(table.code);
    CHECK(table.store->changes() == Strings{"remove x-2"});
    table.open();
    CHECK(table.items().empty());
}

TEST_CASE("kept contents: another user page takes nothing from the store, which fills the space again")
{
    Kept table;
    table.store->keepEarlier(table.code, "x-1", "one", kUploaded);
    table.open();
    table.collect("two");
    (void)table.store->changes();
    table.contents->setUserPage({"http://pages/a", QString()});
    table.contents->setUserPage({"http://pages/b", QString()});
    CHECK(table.items().empty());
    table.host.frame();
    CHECK(table.items() == Strings{"one 3", "two 1"});
    CHECK(table.store->changes().empty());
    CHECK(table.contents->userPage().url == "http://pages/b");
    // The same page again, or a removal after the switch, is nothing of that kind.
    table.contents->setUserPage({"http://pages/b", "qr.png"});
    CHECK(table.store->reads.size() == 2);
    table.contentWidget()->removeItems();
    CHECK(table.store->changes() == Strings{"remove x-1", "remove 1"});
}

TEST_CASE("kept contents: an item that comes back for another page has an id of its own")
{
    Kept table;
    table.store->keepEarlier(table.code, "x-1", "one", kReady);
    table.open();
    const long before = table.contents->items().begin()->first;
    table.contents->setUserPage({"http://pages/a", QString()});
    table.contents->setUserPage({"http://pages/b", QString()});
    table.host.frame();
    const long after = table.contents->items().begin()->first;
    CHECK(before < 0);
    CHECK(after < before);
}

TEST_CASE("kept contents: what a card has collected before there was a store is stored, in order")
{
    Kept table;
    table.collect("one");
    table.collect("two");
    table.contents->addItem({});
    table.open();
    CHECK(table.store->changes() == Strings{"add 1 1 one", "add 2 1 two"});
}

TEST_CASE("kept contents: without an open space nothing is read, and without a store nothing is kept")
{
    Kept table;
    table.collect("one");
    table.host.frame();
    CHECK(table.store->reads.empty());
    CHECK(table.store->changes().empty());
    table.host.tavola().services()->removeService(table.store);
    table.open();
    table.collect("two");
    CHECK(table.store->reads.empty());
    CHECK(table.store->changes().empty());
    CHECK(table.items() == Strings{"one 1", "two 1"});
}

TEST_CASE("kept contents: what another table collects appears, and is uploaded there and not here")
{
    Kept table;
    table.open();
    table.mode().setValue(Mode::Upload);
    table.store->keepEarlier(table.code, "y-1", "one", kReady);
    table.store->keepEarlier(table.code, "y-2", "two", kUploadFailed);
    table.store->keepEarlier(table.code, "y-3", "three", kUploaded);
    table.store->tellOfChange(table.code);
    table.host.frames(2);
    CHECK(table.items() == Strings{"one 1", "two 4", "three 3"});
    CHECK(table.commands() == Strings{"getuserpage"});
    const auto tiles = table.tiles();
    REQUIRE(tiles.size() == 3);
    CHECK(tiles[1]->hasCSSClass("failed"));
    CHECK(tiles[2]->hasCSSClass("uploaded"));
    table.store->kept[table.code].front().status = kUploaded;
    table.store->tellOfChange(table.code);
    table.host.frame();
    CHECK(table.items() == Strings{"one 3", "two 4", "three 3"});
    CHECK(tiles[0]->hasCSSClass("uploaded"));
    CHECK(table.store->changes().empty());
}

TEST_CASE("kept contents: a picture that another table has stored later is shown here, too")
{
    Kept table;
    table.open();
    table.store->keepEarlier(table.code, "x-1", "one", 1);
    table.store->tellOfChange(table.code);
    table.host.frame();
    REQUIRE(table.contents->items().size() == 1);
    CHECK(table.contents->items().begin()->second.preview.isEmpty());
    table.store->kept[table.code].front().preview = "/museum/one.png";
    table.store->tellOfChange(table.code);
    table.host.frame();
    CHECK(table.contents->items().begin()->second.preview == "/museum/one.png");
    CHECK(table.store->changes().empty());
}

TEST_CASE("kept contents: what another table removes goes, and is neither removed again nor deleted on the server")
{
    Kept table;
    table.store->keepEarlier(table.code, "x-1", "one", kUploaded);
    table.store->keepEarlier(table.code, "x-2", "two", kUploaded);
    table.open();
    table.mode().setValue(Mode::Upload);
    table.store->kept[table.code].pop_back();
    table.store->tellOfChange(table.code);
    table.host.frame();
    CHECK(table.items() == Strings{"one 3"});
    CHECK(table.store->changes().empty());
    CHECK(table.commands() == Strings{"getuserpage"});
}

TEST_CASE("kept contents: what is removed at another table while it is uploaded here is deleted on the server after it")
{
    Kept table;
    table.open();
    table.mode().setValue(Mode::Upload);
    table.host.mediaServer().holdAnswers(true);
    const long id = table.collect("one");
    CHECK(table.contents->item(id).status == ItemStatus::Uploading);
    (void)table.store->changes();
    table.store->kept[table.code].clear();
    table.store->tellOfChange(table.code);
    table.host.frame();
    CHECK(table.items().size() == 1);
    table.answer(table.host.mediaServer().waiting().back(), {{"success", true}});
    table.host.frame();
    CHECK(table.items().empty());
    CHECK(table.commands() == Strings{"getuserpage", "additem", "deleteitem"});
    CHECK(table.store->changes().empty());
}

TEST_CASE("kept contents: what was uploaded here is not undone by another table that could not")
{
    Kept table;
    table.open();
    const long id = table.collect("one");
    table.contents->setItemStatus(ItemStatus::Uploaded, id);
    (void)table.store->changes();
    table.store->kept[table.code].front().status = kUploadFailed;
    table.store->tellOfChange(table.code);
    table.host.frame();
    CHECK(table.items() == Strings{"one 3"});
    CHECK(table.store->changes() == Strings{"update 1 3 one"});
}

TEST_CASE("kept contents: what is removed here is deleted on the server, which another table may just have given it")
{
    for (const bool isShared : {true, false}) {
        Kept table;
        table.store->shared = isShared;
        table.open();
        table.mode().setValue(Mode::Upload);
        table.store->keepEarlier(table.code, "y-1", "one", kReady);
        table.store->tellOfChange(table.code);
        table.host.frame();
        table.contentWidget()->removeItem(table.contents->items().begin()->first);
        CHECK(table.commands() == (isShared ? Strings{"getuserpage", "deleteitem"} : Strings{"getuserpage"}));
        CHECK(table.store->changes() == Strings{"remove y-1"});
    }
}
