#include "LogCapture.hpp"
#include "OpenSpace.hpp"

#include <QKeyEvent>

#include <doctest/doctest.h>

#include <functional>
#include <stdexcept>
#include <thread>

using PluginTest::addEmailService;
using PluginTest::classesOf;
using PluginTest::newCode;
using PluginTest::OpenSpace;
using PluginTest::Strings;
using TestSupport::FakeEmailService;

namespace
{
/// A space whose input asks for an e-mail address.
struct AddressForm : OpenSpace
{
    std::shared_ptr<FakeEmailService> service = addEmailService<FakeEmailService>(host);
    PluginTest::AnswerAtEnd answerAtEnd{service};
    AddressForm()
    {
        service->holdAnswers(true);
        tapEnvelope();
    }
};

/// A space whose input asks for a name, as it does after an e-mail was sent.
struct NameForm : OpenSpace
{
    NameForm()
    {
        const auto service = addEmailService<FakeEmailService>(host);
        widget->setProperties({"", "ann@example.org", ""});
        tapEnvelope();
        host.frame();
        tapCancel();
        REQUIRE(service->sent().size() == 1);
    }
};

// Each runs the test once for every way in which visitors confirm what they have written.
void confirmAddress(OpenSpace& space)
{
    SUBCASE("by the envelope")
    {
        space.tapEnvelope();
    }
    SUBCASE("by enter")
    {
        space.finishEditing();
    }
}
void confirmName(OpenSpace& space)
{
    SUBCASE("by the button")
    {
        space.tapSave();
    }
    SUBCASE("by enter")
    {
        space.finishEditing();
    }
}

/// A marker service whose registrations end with an exception.
class BrokenTesselService final : public Tavola::TesselServiceAPI
{
public:
    explicit BrokenTesselService(std::function<void()> failure) : m_failure(std::move(failure)) {}
    boost::expected<Bedrock::IntrusivePtr<Trellis::Widget>, QString> personalWidget(unsigned long) override
    {
        return boost::make_unexpected(QString());
    }
    bool registerPersonalMarker(unsigned long, const QString&, const QString&) override
    {
        m_failure();
        return true;
    }

private:
    std::function<void()> m_failure;
};
}

// ---- Validators ------------------------------------------------------------------------------------------------------

TEST_CASE("address: what counts as an e-mail address")
{
    AddressForm form;
    const char* const accepted[] = {"ann@example.org",
                                    "  ann@example.org\t",
                                    "\n ann@example.org \n",
                                    "Ann.Lee@Example.ORG",
                                    "a+b@c.de",
                                    "a%b@c.de",
                                    "a_b-c.d@e-f.gh",
                                    "1@2.co",
                                    "a@b.info",
                                    "a@very.many.dotted.parts.eu",
                                    ".@-.xy",
                                    "a@b..org"};
    for (const char* address : accepted) {
        CAPTURE(address);
        CHECK(form.accepts(address));
    }
}

TEST_CASE("address: what does not count as one")
{
    AddressForm form;
    const char* const refused[] = {"",
                                   "   ",
                                   "ann",
                                   "ann@example",
                                   "@example.org",
                                   "ann@.org",
                                   "ann@example.",
                                   "ann@example.c",
                                   "ann@example.abcde",
                                   "ann@example.museum",
                                   "ann@example.org.",
                                   "ann lee@example.org",
                                   "ann@exam ple.org",
                                   "ann@example.org bob@example.org",
                                   "ann@example.org,bob@example.org",
                                   "ann@@example.org",
                                   "a@b@c.de",
                                   "än@example.org",
                                   "ann@exämple.org",
                                   "ann@example.o1",
                                   "ann@ex_ample.org",
                                   "<ann@example.org>",
                                   "Ann <ann@example.org>",
                                   "mailto:ann@example.org",
                                   "ann@example.org\nx",
                                   "ann!@example.org"};
    for (const char* address : refused) {
        CAPTURE(address);
        CHECK_FALSE(form.accepts(address));
    }
}

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

// ---- Confirming the address ------------------------------------------------------------------------------------------

TEST_CASE("confirming an address: a wrong one shows the field's errors, nothing else changes")
{
    AddressForm form;
    form.write("ann@example");
    confirmAddress(form);
    CHECK(form.field().hasPseudoClass("invalid"));
    CHECK(form.field().text() == "ann@example");
    CHECK_FALSE(form.text("user-email").hasValue(Facet::kUserLayer));
    CHECK(classesOf(*form.widget) == Strings{"email-mode", "waiting-to-send-email"});
    CHECK(form.service->created() == 0);
    CHECK(form.registrations().empty());
    CHECK(form.host.analytics().empty());
}

TEST_CASE("confirming an address: a right one is stored above the style sheet and sent to, and the field is emptied")
{
    AddressForm form;
    form.host.style("PersonalSpaceWidget { space-info: \"To <link>\" }");
    CHECK(form.widget->hasPseudoClass("no-email"));
    form.write("ann@example.org");
    confirmAddress(form);
    CHECK(form.text("user-email").value(Facet::kUserLayer) == "ann@example.org");
    CHECK_FALSE(form.widget->hasPseudoClass("no-email"));
    CHECK(form.textChild("custom-info").text() == "To ann@example.org");
    CHECK(form.field().text().isEmpty());
    CHECK(form.service->sent().size() == 1);
    CHECK(classesOf(*form.widget) == Strings{"email-mode", "sending-email"});
    CHECK(form.registrations().empty());
}

TEST_CASE("confirming an address: blanks around it are accepted")
{
    AddressForm form;
    form.write("  ann@example.org ");
    form.finishEditing();
    REQUIRE(form.service->sent().size() == 1);
    CHECK(form.service->sent()[0].recipients[0].address.address.trimmed() == "ann@example.org");
}

TEST_CASE("confirming an address: the address is known when sending starts, the field is emptied after")
{
    AddressForm form;
    QString fieldWhileSending;
    QString addressWhileSending;
    form.host.tavola().services()->removeService(form.service);
    const auto hooked = addEmailService<PluginTest::HookedEmailService>(form.host);
    hooked->onCreate = [&] {
        fieldWhileSending = form.field().text();
        addressWhileSending = form.text("user-email").value();
        return Tavola::EmailMessage();
    };
    form.write("ann@example.org");
    form.tapEnvelope();
    CHECK(fieldWhileSending == "ann@example.org");
    CHECK(addressWhileSending == "ann@example.org");
    CHECK(form.field().text().isEmpty());
}

TEST_CASE("confirming an address: without an e-mail service it is kept all the same")
{
    OpenSpace space;
    space.tapEnvelope();
    space.write("ann@example.org");
    TestSupport::expectError(
        "PersonalSpaceWidget::emailContents # Failed to send email to ann@example.org (No email service configured)");
    space.tapEnvelope();
    CHECK(space.text("user-email").value() == "ann@example.org");
    CHECK(classesOf(*space.widget) == Strings{"email-failed", "email-mode", "sending-email"});
    CHECK(space.field().text().isEmpty());
}

// ---- Enter -----------------------------------------------------------------------------------------------------------

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

// ---- Confirming the name ---------------------------------------------------------------------------------------------

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

// ---- The request -----------------------------------------------------------------------------------------------------

TEST_CASE("request: changes of the space while it waits do not change it")
{
    OpenSpace space;
    space.widget->setProperties({"", "ann@example.org", ""});
    space.host.tesselService().holdRegistrations();
    space.saveName("Ann"); // holds the background thread
    space.saveName("Bea");
    space.widget->setProperties({"Cleo", "cleo@example.org", ""});
    space.widget->setCode(newCode());
    space.host.tesselService().releaseRegistrations();
    space.registrationAnswered();
    const auto requests = space.registrations();
    REQUIRE(requests.size() == 2);
    CHECK(requests[0].name == "Ann");
    CHECK(requests[1].name == "Bea");
    for (const auto& request : requests) {
        CHECK(request.code == space.code);
        CHECK(request.email == "ann@example.org");
    }
}

TEST_CASE("request: an address typed earlier goes with it")
{
    AddressForm form;
    form.write("new@example.org");
    form.tapEnvelope();
    form.service->answer(0, {true, {}});
    form.host.frame();
    form.saveName("Ann");
    form.registrationAnswered();
    REQUIRE(form.registrations().size() == 1);
    CHECK(form.registrations()[0].email == "new@example.org");
}

TEST_CASE("request: while one is open it keeps the service alive, and not the application with its widgets")
{
    OpenSpace space;
    space.host.tesselService().holdRegistrations();
    space.write("Ann");
    space.tapSave();
    REQUIRE(space.host.frameUntil([&] { return space.host.tesselService().registrations().size() == 1; }));
    space.host.destroyTavola();
    CHECK(Tavola::Tavola::instance() == nullptr);
    CHECK(space.host.app().mainLayer()->children().empty());
    space.host.tesselService().releaseRegistrations();
    space.waitForRegistration();
}

// ---- Answers ---------------------------------------------------------------------------------------------------------

TEST_CASE("answer: it takes effect after a frame's update, not on the background thread")
{
    OpenSpace space;
    space.saveName("Ann");
    space.waitForRegistration();
    CHECK(classesOf(*space.widget) == Strings{"email-mode", "initial-view", "registering"});
    space.host.frame();
    CHECK(classesOf(*space.widget) == Strings{"email-mode", "initial-view", "successfully-registered"});
}

TEST_CASE("answer: a refusal is shown, the name stays, nothing is logged")
{
    OpenSpace space;
    space.host.tesselService().acceptRegistrations(false);
    space.saveName("Ann");
    space.registrationAnswered();
    CHECK(classesOf(*space.widget) == Strings{"email-mode", "initial-view", "registering-failed"});
    CHECK(space.textChild("title").text() == "Hi, Ann");
    CHECK(space.text("user-name").value() == "Ann");
    CHECK(TestSupport::loggedLines().empty());
}

TEST_CASE("answer: a second one is added to the first")
{
    for (const bool isFirstAccepted : {false, true}) {
        CAPTURE(isFirstAccepted);
        OpenSpace space;
        space.host.tesselService().acceptRegistrations(isFirstAccepted);
        space.saveName("Ann");
        space.registrationAnswered();
        space.host.tesselService().acceptRegistrations(!isFirstAccepted);
        space.saveName("Bea");
        CHECK(classesOf(*space.widget)
              == Strings{"email-mode", "initial-view", "registering",
                         isFirstAccepted ? "successfully-registered" : "registering-failed"});
        space.registrationAnswered();
        CHECK(classesOf(*space.widget) == Strings{"email-mode", "initial-view", "registering-failed", "successfully-registered"});
        CHECK(space.textChild("title").text() == "Hi, Bea");
        space.tapCancel();
        CHECK(classesOf(*space.widget) == Strings{"email-mode", "initial-view"});
    }
}

TEST_CASE("answer: after a cancel its class is added all the same")
{
    for (const bool isAccepted : {true, false}) {
        CAPTURE(isAccepted);
        OpenSpace space;
        space.host.tesselService().holdRegistrations();
        space.saveName("Ann");
        space.tapCancel();
        CHECK(classesOf(*space.widget) == Strings{"email-mode", "initial-view"});
        space.host.tesselService().acceptRegistrations(isAccepted);
        space.host.tesselService().releaseRegistrations();
        space.registrationAnswered();
        CHECK(classesOf(*space.widget)
              == Strings{"email-mode", "initial-view", isAccepted ? "successfully-registered" : "registering-failed"});
    }
}

TEST_CASE("answer: it touches neither items nor attributes")
{
    OpenSpace space;
    space.addItem("http://one");
    space.text("user-page-url").setValue("http://page");
    space.saveName("Ann");
    space.write("Bea");
    space.registrationAnswered();
    CHECK(space.contents->items().size() == 1);
    CHECK(space.text("user-page-url").value() == "http://page");
    CHECK_FALSE(space.text("user-email").hasValue(Facet::kUserLayer));
    CHECK(space.field().text() == "Bea");
}

TEST_CASE("answer: it is dropped after the space was destroyed, while the service is asked or before the answer's frame")
{
    for (const bool isAnswered : {false, true}) {
        CAPTURE(isAnswered);
        OpenSpace space;
        space.host.tesselService().holdRegistrations();
        space.saveName("Ann");
        if (!isAnswered)
            space.close();
        space.host.tesselService().releaseRegistrations();
        space.waitForRegistration();
        if (isAnswered)
            space.close();
        space.host.frames(2);
        CHECK(space.registrations().size() == 1);
        CHECK(TestSupport::loggedLines().empty());
    }
}

TEST_CASE("answer: two spaces get their own")
{
    OpenSpace space;
    const auto other = Bedrock::makeIntrusive<Tavola::PersonalSpaceWidget>();
    other->setCode(newCode());
    space.saveName("Ann");
    space.registrationAnswered();
    CHECK(space.hasClass("successfully-registered"));
    CHECK(classesOf(*other) == Strings{"email-mode", "initial-view"});
}

// ---- Without an answer -------------------------------------------------------------------------------------------------

TEST_CASE("no marker service: the space stays registering until the visitor cancels")
{
    OpenSpace space;
    space.host.removeTesselService();
    space.saveName("Ann");
    for (int i = 0; i < 5; ++i)
        space.registrationAnswered();
    CHECK(classesOf(*space.widget) == Strings{"email-mode", "initial-view", "registering"});
    CHECK(space.textChild("title").text() == "Hi, Ann");
    CHECK(TestSupport::loggedLines().empty());
    space.tapCancel();
    CHECK(classesOf(*space.widget) == Strings{"email-mode", "initial-view"});
}

TEST_CASE("no marker service: one that is configured later receives no dropped request")
{
    OpenSpace space;
    space.host.removeTesselService();
    space.saveName("Ann");
    space.waitForRegistration();
    const auto later = std::make_shared<TestSupport::FakeTesselService>();
    space.host.tavola().services()->setTesselService(later);
    space.registrationAnswered();
    CHECK(later->registrations().empty());
    CHECK(space.hasClass("registering"));
}

TEST_CASE("no application any more: a waiting request is dropped")
{
    OpenSpace space;
    space.host.tesselService().holdRegistrations();
    space.saveName("Ann"); // holds the background thread
    space.saveName("Bea");
    REQUIRE(space.host.frameUntil([&] { return space.registrations().size() == 1; }));
    space.host.destroyTavola();
    space.host.tesselService().releaseRegistrations();
    space.waitForRegistration();
    CHECK(space.registrations().size() == 1);
}

TEST_CASE("marker service that throws: the visitor sees that registering failed, and the log has the reason")
{
    struct Row
    {
        void (*failure)();
        const char* reason;
    };
    const Row rows[] = {{[] { throw std::runtime_error("no database"); }, "no database"},
                        {[] { throw 42; }, "unknown exception"}};
    for (const Row& row : rows) {
        CAPTURE(row.reason);
        OpenSpace space;
        space.host.tavola().services()->setTesselService(std::make_shared<BrokenTesselService>(row.failure));
        TestSupport::expectError("PersonalSpaceWidget::registerUser # Failed to register the owner of card "
                                 + std::to_string(space.code) + " (" + row.reason + ")");
        space.saveName("Ann");
        for (int i = 0; i < 3; ++i)
            space.registrationAnswered();
        CHECK(classesOf(*space.widget) == Strings{"email-mode", "initial-view", "registering-failed"});
    }
}

// ---- As it is written ------------------------------------------------------------------------------------------------

TEST_CASE("written address: it is kept and sent to as it was written, blanks and all")
{
    AddressForm form;
    form.write("  ann@example.org\t ");
    confirmAddress(form);
    CHECK(form.text("user-email").value() == "  ann@example.org\t ");
    REQUIRE(form.service->sent().size() == 1);
    CHECK(form.service->sent()[0].recipients[0].address.address == "  ann@example.org\t ");
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
