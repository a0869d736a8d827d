#include "personalspace/PersonalSpaceContents.hpp"

#include "PluginSupport.hpp"

#include <Bedrock/BinaryData.hpp>

#include <doctest/doctest.h>

using PluginTest::EventLog;
using PluginTest::line;
using PluginTest::newCode;
using PluginTest::Strings;
using Tavola::PersonalSpaceContents;
using ItemStatus = PersonalSpaceContents::ItemStatus;

namespace
{
void listenToAll(EventLog& log, PersonalSpaceContents& contents)
{
    log.listen(contents, "item-added", EventLog::Payload::Id);
    log.listen(contents, "item-removed", EventLog::Payload::Id);
    log.listen(contents, "preview-ready", EventLog::Payload::IdAndText);
    log.listen(contents, "files-ready", EventLog::Payload::Id);
    log.listen(contents, "user-page-changed", EventLog::Payload::None);
    log.listen(contents, "item-status-changed", EventLog::Payload::IdAndInt32);
}

PersonalSpaceContents::Item someItem(long widgetId = 7)
{
    PersonalSpaceContents::Item item;
    item.files.file = QLatin1String("/a/file.png");
    item.files.sources = {QLatin1String("one"), QLatin1String("two")};
    item.files.files = {QLatin1String("/a/other.png")};
    item.files.displayName = QLatin1String("A name");
    item.files.url = QLatin1String("http://a");
    item.preview = QLatin1String("/a/preview.png");
    item.widgetId = widgetId;
    item.status = ItemStatus::Uploaded;
    return item;
}

/// Contents with one item, and the events since it was added.
struct OneItem
{
    PersonalSpaceContents contents;
    const long id = contents.addItem({});
    EventLog log;
    OneItem() { listenToAll(log, contents); }
};
}

TEST_CASE("personal contents: the events are declared in their order")
{
    const PersonalSpaceContents contents;
    CHECK(PluginTest::eventsOf(contents)
          == Strings{"item-added", "item-removed", "preview-ready", "files-ready", "user-page-changed", "item-status-changed"});
}

TEST_CASE("personal contents: a card has the same contents each time, another card has others")
{
    const auto code = newCode();
    const auto contents = PersonalSpaceContents::personalContent(code);
    CHECK(contents == PersonalSpaceContents::personalContent(code));
    CHECK(contents != PersonalSpaceContents::personalContent(newCode()));
    CHECK(contents->items().empty());
    CHECK(contents->userPage().url.isEmpty());
    CHECK(contents->userPage().qrIcon.isEmpty());
}

TEST_CASE("personal contents: codes of 64 bits are told apart")
{
    const auto code = newCode();
    CHECK(PersonalSpaceContents::personalContent(code) != PersonalSpaceContents::personalContent(code + (1ul << 32)));
}

TEST_CASE("personal contents: they live on without any holder")
{
    const auto code = newCode();
    std::weak_ptr<PersonalSpaceContents> weak = PersonalSpaceContents::personalContent(code);
    const long id = weak.lock()->addItem({});
    CHECK(PersonalSpaceContents::personalContent(code)->items().count(id) == 1);
}

TEST_CASE("personal contents: an item is stored whole and announced")
{
    PersonalSpaceContents contents;
    EventLog log;
    listenToAll(log, contents);
    const long id = contents.addItem(someItem());
    const auto item = contents.item(id);
    CHECK(item.files.file == "/a/file.png");
    CHECK(item.files.sources == QList<QString>{"one", "two"});
    CHECK(item.files.files == QList<QString>{"/a/other.png"});
    CHECK(item.files.displayName == "A name");
    CHECK(item.files.url == "http://a");
    CHECK(item.preview == "/a/preview.png");
    CHECK(item.widgetId == 7);
    CHECK(item.status == ItemStatus::Uploaded);
    CHECK(log.lines == Strings{line("item-added", id)});
}

TEST_CASE("personal contents: the item is stored when its event is sent")
{
    PersonalSpaceContents contents;
    bool wasThere = false;
    contents.eventAddListenerBd("item-added",
                                [&](Bedrock::BinaryData& data) { wasThere = contents.items().count(data.readInt64()) == 1; });
    contents.addItem({});
    CHECK(wasThere);
}

TEST_CASE("personal contents: ids come from the counter of all nodes and ascend")
{
    PersonalSpaceContents contents;
    const long before = Facet::Node::generateId();
    const long first = contents.addItem({});
    const Facet::Node between;
    const long second = contents.addItem({});
    CHECK(first > before);
    CHECK(between.id() > first);
    CHECK(second > between.id());
}

TEST_CASE("personal contents: an unknown item is an empty one with status 0, not an error")
{
    const PersonalSpaceContents contents;
    const auto item = contents.item(123456789);
    CHECK(item.widgetId == 0);
    CHECK(static_cast<int>(item.status) == 0);
    CHECK(item.preview.isEmpty());
    CHECK(item.files.file.isEmpty());
    CHECK(item.files.sources.isEmpty());
    CHECK(contents.items().empty());
}

TEST_CASE("personal contents: calls for an unknown item change and send nothing")
{
    PersonalSpaceContents contents;
    EventLog log;
    listenToAll(log, contents);
    contents.removeItem(1);
    contents.filesReady(1, {});
    contents.previewReady(1, QLatin1String("/x"));
    contents.setItemStatus(ItemStatus::Failed, 1);
    CHECK(log.lines.empty());
    CHECK(contents.items().empty());
}

TEST_CASE_FIXTURE(OneItem, "personal contents: removing an item takes it out before its event is sent")
{
    bool wasGone = false;
    contents.eventAddListener("item-removed", [&] { wasGone = contents.items().empty(); });
    contents.removeItem(id);
    CHECK(wasGone);
    CHECK(log.lines == Strings{line("item-removed", id)});
    contents.removeItem(id);
    CHECK(log.lines.size() == 1);
}

TEST_CASE("personal contents: all items go in ascending order, and listeners see them go one by one")
{
    PersonalSpaceContents contents;
    const long first = contents.addItem({});
    const long second = contents.addItem({});
    const long third = contents.addItem({});
    EventLog log;
    listenToAll(log, contents);
    std::vector<std::size_t> sizes;
    contents.eventAddListener("item-removed", [&] { sizes.push_back(contents.items().size()); });
    contents.removeItems();
    CHECK(log.lines == Strings{line("item-removed", first), line("item-removed", second), line("item-removed", third)});
    CHECK(sizes == std::vector<std::size_t>{2, 1, 0});
}

TEST_CASE("personal contents: a listener that removes an item itself while all go")
{
    PersonalSpaceContents contents;
    const long first = contents.addItem({});
    const long second = contents.addItem({});
    EventLog log;
    listenToAll(log, contents);
    contents.eventAddListener("item-removed", [&] { contents.removeItem(second); });
    contents.removeItems();
    CHECK(contents.items().empty());
    CHECK(log.lines == Strings{line("item-removed", first), line("item-removed", second)});
}

TEST_CASE("personal contents: removing the items of a card by its code")
{
    const auto code = newCode();
    const auto contents = PersonalSpaceContents::personalContent(code);
    contents->addItem({});
    contents->addItem({});
    PersonalSpaceContents::removeItems(code);
    CHECK(contents->items().empty());
}

TEST_CASE("personal contents: removing the items of a card that was never seen makes nothing")
{
    // A contents object uses an id of the counter that all nodes share, so creating one would leave a gap.
    const auto code = newCode();
    const long before = Facet::Node::generateId();
    PersonalSpaceContents::removeItems(code);
    CHECK(Facet::Node::generateId() == before + 1);
}

TEST_CASE_FIXTURE(OneItem, "personal contents: files make an item Ready without a word about its status")
{
    Tavola::FileRepresentation::FileData files;
    files.file = QLatin1String("/new");
    ItemStatus statusAtEvent = ItemStatus::Pending;
    contents.eventAddListener("files-ready", [&] { statusAtEvent = contents.item(id).status; });
    contents.filesReady(id, files);
    CHECK(contents.item(id).files.file == "/new");
    CHECK(statusAtEvent == ItemStatus::Ready);
    CHECK(log.lines == Strings{line("files-ready", id)});
}

TEST_CASE("personal contents: files in place of others make an item Ready again, whatever its status was")
{
    Tavola::FileRepresentation::FileData files;
    files.sources = {QLatin1String("three")};
    for (const auto before :
         {ItemStatus::Pending, ItemStatus::Ready, ItemStatus::Uploading, ItemStatus::Uploaded, ItemStatus::Failed}) {
        CAPTURE(int(before));
        PersonalSpaceContents contents;
        auto item = someItem();
        item.status = before;
        const long id = contents.addItem(item);
        EventLog log;
        listenToAll(log, contents);
        contents.filesReady(id, files);
        CHECK(contents.item(id).status == ItemStatus::Ready);
        CHECK(contents.item(id).files.sources == files.sources);
        CHECK(contents.item(id).files.file.isEmpty());
        CHECK(contents.item(id).files.displayName.isEmpty());
        CHECK(contents.item(id).preview == "/a/preview.png");
        CHECK(log.lines == Strings{line("files-ready", id)});
    }
}

TEST_CASE("personal contents: a preview replaces the one before")
{
    PersonalSpaceContents contents;
    const long id = contents.addItem(someItem());
    EventLog log;
    listenToAll(log, contents);
    contents.previewReady(id, QLatin1String("/b/preview.png"));
    CHECK(contents.item(id).preview == "/b/preview.png");
    CHECK(contents.item(id).status == ItemStatus::Uploaded);
    contents.previewReady(id, QString());
    CHECK(contents.item(id).preview.isEmpty());
    CHECK(log.lines == Strings{line("preview-ready", id, " /b/preview.png"), line("preview-ready", id, " ")});
}

TEST_CASE_FIXTURE(OneItem, "personal contents: a preview is stored, and its event carries the path")
{
    contents.previewReady(id, QString::fromUtf8("/für/preview.png"));
    CHECK(contents.item(id).preview == QString::fromUtf8("/für/preview.png"));
    CHECK(contents.item(id).status == ItemStatus::Pending);
    CHECK(log.lines == Strings{line("preview-ready", id, " /für/preview.png")});
}

TEST_CASE_FIXTURE(OneItem,
                  "personal contents: the event of a status carries its number, and is sent even if the status stays the same")
{
    for (const auto status :
         {ItemStatus::Pending, ItemStatus::Ready, ItemStatus::Uploading, ItemStatus::Uploaded, ItemStatus::Failed})
        contents.setItemStatus(status, id);
    contents.setItemStatus(ItemStatus::Failed, id);
    const auto told = [this](const char* number) { return line("item-status-changed", id, number); };
    CHECK(log.lines == Strings{told(" 0"), told(" 1"), told(" 2"), told(" 3"), told(" 4"), told(" 4")});
    CHECK(contents.item(id).status == ItemStatus::Failed);
}

TEST_CASE_FIXTURE(OneItem, "personal contents: only one known page in place of another clears the space")
{
    const QString a = QLatin1String("http://a");
    const QString b = QLatin1String("http://b");

    contents.setUserPage({a, QString()});
    contents.setUserPage({a, QLatin1String("/qr.png")});
    CHECK(contents.items().size() == 1);
    CHECK(contents.userPage().qrIcon == "/qr.png");
    contents.setUserPage({QString(), QString()});
    CHECK(contents.items().size() == 1);
    CHECK(contents.userPage().url.isEmpty());
    contents.setUserPage({b, QString()});
    CHECK(contents.items().size() == 1);
    CHECK(log.lines == Strings(4, "user-page-changed"));

    log.lines.clear();
    QString pageAtRemoval;
    contents.eventAddListener("item-removed", [&] { pageAtRemoval = contents.userPage().url; });
    contents.setUserPage({a, QString()});
    CHECK(contents.items().empty());
    CHECK(pageAtRemoval == b);
    CHECK(contents.userPage().url == a);
    CHECK(log.lines == Strings{line("item-removed", id), "user-page-changed"});
}

TEST_CASE("personal contents: another QR picture of the same page keeps the items")
{
    PersonalSpaceContents contents;
    contents.setUserPage({QLatin1String("http://a"), QLatin1String("/one.png")});
    contents.addItem({});
    EventLog log;
    listenToAll(log, contents);
    contents.setUserPage({QLatin1String("http://a"), QLatin1String("/two.png")});
    CHECK(contents.items().size() == 1);
    CHECK(contents.userPage().qrIcon == "/two.png");
    contents.setUserPage({QLatin1String("http://a"), QString()});
    CHECK(contents.items().size() == 1);
    CHECK(contents.userPage().qrIcon.isEmpty());
    CHECK(log.lines == Strings(2, "user-page-changed"));
}

TEST_CASE("personal contents: addresses are compared as they are written")
{
    PersonalSpaceContents contents;
    contents.setUserPage({QLatin1String("http://a"), QString()});
    contents.addItem({});
    contents.setUserPage({QLatin1String("http://A"), QString()});
    CHECK(contents.items().empty());
}

TEST_CASE("personal contents: item and user page are returned as copies")
{
    PersonalSpaceContents contents;
    const long id = contents.addItem(someItem());
    {
        auto item = contents.item(id);
        item.files.sources.clear();
        item.preview.clear();
        auto page = contents.userPage();
        page.url = QLatin1String("http://else");
    }
    CHECK(contents.item(id).files.sources.size() == 2);
    CHECK(contents.item(id).preview == "/a/preview.png");
    CHECK(contents.userPage().url.isEmpty());
}
