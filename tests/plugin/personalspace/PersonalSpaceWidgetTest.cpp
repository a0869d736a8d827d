#include "personalspace/PersonalSpaceWidget.hpp"

#include "OpenSpace.hpp"

#include <doctest/doctest.h>

#include <algorithm>

using PluginTest::addEmailService;
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
using TestSupport::FakeEmailService;
using Mode = PersonalSpaceWidget::CollectionMode;
using ItemStatus = PersonalSpaceContents::ItemStatus;

namespace
{
/// A space whose mails are sent at once.
struct Writing : OpenSpace
{
    std::shared_ptr<FakeEmailService> service = addEmailService<FakeEmailService>(host);

    /// The input asks for a name after an e-mail was sent.
    void askForName()
    {
        widget->setProperties({"", "ann@example.org", ""});
        tapEnvelope();
        host.frame();
        tapCancel();
        REQUIRE(service->sent().size() == 1);
    }
    bool showsErrors() const { return field().hasPseudoClass("invalid"); }
};
}

TEST_CASE("personal space: with all defaults and no code it has no greeting, and is marked as knowing nothing")
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

TEST_CASE("personal space: its attributes have their documented defaults")
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

TEST_CASE("personal space: its input has no keyboard when it opens")
{
    OpenSpace space;
    CHECK_FALSE(space.field().editor()->isEditing());
    CHECK_FALSE(space.host.app().focusWidget());
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

TEST_CASE("cancel: the classes of the views go at once, and the initial view comes after")
{
    const char* const views[] = {"waiting-to-send-email",   "sending-email", "email-successful",  "email-failed",
                                 "successfully-registered", "registering",   "registering-failed"};
    OpenSpace space;
    // Of two rules that match the later one holds. Removed one by one, the classes would change one of the attributes on the way,
    // in whatever order they went.
    QString forwards;
    QString backwards;
    for (const char* name : views) {
        forwards.append(QString("PersonalSpaceWidget.%1 { user-page-url: \"%1\" }\n").arg(name));
        backwards.prepend(QString("PersonalSpaceWidget.%1 { space-title: \"%1\" }\n").arg(name));
    }
    space.host.style(forwards + backwards);
    space.widget->removeCSSClass("initial-view");
    for (const char* name : views)
        space.widget->addCSSClass(name);
    REQUIRE(space.text("user-page-url").value() == "registering-failed");
    REQUIRE(space.text("space-title").value() == "waiting-to-send-email");

    Strings changes;
    const auto watch = [&](const char* name) {
        space.text(name).addListener([&, name] {
            changes.push_back(name + (" \"" + space.text(name).value().toStdString() + "\" ")
                              + (space.hasClass("initial-view") ? "initial" : "before"));
        });
    };
    watch("user-page-url");
    watch("space-title");
    space.tapCancel();
    std::sort(changes.begin(), changes.end());
    CHECK(changes == Strings{"space-title \"\" before", "user-page-url \"\" before"});
    CHECK(space.hasClass("initial-view"));
}

TEST_CASE("cancel: the initial view shows when the input is emptied")
{
    OpenSpace space;
    space.tapEnvelope();
    space.write("half an address");
    std::vector<Strings> classes;
    space.field().editor()->eventAddListener("text-changed", [&] { classes.push_back(classesOf(*space.widget)); });
    space.tapCancel();
    CHECK(classes == std::vector<Strings>{{"email-mode", "initial-view"}});
}

TEST_CASE("cancel: it asks nothing of the media server")
{
    OpenSpace space;
    space.mode().setValue(Mode::Upload);
    space.tapEnvelope();
    space.tapCancel();
    CHECK(space.commands() == Strings{"getuserpage"});
}

TEST_CASE("cancel: the input field goes on to accept what it accepted before")
{
    Writing space;
    SUBCASE("an address")
    {
        space.tapEnvelope();
        space.tapCancel();
        CHECK_FALSE(space.accepts("Ann"));
        CHECK(space.accepts("ann@example.org"));
    }
    SUBCASE("a name")
    {
        space.askForName();
        space.tapCancel();
        CHECK(space.accepts("Ann"));
        CHECK_FALSE(space.accepts("  "));
    }
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

TEST_CASE("lifetime: the destructor of a space removes its listeners from the contents")
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

TEST_CASE("lifetime: events of children that outlive the space have no effect")
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

TEST_CASE("lifetime: the result of an upload that ends after the space was destroyed is stored for the next one")
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

TEST_CASE("cancel: errors of the input field are hidden, also where it has no text")
{
    Writing space;
    SUBCASE("for a name")
    {
        space.askForName();
        SUBCASE("an empty one")
        {
            space.write("");
        }
        SUBCASE("blanks")
        {
            space.write("   ");
        }
        space.tapSave();
    }
    SUBCASE("for an address")
    {
        space.tapEnvelope();
        SUBCASE("an empty one")
        {
            space.write("");
        }
        SUBCASE("a wrong one")
        {
            space.write("ann@example");
        }
        space.tapEnvelope();
    }
    REQUIRE(space.showsErrors());
    REQUIRE_FALSE(space.field().isValid());
    space.tapCancel();
    CHECK_FALSE(space.showsErrors());
    CHECK(space.field().isValid());
    CHECK(space.field().text().isEmpty());
    CHECK(classesOf(*space.widget) == Strings{"email-mode", "initial-view"});
}
