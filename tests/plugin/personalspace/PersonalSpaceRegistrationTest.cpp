#include "OpenSpace.hpp"
#include "SpaceForms.hpp"

#include <QKeyEvent>

#include <doctest/doctest.h>

using PluginTest::AddressForm;
using PluginTest::classesOf;
using PluginTest::confirmName;
using PluginTest::NameForm;
using PluginTest::OpenSpace;
using PluginTest::Strings;

TEST_CASE("name: anything but blanks counts")
{
    NameForm form;
    for (const char* name : {"Ann", "  Ann  Lee ", "李", "x", "ann@example.org", "."}) {
        CAPTURE(name);
        CHECK(form.accepts(name));
    }
    for (const char* name : {"", " ", "   ", "\t", " \n \t "}) {
        CAPTURE(name);
        CHECK_FALSE(form.accepts(name));
    }
}

TEST_CASE("enter: while the address form is open the text is an address, otherwise a name")
{
    AddressForm form;
    form.write("Ann");
    form.finishEditing();
    CHECK(form.text("user-name").value().isEmpty());
    CHECK(form.field().hasPseudoClass("invalid"));
    form.write("ann@example.org");
    form.finishEditing();
    CHECK(form.text("user-email").value() == "ann@example.org");
    CHECK(form.text("user-name").value().isEmpty());
    form.tapCancel();
    form.write("ann@example.net");
    form.finishEditing();
    CHECK(form.text("user-name").value() == "ann@example.net");
    CHECK(form.text("user-email").value() == "ann@example.org");
    form.waitForRegistration();
}

TEST_CASE("enter: no other reason of \"editing-finished\" confirms anything")
{
    AddressForm form;
    const auto finishOtherwise = [&form] {
        for (const char* reason : {"escape", "focus-lost", "Enter", "ENTER", "enter ", ""})
            form.finishEditing(reason);
    };
    form.write("ann@example.org");
    finishOtherwise();
    CHECK(form.service->created() == 0);
    form.tapCancel();
    form.write("Ann");
    finishOtherwise();
    CHECK(form.text("user-name").value().isEmpty());
    CHECK_FALSE(form.hasClass("registering"));
    form.registrationAnswered();
    CHECK(form.registrations().empty());
}

TEST_CASE("enter: a finger gives the field the keyboard, its enter key registers once")
{
    OpenSpace space;
    space.showOnly("InputFieldWidget", "left: 100px; top: 100px; width: 200px; height: 40px; keyboard-layout: none");
    space.host.tap({250.f, 210.f});
    REQUIRE(space.field().editor()->hasFocus());
    for (const QChar letter : QStringLiteral("Ann")) {
        QKeyEvent key(QEvent::KeyPress, 0, Qt::NoModifier, QString(letter));
        space.host.app().keyPressed(key);
    }
    CHECK(space.field().text() == "Ann");
    QKeyEvent enter(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, "\r");
    space.host.app().keyPressed(enter);
    space.host.frames(2);
    space.registrationAnswered();
    CHECK(space.text("user-name").value() == "Ann");
    CHECK(space.registrations().size() == 1);
    CHECK(space.hasClass("successfully-registered"));
    CHECK_FALSE(space.field().editor()->hasFocus());
}

TEST_CASE("confirming a name: a blank one shows the field's errors, nothing else changes")
{
    NameForm form;
    form.write("   ");
    confirmName(form);
    CHECK(form.field().hasPseudoClass("invalid"));
    CHECK(form.field().text() == "   ");
    CHECK(form.text("user-name").value().isEmpty());
    CHECK(form.widget->hasPseudoClass("unregistered-user"));
    CHECK(classesOf(*form.widget) == Strings{"email-mode", "initial-view"});
    form.registrationAnswered();
    CHECK(form.registrations().empty());
}

TEST_CASE("confirming a name: a blank one is refused also before the field has a validator of the space")
{
    OpenSpace space;
    for (const char* name : {"", "   "}) {
        CAPTURE(name);
        space.saveName(name);
        CHECK(space.field().hasPseudoClass("invalid"));
        CHECK(classesOf(*space.widget) == Strings{"email-mode", "initial-view"});
        CHECK_FALSE(space.text("user-name").hasValue(Facet::kUserLayer));
    }
    space.registrationAnswered();
    CHECK(space.registrations().empty());
}

TEST_CASE("confirming a name: the owner is greeted, the field emptied, and a request sent to the marker service")
{
    OpenSpace space;
    space.widget->setProperties({"", "ann@example.org", ""});
    space.host.tesselService().holdRegistrations();
    space.write("Ann");
    confirmName(space);
    // The service has not answered yet, and the main thread has not waited for it.
    CHECK(space.text("user-name").value(Facet::kUserLayer) == "Ann");
    CHECK_FALSE(space.widget->hasPseudoClass("unregistered-user"));
    CHECK(space.textChild("title").text() == "Hi, Ann");
    CHECK(space.field().text().isEmpty());
    CHECK(classesOf(*space.widget) == Strings{"email-mode", "initial-view", "registering"});
    space.host.frames(3);
    CHECK(space.hasClass("registering"));
    space.host.tesselService().releaseRegistrations();
    space.registrationAnswered();
    REQUIRE(space.registrations().size() == 1);
    CHECK(space.registrations()[0].code == space.code);
    CHECK(space.registrations()[0].name == "Ann");
    CHECK(space.registrations()[0].email == "ann@example.org");
    CHECK(space.registrations()[0].thread != std::this_thread::get_id());
}

TEST_CASE("confirming a name: a finger on the save button does it")
{
    OpenSpace space;
    space.showOnly(".save-button", "left: 300px; top: 250px; width: 80px; height: 40px");
    space.write("Ann");
    space.host.frame();
    space.host.tap({440.f, 370.f});
    space.registrationAnswered();
    CHECK(space.registrations().size() == 1);
    CHECK(space.hasClass("successfully-registered"));
}

TEST_CASE("confirming a name: the editor lets go of the keyboard, and that registers nothing more")
{
    OpenSpace space;
    space.host.app().setFocusWidget(space.field().editor().get());
    REQUIRE(space.field().editor()->hasFocus());
    space.saveName("Ann");
    CHECK_FALSE(space.field().editor()->hasFocus());
    space.registrationAnswered();
    CHECK(space.registrations().size() == 1);
}

TEST_CASE("confirming a name: the editor lets go of the keyboard also for a wrong one")
{
    NameForm form;
    form.host.app().setFocusWidget(form.field().editor().get());
    form.write(" ");
    form.tapSave();
    CHECK_FALSE(form.field().editor()->hasFocus());
    CHECK(form.field().hasPseudoClass("invalid"));
}

TEST_CASE("confirming a name: the text counts that is there when the editing has ended")
{
    for (const bool isBlankAtLast : {true, false}) {
        CAPTURE(isBlankAtLast);
        NameForm form;
        const auto editor = form.field().editor();
        form.host.app().setFocusWidget(editor.get());
        const auto listener =
            editor->eventAddListener("editing-finished", [&] { editor->setText(isBlankAtLast ? "  " : "Bea"); });
        form.saveName(isBlankAtLast ? "Ann" : "  ");
        CHECK(form.field().hasPseudoClass("invalid") == isBlankAtLast);
        CHECK(form.hasClass("registering") == !isBlankAtLast);
        CHECK(form.text("user-name").value() == (isBlankAtLast ? "" : "Bea"));
        editor->eventRemoveListener(listener);
        form.waitForRegistration();
    }
}

TEST_CASE("confirming a name: the field is emptied when the space shows that it registers")
{
    OpenSpace space;
    space.write("Ann");
    bool registeringWhenEmptied = false;
    bool greetedWhenEmptied = false;
    space.field().editor()->eventAddListener("text-changed", [&] {
        if (!space.field().text().isEmpty())
            return;
        registeringWhenEmptied = space.hasClass("registering");
        greetedWhenEmptied = space.textChild("title").text() == "Hi, Ann";
    });
    space.tapSave();
    CHECK(registeringWhenEmptied);
    CHECK(greetedWhenEmptied);
    space.waitForRegistration();
}

TEST_CASE("confirming a name: without an address the request is sent with an empty one")
{
    OpenSpace space;
    space.saveName("Ann");
    space.registrationAnswered();
    REQUIRE(space.registrations().size() == 1);
    CHECK(space.registrations()[0].email.isEmpty());
    CHECK(space.hasClass("successfully-registered"));
}

TEST_CASE("confirming a name: before the first code the request is for card 0")
{
    OpenSpace space(false);
    space.saveName("Ann");
    space.registrationAnswered();
    REQUIRE(space.registrations().size() == 1);
    CHECK(space.registrations()[0].code == 0);
    CHECK(classesOf(*space.widget) == Strings{"initial-view", "successfully-registered"});
}

TEST_CASE("confirming a name: several frames later it still was one request")
{
    OpenSpace space;
    space.saveName("Ann");
    for (int i = 0; i < 5; ++i)
        space.registrationAnswered();
    CHECK(space.registrations().size() == 1);
}

TEST_CASE("written name: it is kept and registered as it was written, blanks and all")
{
    NameForm form;
    form.write(" Ann  Lee\t");
    confirmName(form);
    CHECK(form.text("user-name").value() == " Ann  Lee\t");
    CHECK(form.textChild("title").text() == "Hi,  Ann  Lee\t");
    form.waitForRegistration();
    const auto registrations = form.registrations();
    REQUIRE(registrations.size() == 1);
    CHECK(registrations[0].name == " Ann  Lee\t");
}
