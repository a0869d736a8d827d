#include "personalspace/PersonalSpaceWidget.hpp"

#include "LogCapture.hpp"
#include "OpenSpace.hpp"

#include <doctest/doctest.h>

using PluginTest::childOfClass;
using PluginTest::childrenOfClass;
using PluginTest::classesOf;
using PluginTest::FakeContent;
using PluginTest::newCode;
using PluginTest::OpenSpace;
using PluginTest::pseudoClassesOf;
using PluginTest::Strings;
using Tavola::PersonalSpaceContents;
using Tavola::PersonalSpaceContentWidget;
using Tavola::PersonalSpaceWidget;
using TestSupport::TestHost;
using Mode = PersonalSpaceWidget::CollectionMode;
using ItemStatus = PersonalSpaceContents::ItemStatus;

TEST_CASE("personal space: with all defaults and no code it greets nobody and knows nothing")
{
    OpenSpace space(false);
    CHECK(space.widget->cssType() == "PersonalSpaceWidget");
    CHECK(classesOf(*space.widget) == Strings{"initial-view"});
    CHECK(pseudoClassesOf(*space.widget) == Strings{"no-email", "no-user-page", "unregistered-user"});
    CHECK(space.shown("title").isEmpty());
    CHECK_FALSE(space.contentWidget());
    CHECK(space.host.mediaServer().commands().empty());
    space.host.style("PersonalSpaceWidget > .title { text: \"Welcome\" }");
    CHECK(space.shown("title") == "Welcome");
}

TEST_CASE("personal space: its attributes have the defaults that style sheets count on")
{
    OpenSpace space(false);
    CHECK(space.text("title").value() == "Hi, %1");
    for (const char* name : {"user-name", "user-email", "space-title", "space-info", "user-page-url"}) {
        CAPTURE(name);
        CHECK(space.text(name).value().isEmpty());
    }
    CHECK(dynamic_cast<Facet::AttributeT<float>&>(*space.widget->attribute("tooltip-timeout")).value() == 5.f);
    CHECK(space.mode().value() == Mode::Email);
    CHECK(space.mode().toText() == "email");
    space.mode().setValue(Mode::Upload);
    CHECK(space.mode().toText() == "upload");
}

TEST_CASE("personal space: its children stand in their order, each with its class")
{
    OpenSpace space(false);
    std::vector<std::string> names;
    for (const auto& child : space.widget->children())
        names.push_back(child->cssClasses().isEmpty() ? child->cssType().toStdString() : child->cssClasses()[0].toStdString());
    CHECK(names
          == Strings{"title", "info", "custom-info", "envelope", "help-button", "cancel-button", "save-button",
                     "InputFieldWidget", "qr-icon", "user-page-link"});
    CHECK(PluginTest::eventsOf(*space.widget).back() == "stylable-widget-added");
}

TEST_CASE("personal space: the stylable texts come in their order")
{
    OpenSpace space(false);
    auto& field = space.field();
    const auto child = [&](const char* cssClass) { return &childOfClass(*space.widget, cssClass); };
    const std::vector<Trellis::Widget*> expected{child("title"),
                                                 child("info"),
                                                 field.editor().get(),
                                                 field.tooltip()->textWidget().get(),
                                                 field.placeholder().get(),
                                                 child("custom-info"),
                                                 child("user-page-link"),
                                                 child("cancel-button"),
                                                 child("save-button")};
    std::vector<Trellis::Widget*> stylable;
    for (const auto& widget : space.widget->stylableWidgets())
        stylable.push_back(widget.get());
    CHECK(stylable == expected);
    space.widget->setCode(space.code);
    CHECK(space.widget->stylableWidgets().size() == 9);
    const Trellis::Widget& asWidget = *space.widget;
    CHECK(dynamic_cast<const Tavola::StylableTextHost*>(&asWidget));
}

TEST_CASE("title: the owner is greeted by name")
{
    OpenSpace space(false);
    space.widget->setProperties({"Ann", "", ""});
    CHECK(space.shown("title") == "Hi, Ann");
    CHECK_FALSE(space.widget->hasPseudoClass("unregistered-user"));
    space.text("title").setValue("Hello %1, %1!");
    CHECK(space.shown("title") == "Hello Ann, Ann!");
}

TEST_CASE("title: a space title is shown as it stands, whatever the name")
{
    OpenSpace space(false);
    space.text("space-title").setValue("Museum %1");
    CHECK(space.shown("title") == "Museum %1");
    space.widget->setProperties({"Ann", "", ""});
    CHECK(space.shown("title") == "Museum %1");
    space.text("space-title").clearValue(Facet::kUserLayer);
    CHECK(space.shown("title") == "Hi, Ann");
}

TEST_CASE("title: without a name the style sheet's text shows again")
{
    OpenSpace space(false);
    space.host.style(".title { text: \"Who are you?\" }");
    CHECK(space.shown("title") == "Who are you?");
    space.widget->setProperties({"Ann", "", ""});
    CHECK(space.shown("title") == "Hi, Ann");
    space.widget->setProperties({"", "", ""});
    CHECK(space.shown("title") == "Who are you?");
    CHECK(space.widget->hasPseudoClass("unregistered-user"));
}

TEST_CASE("title: a name from the style sheet counts, and a format from it is applied")
{
    OpenSpace space(false);
    space.host.style("PersonalSpaceWidget { title: \"Moin, %1\"; user-name: \"Uwe\" }");
    CHECK(space.shown("title") == "Moin, Uwe");
    CHECK_FALSE(space.widget->hasPseudoClass("unregistered-user"));
    space.host.style("PersonalSpaceWidget { space-title: \"Ours\" }");
    CHECK(space.shown("title") == "Ours");
}

TEST_CASE("properties: they are set above the style sheet")
{
    OpenSpace space(false);
    space.host.style("PersonalSpaceWidget { user-name: \"Style\"; user-email: \"style@example.org\" }");
    space.widget->setProperties({"Ann", "ann@example.org", "key"});
    CHECK(space.text("user-name").value(Facet::kUserLayer) == "Ann");
    CHECK(space.text("user-email").value(Facet::kUserLayer) == "ann@example.org");
    CHECK_FALSE(space.widget->hasPseudoClass("no-email"));
    space.text("user-name").clearValue(Facet::kUserLayer);
    CHECK(space.shown("title") == "Hi, Style");
}

TEST_CASE("info: the link is the owner's address in e-mail mode, breaks are lines")
{
    OpenSpace space(false);
    space.widget->setProperties({"Ann", "ann@example.org", ""});
    CHECK_FALSE(space.widget->hasPseudoClass("has-custom-info"));
    space.text("space-info").setValue("Mail: <link><br>Bye");
    CHECK(space.shown("custom-info") == "Mail: ann@example.org\nBye");
    CHECK(space.widget->hasPseudoClass("has-custom-info"));
    space.widget->setProperties({"Ann", "", ""});
    CHECK(space.shown("custom-info") == "Mail: \nBye");
    CHECK(space.widget->hasPseudoClass("no-email"));
}

TEST_CASE("info: every mark is replaced, exactly as it is spelled")
{
    OpenSpace space(false);
    space.widget->setProperties({"", "a@b", ""});
    space.text("space-info").setValue("<link> <link><br><br><LINK><BR>");
    CHECK(space.shown("custom-info") == "a@b a@b\n\n<LINK><BR>");
}

TEST_CASE("info: the mark for custom info is judged by the attribute, not by what comes of it")
{
    OpenSpace space(false);
    space.text("space-info").setValue("<link>");
    CHECK(space.shown("custom-info").isEmpty());
    CHECK(space.widget->hasPseudoClass("has-custom-info"));
    space.text("space-info").setValue("");
    CHECK_FALSE(space.widget->hasPseudoClass("has-custom-info"));
}

TEST_CASE("info: in upload mode the link is the page, which a change of the address alone does not bring in")
{
    OpenSpace space;
    space.mode().setValue(Mode::Upload);
    space.text("space-info").setValue("At <link>");
    CHECK(space.shown("custom-info") == "At ");
    space.text("user-page-url").setValue("http://pages/1");
    CHECK_FALSE(space.widget->hasPseudoClass("no-user-page"));
    CHECK(space.shown("custom-info") == "At ");
    space.contents->setUserPage({"http://pages/2", ""});
    CHECK(space.shown("custom-info") == "At http://pages/2");
    space.mode().setValue(Mode::Email);
    CHECK(space.shown("custom-info") == "At ");
}

TEST_CASE("user page: a known one shows link and QR picture")
{
    OpenSpace space;
    space.contents->setUserPage({"http://pages/1", ""});
    CHECK(space.shown("user-page-link") == "http://pages/1");
    CHECK(space.qrIcon().source().isEmpty());
    CHECK(space.text("user-page-url").value(Facet::kUserLayer) == "http://pages/1");
    CHECK_FALSE(space.widget->hasPseudoClass("no-user-page"));
    CHECK_FALSE(space.widget->hasPseudoClass("user-page-failed"));
    TestSupport::expectWarningStartingWith("ImageWidget # Failed to load image "); // there is no such picture
    space.contents->setUserPage({"http://pages/1", "/none/qr.png"});
    CHECK(space.qrIcon().source() == "/none/qr.png");
    CHECK(space.host.frameUntil([] { return !TestSupport::loggedLines().empty(); }));
}

TEST_CASE("user page: an empty one is marked as failed, and the style sheet's link and picture show again")
{
    OpenSpace space(false);
    space.host.style(".user-page-link { text: \"no page\" }");
    space.widget->setCode(space.code);
    space.contents->setUserPage({"http://pages/1", "/none/qr.png"});
    space.contents->setUserPage({"", ""});
    CHECK(space.widget->hasPseudoClass("user-page-failed"));
    CHECK(space.widget->hasPseudoClass("no-user-page"));
    CHECK(space.shown("user-page-link") == "no page");
    CHECK(space.qrIcon().source().isEmpty());
    CHECK_FALSE(space.qrIcon().attribute("source")->hasValue(Facet::kUserLayer));
    CHECK(space.text("user-page-url").hasValue(Facet::kUserLayer));
    space.contents->setUserPage({"http://pages/1", ""});
    CHECK_FALSE(space.widget->hasPseudoClass("user-page-failed"));
    CHECK(space.shown("user-page-link") == "http://pages/1");
}

TEST_CASE("user page: one that was known before the space opened shows with its next change")
{
    OpenSpace space(false);
    space.contents->setUserPage({"http://pages/1", ""});
    space.widget->setCode(space.code);
    CHECK(space.shown("user-page-link").isEmpty());
    CHECK(space.widget->hasPseudoClass("no-user-page"));
    space.contents->setUserPage({"http://pages/1", ""});
    CHECK(space.shown("user-page-link") == "http://pages/1");
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
    CHECK(space.commands() == Strings{"getuserpage", "additem", "additem", "additem"});
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

TEST_CASE("mode: changed before the first code it sets the class and asks for the page, there are no items")
{
    OpenSpace space(false);
    space.mode().setValue(Mode::Upload);
    CHECK(classesOf(*space.widget) == Strings{"initial-view", "upload-mode"});
    CHECK(space.commands() == Strings{"getuserpage"});
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

TEST_CASE("items: the class for content follows what is there")
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

TEST_CASE("items: before the first code a widget put on the space is left alone")
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
    CHECK(dynamic_cast<Trellis::ImageWidget&>(*tiles[1]->children()[1]).source().isEmpty());
    CHECK(space.host.analytics().empty());
    CHECK(space.commands().empty());
}

TEST_CASE("another code: the space takes a content widget of its own for it and forgets the one before")
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

    // What happens to the first card's contents no longer reaches the space, not even in this frame.
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

TEST_CASE("another code: the same one again doubles nothing")
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

TEST_CASE("cancel: it goes back to the initial view and empties the input")
{
    OpenSpace space;
    for (const char* name : {"waiting-to-send-email", "sending-email", "email-successful", "email-failed",
                             "successfully-registered", "registering", "registering-failed", "of-the-presentation"})
        space.widget->addCSSClass(name);
    space.widget->removeCSSClass("initial-view");
    space.field().editor()->setText("half a name");
    childOfClass(*space.widget, "cancel-button").eventSend("single-tap");
    CHECK(classesOf(*space.widget) == Strings{"email-mode", "initial-view", "of-the-presentation"});
    CHECK(space.field().text().isEmpty());
}

TEST_CASE("cancel: a finger reaches the button although the drop area covers the space")
{
    OpenSpace space(false);
    space.host.style(
        "PersonalSpaceWidget { width: 400px; height: 300px }"
        "PersonalSpaceWidget > * { position: absolute; display: none }"
        "PersonalSpaceWidget > PersonalSpaceContentWidget { display: block; left: 0; top: 0; width: 400px; height: 300px }"
        "PersonalSpaceWidget > .cancel-button { display: block; left: 300px; top: 250px; width: 80px; height: 40px }");
    space.widget->setCode(space.code);
    space.widget->setLocation({100.f, 100.f});
    space.widget->removeCSSClass("initial-view");
    space.host.frame();
    space.host.tap({440.f, 370.f});
    CHECK(space.widget->hasCSSClass("initial-view"));
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

TEST_CASE("lifetime: a space that goes is forgotten by the contents")
{
    OpenSpace space;
    space.addItem();
    space.widget->removeFromParent();
    space.widget.reset();
    space.host.frame();
    for (const char* event :
         {"item-added", "item-removed", "preview-ready", "files-ready", "user-page-changed", "item-status-changed"}) {
        CAPTURE(event);
        CHECK_FALSE(space.contents->eventHasListeners(event));
    }
    space.contents->setUserPage({"http://late", ""});
}

TEST_CASE("lifetime: children that outlive the space do nothing")
{
    OpenSpace space;
    const Bedrock::IntrusivePtr<Trellis::Widget> cancel(&childOfClass(*space.widget, "cancel-button"));
    const Bedrock::IntrusivePtr<PersonalSpaceContentWidget> area(space.contentWidget());
    space.widget->removeFromParent();
    space.widget.reset();
    space.host.frame();
    cancel->eventSend("single-tap");
    const Bedrock::IntrusivePtr<FakeContent> content(new FakeContent(&space.host.mainWidget()));
    area->addItem(content);
    CHECK(space.host.analytics().empty());
}

TEST_CASE("lifetime: an upload that ends when the space is gone is stored for the next one")
{
    OpenSpace space(false);
    space.mode().setValue(Mode::Upload);
    space.widget->setCode(space.code);
    const long id = space.addItem(ItemStatus::Pending);
    space.contents->filesReady(id, space.contents->item(id).files);
    CHECK(space.commands() == Strings{"getuserpage", "getuserpage", "additem"});
    space.widget->removeFromParent();
    space.widget.reset();
    space.host.frame();
    space.answer(2, {{"success", true}});
    CHECK(space.contents->item(id).status == ItemStatus::Uploaded);
    const auto reopened = Bedrock::makeIntrusive<PersonalSpaceWidget>();
    reopened->setCode(space.code);
    CHECK(childrenOfClass(*reopened->findByType("PersonalSpaceContentWidget"), "uploaded").size() == 1);
}

TEST_CASE("lifetime: a space may be closed by a listener of its own events")
{
    OpenSpace space;
    const Bedrock::IntrusivePtr<FakeContent> content(new FakeContent(&space.host.mainWidget()));
    space.contentWidget()->eventAddListener("widget-added", [&] {
        space.widget->removeFromParent();
        space.widget.reset();
    });
    auto* widget = space.widget.get();
    widget->addWidget(*content);
    space.host.frames(2);
    CHECK(space.contents->items().size() == 1);
}
