#include "OpenSpace.hpp"

#include <doctest/doctest.h>

// The collection of a personal space in both modes, and the effects of a change of its card.

using PluginTest::childOfClass;
using PluginTest::childrenOfClass;
using PluginTest::classesOf;
using PluginTest::FakeContent;
using PluginTest::newCode;
using PluginTest::OpenSpace;
using PluginTest::Strings;
using Tavola::PersonalSpaceContents;
using Tavola::PersonalSpaceWidget;
using TestSupport::TestHost;
using Mode = OpenSpace::Mode;
using ItemStatus = PersonalSpaceContents::ItemStatus;

namespace
{
/// A space, and its requests to the media server.
struct Changing : OpenSpace
{
    using OpenSpace::OpenSpace;

    /// The requests to the media server since the last call: command, card, and the address of an item.
    Strings asked()
    {
        Strings lines;
        const auto& commands = host.mediaServer().commands();
        for (; m_seen < commands.size(); ++m_seen) {
            const QJsonObject& command = commands[m_seen];
            QString text =
                command.value("command").toString() + " " + QString::number(command.value("tessel").toDouble(), 'f', 0);
            if (command.contains("url"))
                text += " " + command.value("url").toString();
            lines.push_back(text.toStdString());
        }
        return lines;
    }

private:
    std::size_t m_seen = 0;
};

std::string command(const char* name, unsigned long code, const char* address = "")
{
    return std::string(name) + " " + std::to_string(code) + address;
}

void collect(unsigned long code, const char* address, ItemStatus status = ItemStatus::Ready)
{
    PersonalSpaceContents::Item item;
    item.files.sources = QList<QString>{address};
    item.status = status;
    PersonalSpaceContents::personalContent(code)->addItem(item);
}
}

TEST_CASE("mode: from the first code on there is exactly one class for it")
{
    OpenSpace space(false);
    CHECK(classesOf(*space.widget) == Strings{"initial-view"});
    space.widget->setCode(space.code);
    CHECK(classesOf(*space.widget) == Strings{"email-mode", "initial-view"});
    space.mode().setValue(Mode::Upload);
    CHECK(classesOf(*space.widget) == Strings{"initial-view", "upload-mode"});
    space.mode().setValue(Mode::Email);
    CHECK(classesOf(*space.widget) == Strings{"email-mode", "initial-view"});
}

TEST_CASE("mode: switching to upload asks for the page and uploads every item in order, switching back sends nothing")
{
    OpenSpace space;
    space.addItem(ItemStatus::Ready, "http://one");
    space.addItem(ItemStatus::Failed, "http://two");
    space.addItem(ItemStatus::Pending, "http://three");
    space.addItem(ItemStatus::Ready, "http://four");
    CHECK(space.commands().empty());
    space.mode().setValue(Mode::Upload);
    REQUIRE(space.commands() == Strings{"getuserpage", "additem", "additem", "additem"});
    const auto& commands = space.host.mediaServer().commands();
    CHECK(commands[0].value("tessel").toDouble() == double(space.code));
    CHECK(commands[1].value("url").toString() == "http://one");
    CHECK(commands[2].value("url").toString() == "http://two");
    CHECK(commands[3].value("url").toString() == "http://four");
    space.mode().setValue(Mode::Email);
    CHECK(space.commands().size() == 4);
    CHECK(space.contents->items().size() == 4);
}

TEST_CASE("mode: set by the style sheet before the code, it holds from the code on")
{
    TestHost host;
    host.style("PersonalSpaceWidget { collection-mode: Upload }");
    const auto widget = Bedrock::makeIntrusive<PersonalSpaceWidget>();
    CHECK(host.mediaServer().commands().empty());
    widget->setCode(newCode());
    CHECK(widget->hasCSSClass("upload-mode"));
    REQUIRE(host.mediaServer().commands().size() == 1);
    host.mediaServer().script = nullptr;
    host.mediaServer().answer(0, {{"success", true}});
}

TEST_CASE("mode: a change before the first code sets the class and requests the page, without items")
{
    OpenSpace space(false);
    space.mode().setValue(Mode::Upload);
    CHECK(classesOf(*space.widget) == Strings{"initial-view", "upload-mode"});
    REQUIRE(space.commands() == Strings{"getuserpage"});
    CHECK(space.host.mediaServer().commands()[0].value("tessel").toDouble() == 0);
}

TEST_CASE("items: files that become ready are uploaded in upload mode only")
{
    OpenSpace space;
    const long id = space.addItem(ItemStatus::Pending);
    space.contents->filesReady(id, space.contents->item(id).files);
    CHECK(space.commands().empty());
    space.mode().setValue(Mode::Upload);
    const long other = space.addItem(ItemStatus::Pending, "http://b");
    CHECK(space.commands() == Strings{"getuserpage", "additem"});
    space.contents->filesReady(other, space.contents->item(other).files);
    CHECK(space.commands() == Strings{"getuserpage", "additem", "additem"});
    CHECK(space.host.mediaServer().commands()[2].value("url").toString() == "http://b");
}

TEST_CASE("items: one that is dragged out is deleted on the server in upload mode only")
{
    OpenSpace space;
    const long first = space.addItem(ItemStatus::Uploaded, "http://one");
    const long second = space.addItem(ItemStatus::Uploaded, "http://two");
    space.contentWidget()->removeItem(first);
    CHECK(space.commands().empty());
    space.mode().setValue(Mode::Upload);
    space.contentWidget()->removeItem(second);
    CHECK(space.commands() == Strings{"getuserpage", "deleteitem"});
    CHECK(space.host.mediaServer().commands()[1].value("url").toString() == "http://two");
}

TEST_CASE("items: the class for content is set while there are items")
{
    OpenSpace space;
    CHECK_FALSE(space.widget->hasCSSClass("has-content"));
    const long id = space.addItem();
    CHECK(space.widget->hasCSSClass("has-content"));
    space.contents->removeItem(id);
    CHECK_FALSE(space.widget->hasCSSClass("has-content"));
}

TEST_CASE("items: a widget put on the space is collected and logged for analytics")
{
    OpenSpace space;
    space.widget->setProperties({"Ann", "ann@example.org", ""});
    const Bedrock::IntrusivePtr<FakeContent> content(new FakeContent(&space.host.mainWidget()));
    space.widget->addWidget(*content);
    REQUIRE(space.contents->items().size() == 1);
    CHECK(space.contents->items().begin()->second.widgetId == content->id());
    REQUIRE(space.host.analytics().size() == 1);
    const auto expected =
        Tavola::DataGathering::widgetAddedToPersonalSpaceEvent(content->id(), space.code, "Ann", "ann@example.org");
    CHECK(space.host.analytics()[0].type == expected.type);
    CHECK(space.host.analytics()[0].data == expected.data);
}

TEST_CASE("items: one that is dragged out is logged for analytics, one that is removed is not")
{
    OpenSpace space;
    space.addItem();
    const long id = space.addItem();
    space.contentWidget()->removeItem(id);
    CHECK(space.host.analytics().empty());
    auto tiles = childrenOfClass(*space.contentWidget(), "container");
    REQUIRE(tiles.size() == 2);
    tiles[0]->setSize({50.f, 50.f});
    tiles[0]->setLocation({5000.f, 0.f});
    tiles[0]->eventSend("interaction-end");
    REQUIRE(space.host.analytics().size() == 1);
    const auto expected = Tavola::DataGathering::widgetRemovedFromPersonalSpaceEvent(55, space.code);
    CHECK(space.host.analytics()[0].type == expected.type);
    CHECK(space.host.analytics()[0].data == expected.data);
}

TEST_CASE("items: before the first code a widget put on the space is not collected")
{
    OpenSpace space(false);
    const Bedrock::IntrusivePtr<FakeContent> content(new FakeContent(&space.host.mainWidget()));
    space.widget->addWidget(*content);
    CHECK(content->filesCalls == 0);
    CHECK(space.host.analytics().empty());
}

TEST_CASE("reopening: a space for a card shows the tiles that were there, with preview and status")
{
    OpenSpace space(false);
    const long first = space.addItem(ItemStatus::Uploaded);
    space.addItem(ItemStatus::Failed);
    space.contents->previewReady(first, "/none/preview.png");
    space.widget->setCode(space.code);
    CHECK(space.widget->hasCSSClass("has-content"));
    const auto tiles = childrenOfClass(*space.contentWidget(), "container");
    REQUIRE(tiles.size() == 2);
    CHECK(classesOf(*tiles[0]) == Strings{"container", "uploaded"});
    CHECK(classesOf(*tiles[1]) == Strings{"container", "failed"});
    CHECK(dynamic_cast<Trellis::ImageWidget&>(*tiles[0]->children()[1]).source() == "/none/preview.png");
    // Without a preview the style sheet's picture may show.
    CHECK_FALSE(tiles[1]->children()[1]->attribute("source")->hasValue(Facet::kUserLayer));
    CHECK(space.host.analytics().empty());
    CHECK(space.commands().empty());
}

TEST_CASE("another code: the space makes a new content widget and removes its listeners from the one before")
{
    OpenSpace space;
    space.addItem();
    CHECK(space.widget->hasCSSClass("has-content"));
    const auto other = newCode();
    space.widget->setCode(other);
    CHECK_FALSE(space.widget->hasCSSClass("has-content"));
    CHECK(space.widget->findAllByType("PersonalSpaceContentWidget").size() == 1);
    CHECK(space.contentWidget()->isEmpty());
    CHECK(space.contentWidget()->contents() == PersonalSpaceContents::personalContent(other));

    // Events of the first card's contents have no effect on the space from now on, not even in this frame.
    space.addItem();
    CHECK_FALSE(space.widget->hasCSSClass("has-content"));
    space.contents->setUserPage({"http://first", ""});
    CHECK(space.shown("user-page-link").isEmpty());
    space.mode().setValue(Mode::Upload);
    const long late = space.addItem(ItemStatus::Pending);
    space.contents->filesReady(late, space.contents->item(late).files);
    CHECK(space.commands() == Strings{"getuserpage"});
    CHECK(space.host.mediaServer().commands()[0].value("tessel").toDouble() == double(other));
    space.host.frame();
    for (const char* event : {"item-added", "item-removed", "files-ready", "user-page-changed"}) {
        CAPTURE(event);
        CHECK_FALSE(space.contents->eventHasListeners(event));
    }
}

TEST_CASE("another code: the same one again leaves one listener of each kind")
{
    OpenSpace space;
    space.widget->setCode(space.code);
    const Bedrock::IntrusivePtr<FakeContent> content(new FakeContent(&space.host.mainWidget()));
    space.widget->addWidget(*content);
    CHECK(space.host.analytics().size() == 1);
    CHECK(childrenOfClass(*space.contentWidget(), "container").size() == 1);
    space.mode().setValue(Mode::Upload);
    content->giveFiles("http://a");
    space.host.frame();
    CHECK(space.commands() == Strings{"getuserpage", "additem"});
}

TEST_CASE("drop: a finger drags content into the space and its tile appears")
{
    OpenSpace space(false);
    space.host.style("PersonalSpaceWidget { width: 400px; height: 300px; position: absolute }"
                     ".content { width: 100px; height: 100px; position: absolute; movable: true }");
    space.widget->setCode(space.code);
    space.widget->setLocation({1000.f, 500.f});
    const Bedrock::IntrusivePtr<FakeContent> content(new FakeContent(&space.host.mainWidget()));
    content->addCSSClass("content");
    content->setLocation({100.f, 100.f});
    space.host.frame();
    space.host.drag(1, {150.f, 150.f}, {1200.f, 650.f});
    CHECK(space.widget->hasPseudoClass("valid-hover"));
    CHECK(content->hasPseudoClass("valid-drop"));
    CHECK(childrenOfClass(*space.host.ui().overlayWidget(), "drop-indicator").size() == 1);
    space.host.input.fingerUp(1);
    space.host.frame();
    CHECK(space.contents->items().size() == 1);
    CHECK(childrenOfClass(*space.contentWidget(), "container").size() == 1);
    CHECK(childrenOfClass(*space.host.ui().overlayWidget(), "drop-indicator").empty());
    space.host.frames(60);
    CHECK_FALSE(space.widget->hasPseudoClass("valid-hover"));
    CHECK_FALSE(content->hasPseudoClass("valid-drop"));
}

TEST_CASE("first code: items that were collected before are uploaded in upload mode, after the request for the page")
{
    Changing space(false);
    space.host.style("PersonalSpaceWidget { collection-mode: upload }");
    (void)space.asked();
    for (const char* address : {"http://one", "http://two", "http://three"})
        collect(space.code, address);
    space.widget->setCode(space.code);
    CHECK(space.asked()
          == Strings{command("getuserpage", space.code), command("additem", space.code, " http://one"),
                     command("additem", space.code, " http://two"), command("additem", space.code, " http://three")});
    CHECK(space.hasClass("upload-mode"));
}

TEST_CASE("another code: in upload mode its page is requested and its items are uploaded")
{
    Changing space;
    space.mode().setValue(OpenSpace::Mode::Upload);
    (void)space.asked();
    const auto other = newCode();
    collect(other, "http://one");
    collect(other, "http://two", ItemStatus::Uploaded);
    collect(other, "http://three", ItemStatus::Failed);
    space.widget->setCode(other);
    CHECK(space.asked()
          == Strings{command("getuserpage", other), command("additem", other, " http://one"),
                     command("additem", other, " http://three")});
    CHECK(classesOf(*space.widget) == Strings{"has-content", "initial-view", "upload-mode"});
}

TEST_CASE("another code: the class of the mode is there again, even if it was removed from outside")
{
    Changing space;
    space.widget->removeCSSClass("email-mode");
    space.widget->addCSSClass("upload-mode");
    space.widget->setCode(newCode());
    CHECK(classesOf(*space.widget) == Strings{"email-mode", "initial-view"});
}

TEST_CASE("the same code again: the space makes another content widget, and the mode is applied to its items")
{
    Changing space;
    space.mode().setValue(OpenSpace::Mode::Upload);
    const Bedrock::IntrusivePtr<Trellis::Widget> before(space.contentWidget());
    collect(space.code, "http://one");
    (void)space.asked();
    space.widget->setCode(space.code);
    CHECK(space.contentWidget() != before.get());
    CHECK_FALSE(before->parent());
    CHECK(space.contentWidget()->contents() == space.contents);
    CHECK(space.asked() == Strings{command("getuserpage", space.code), command("additem", space.code, " http://one")});
}
