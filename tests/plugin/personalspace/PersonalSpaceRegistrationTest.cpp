#include "LogCapture.hpp"
#include "PersonalSpaceFixture.hpp"

#include <Bedrock/BGThread.hpp>

#include <QKeyEvent>

#include <doctest/doctest.h>

#include <stdexcept>
#include <thread>

using PluginTest::addEmailService;
using PluginTest::classesOf;
using PluginTest::newCode;
using PluginTest::OpenSpace;
using PluginTest::Strings;
using TestSupport::FakeEmailService;
using TestSupport::TestHost;

namespace
{
/// A space of a card that belongs to nobody yet.
struct Visit : OpenSpace
{
    explicit Visit(bool withCode = true) : OpenSpace(withCode) {}

    static void waitForAnswer() { Bedrock::BGThread::instance()->waitUntilIdle(); }
    /// The background thread's answer, and the frame that brings it.
    void answered()
    {
        waitForAnswer();
        host.frame();
    }
    void saveName(const QString& name)
    {
        write(name);
        tapSave();
    }
    auto registrations() { return host.tesselService().registrations(); }
};

/// A visit whose input asks for an e-mail address.
struct AddressForm : Visit
{
    std::shared_ptr<FakeEmailService> service = addEmailService<FakeEmailService>(host);
    PluginTest::AnswerAtEnd answerAtEnd{service};
    AddressForm()
    {
        service->holdAnswers(true);
        tapEnvelope();
    }
    bool accepts(const QString& address)
    {
        write(address);
        field().validate();
        return field().isValid();
    }
};

/// A visit whose input asks for a name, as it does after an e-mail was sent.
struct NameForm : Visit
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
    bool accepts(const QString& name)
    {
        write(name);
        field().validate();
        return field().isValid();
    }
};

/// A marker service that cannot answer.
class BrokenTesselService final : public Tavola::TesselServiceAPI
{
public:
    boost::expected<Bedrock::IntrusivePtr<Trellis::Widget>, QString> personalWidget(unsigned long) override
    {
        return boost::make_unexpected(QString());
    }
    bool registerPersonalMarker(unsigned long, const QString&, const QString&) override
    {
        throw std::runtime_error("no database");
    }
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
    SUBCASE("by the envelope")
    {
        form.tapEnvelope();
    }
    SUBCASE("by enter")
    {
        form.finishEditing();
    }
    CHECK(form.field().hasPseudoClass("invalid"));
    CHECK(form.field().text() == "ann@example");
    CHECK_FALSE(form.text("user-email").hasValue(Facet::kUserLayer));
    CHECK(classesOf(*form.widget) == Strings{"email-mode", "waiting-to-send-email"});
    CHECK(form.service->created() == 0);
    CHECK(form.registrations().empty());
    CHECK(form.host.analytics().empty());
}

TEST_CASE("confirming an address: a right one is kept above the style sheet, sent to, and the field is empty again")
{
    AddressForm form;
    form.host.style("PersonalSpaceWidget { space-info: \"To <link>\" }");
    CHECK(form.widget->hasPseudoClass("no-email"));
    form.write("ann@example.org");
    SUBCASE("by the envelope")
    {
        form.tapEnvelope();
    }
    SUBCASE("by enter")
    {
        form.finishEditing();
    }
    CHECK(form.text("user-email").value(Facet::kUserLayer) == "ann@example.org");
    CHECK_FALSE(form.widget->hasPseudoClass("no-email"));
    CHECK(form.textChild("custom-info").text() == "To ann@example.org");
    CHECK(form.field().text().isEmpty());
    CHECK(form.service->sent().size() == 1);
    CHECK(classesOf(*form.widget) == Strings{"email-mode", "sending-email"});
    CHECK(form.registrations().empty());
}

TEST_CASE("confirming an address: blanks around it do not count against it")
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
    Visit visit;
    visit.tapEnvelope();
    visit.write("ann@example.org");
    TestSupport::expectError(
        "PersonalSpaceWidget::emailContents # Failed to send email to ann@example.org (No email service configured)");
    visit.tapEnvelope();
    CHECK(visit.text("user-email").value() == "ann@example.org");
    CHECK(classesOf(*visit.widget) == Strings{"email-failed", "email-mode", "sending-email"});
    CHECK(visit.field().text().isEmpty());
}

// ---- Enter -----------------------------------------------------------------------------------------------------------

TEST_CASE("enter: while an address is waited for the text is an address, otherwise a name")
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
    form.waitForAnswer();
}

TEST_CASE("enter: no other end of the writing confirms anything")
{
    AddressForm form;
    form.write("ann@example.org");
    for (const char* reason : {"escape", "focus-lost", "Enter", "ENTER", "enter ", ""})
        form.finishEditing(reason);
    CHECK(form.service->created() == 0);
    form.tapCancel();
    form.write("Ann");
    for (const char* reason : {"escape", "focus-lost", "Enter", "ENTER", "enter ", ""})
        form.finishEditing(reason);
    CHECK(form.text("user-name").value().isEmpty());
    CHECK_FALSE(form.hasClass("registering"));
    form.answered();
    CHECK(form.registrations().empty());
}

TEST_CASE("enter: a finger gives the field the keyboard, its enter key registers once")
{
    Visit visit;
    visit.host.style(
        "PersonalSpaceWidget { width: 400px; height: 300px; position: absolute }"
        "PersonalSpaceWidget > * { position: absolute; display: none }"
        "PersonalSpaceWidget > PersonalSpaceContentWidget { display: block; left: 0; top: 0; width: 400px; height: 300px }"
        "PersonalSpaceWidget > InputFieldWidget { display: block; left: 100px; top: 100px; width: 200px; height: 40px }"
        "InputFieldWidget { keyboard-layout: none }");
    visit.widget->setLocation({100.f, 100.f});
    visit.host.frame();
    visit.host.tap({250.f, 210.f});
    REQUIRE(visit.field().editor()->hasFocus());
    for (const QChar letter : QStringLiteral("Ann")) {
        QKeyEvent key(QEvent::KeyPress, 0, Qt::NoModifier, QString(letter));
        visit.host.app().keyPressed(key);
    }
    CHECK(visit.field().text() == "Ann");
    QKeyEvent enter(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, "\r");
    visit.host.app().keyPressed(enter);
    visit.host.frames(2);
    visit.answered();
    CHECK(visit.text("user-name").value() == "Ann");
    CHECK(visit.registrations().size() == 1);
    CHECK(visit.hasClass("successfully-registered"));
    CHECK_FALSE(visit.field().editor()->hasFocus());
}

// ---- Confirming the name ---------------------------------------------------------------------------------------------

TEST_CASE("confirming a name: a blank one shows the field's errors, nothing else changes")
{
    NameForm form;
    form.write("   ");
    SUBCASE("by the button")
    {
        form.tapSave();
    }
    SUBCASE("by enter")
    {
        form.finishEditing();
    }
    CHECK(form.field().hasPseudoClass("invalid"));
    CHECK(form.field().text() == "   ");
    CHECK(form.text("user-name").value().isEmpty());
    CHECK(form.widget->hasPseudoClass("unregistered-user"));
    CHECK(classesOf(*form.widget) == Strings{"email-mode", "initial-view"});
    form.answered();
    CHECK(form.registrations().empty());
}

TEST_CASE("confirming a name: it greets the owner, empties the field and asks the marker service")
{
    Visit visit;
    visit.widget->setProperties({"", "ann@example.org", ""});
    visit.host.tesselService().holdRegistrations();
    SUBCASE("by the button")
    {
        visit.saveName("Ann");
    }
    SUBCASE("by enter")
    {
        visit.write("Ann");
        visit.finishEditing();
    }
    // The service has not answered, and nobody waited for it.
    CHECK(visit.text("user-name").value(Facet::kUserLayer) == "Ann");
    CHECK_FALSE(visit.widget->hasPseudoClass("unregistered-user"));
    CHECK(visit.textChild("title").text() == "Hi, Ann");
    CHECK(visit.field().text().isEmpty());
    CHECK(classesOf(*visit.widget) == Strings{"email-mode", "initial-view", "registering"});
    visit.host.frames(3);
    CHECK(visit.hasClass("registering"));
    visit.host.tesselService().releaseRegistrations();
    visit.answered();
    REQUIRE(visit.registrations().size() == 1);
    CHECK(visit.registrations()[0].code == visit.code);
    CHECK(visit.registrations()[0].name == "Ann");
    CHECK(visit.registrations()[0].email == "ann@example.org");
    CHECK(visit.registrations()[0].thread != std::this_thread::get_id());
}

TEST_CASE("confirming a name: a finger on the save button does it")
{
    Visit visit;
    visit.host.style(
        "PersonalSpaceWidget { width: 400px; height: 300px; position: absolute }"
        "PersonalSpaceWidget > * { position: absolute; display: none }"
        "PersonalSpaceWidget > PersonalSpaceContentWidget { display: block; left: 0; top: 0; width: 400px; height: 300px }"
        "PersonalSpaceWidget > .save-button { display: block; left: 300px; top: 250px; width: 80px; height: 40px }");
    visit.widget->setLocation({100.f, 100.f});
    visit.write("Ann");
    visit.host.frame();
    visit.host.tap({440.f, 370.f});
    visit.answered();
    CHECK(visit.registrations().size() == 1);
    CHECK(visit.hasClass("successfully-registered"));
}

TEST_CASE("confirming a name: the editor lets go of the keyboard, and that registers nothing more")
{
    Visit visit;
    visit.host.app().setFocusWidget(visit.field().editor().get());
    REQUIRE(visit.field().editor()->hasFocus());
    visit.saveName("Ann");
    CHECK_FALSE(visit.field().editor()->hasFocus());
    visit.answered();
    CHECK(visit.registrations().size() == 1);
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

TEST_CASE("confirming a name: without an address the request is sent with an empty one")
{
    Visit visit;
    visit.saveName("Ann");
    visit.answered();
    REQUIRE(visit.registrations().size() == 1);
    CHECK(visit.registrations()[0].email.isEmpty());
    CHECK(visit.hasClass("successfully-registered"));
}

TEST_CASE("confirming a name: before the first code the request is for card 0")
{
    Visit visit(false);
    visit.saveName("Ann");
    visit.answered();
    REQUIRE(visit.registrations().size() == 1);
    CHECK(visit.registrations()[0].code == 0);
    CHECK(classesOf(*visit.widget) == Strings{"initial-view", "successfully-registered"});
}

TEST_CASE("confirming a name: several frames later it still was one request")
{
    Visit visit;
    visit.saveName("Ann");
    for (int i = 0; i < 5; ++i)
        visit.answered();
    CHECK(visit.registrations().size() == 1);
}

// ---- The request -----------------------------------------------------------------------------------------------------

TEST_CASE("request: what changes while it waits does not change it")
{
    Visit visit;
    visit.widget->setProperties({"", "ann@example.org", ""});
    visit.host.tesselService().holdRegistrations();
    visit.saveName("Ann"); // holds the background thread
    visit.saveName("Bea");
    visit.widget->setProperties({"Cleo", "cleo@example.org", ""});
    visit.widget->setCode(newCode());
    visit.host.tesselService().releaseRegistrations();
    visit.answered();
    const auto requests = visit.registrations();
    REQUIRE(requests.size() == 2);
    CHECK(requests[0].name == "Ann");
    CHECK(requests[1].name == "Bea");
    for (const auto& request : requests) {
        CHECK(request.code == visit.code);
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
    form.answered();
    REQUIRE(form.registrations().size() == 1);
    CHECK(form.registrations()[0].email == "new@example.org");
}

// ---- Answers ---------------------------------------------------------------------------------------------------------

TEST_CASE("answer: it takes effect after a frame's update, not on the background thread")
{
    Visit visit;
    visit.saveName("Ann");
    visit.waitForAnswer();
    CHECK(classesOf(*visit.widget) == Strings{"email-mode", "initial-view", "registering"});
    visit.host.frame();
    CHECK(classesOf(*visit.widget) == Strings{"email-mode", "initial-view", "successfully-registered"});
}

TEST_CASE("answer: a refusal is shown, the name stays, nothing is logged")
{
    Visit visit;
    visit.host.tesselService().acceptRegistrations(false);
    visit.saveName("Ann");
    visit.answered();
    CHECK(classesOf(*visit.widget) == Strings{"email-mode", "initial-view", "registering-failed"});
    CHECK(visit.textChild("title").text() == "Hi, Ann");
    CHECK(visit.text("user-name").value() == "Ann");
    CHECK(TestSupport::loggedLines().empty());
}

TEST_CASE("answer: a second one is added to the first")
{
    Visit visit;
    visit.host.tesselService().acceptRegistrations(false);
    visit.saveName("Ann");
    visit.answered();
    visit.host.tesselService().acceptRegistrations(true);
    visit.saveName("Bea");
    CHECK(classesOf(*visit.widget) == Strings{"email-mode", "initial-view", "registering", "registering-failed"});
    visit.answered();
    CHECK(classesOf(*visit.widget) == Strings{"email-mode", "initial-view", "registering-failed", "successfully-registered"});
    CHECK(visit.textChild("title").text() == "Hi, Bea");
    visit.tapCancel();
    CHECK(classesOf(*visit.widget) == Strings{"email-mode", "initial-view"});
}

TEST_CASE("answer: after a cancel its class is added all the same")
{
    Visit visit;
    visit.host.tesselService().holdRegistrations();
    visit.saveName("Ann");
    visit.tapCancel();
    CHECK(classesOf(*visit.widget) == Strings{"email-mode", "initial-view"});
    SUBCASE("accepted")
    {
        visit.host.tesselService().releaseRegistrations();
        visit.answered();
        CHECK(classesOf(*visit.widget) == Strings{"email-mode", "initial-view", "successfully-registered"});
    }
    SUBCASE("refused")
    {
        visit.host.tesselService().acceptRegistrations(false);
        visit.host.tesselService().releaseRegistrations();
        visit.answered();
        CHECK(classesOf(*visit.widget) == Strings{"email-mode", "initial-view", "registering-failed"});
    }
}

TEST_CASE("answer: it touches neither items nor attributes")
{
    Visit visit;
    visit.addItem("http://one");
    visit.text("user-page-url").setValue("http://page");
    visit.saveName("Ann");
    visit.write("Bea");
    visit.answered();
    CHECK(visit.contents->items().size() == 1);
    CHECK(visit.text("user-page-url").value() == "http://page");
    CHECK_FALSE(visit.text("user-email").hasValue(Facet::kUserLayer));
    CHECK(visit.field().text() == "Bea");
}

TEST_CASE("answer: it is dropped when the space is gone")
{
    Visit visit;
    visit.host.tesselService().holdRegistrations();
    visit.saveName("Ann");
    SUBCASE("while the service is asked")
    {
        visit.close();
        visit.host.tesselService().releaseRegistrations();
        visit.waitForAnswer();
    }
    SUBCASE("between the answer and the frame")
    {
        visit.host.tesselService().releaseRegistrations();
        visit.waitForAnswer();
        visit.close();
    }
    visit.host.frames(2);
    CHECK(visit.registrations().size() == 1);
    CHECK(TestSupport::loggedLines().empty());
}

TEST_CASE("answer: two spaces get their own")
{
    Visit visit;
    const auto other = Bedrock::makeIntrusive<Tavola::PersonalSpaceWidget>();
    other->setCode(newCode());
    visit.saveName("Ann");
    visit.answered();
    CHECK(visit.hasClass("successfully-registered"));
    CHECK(classesOf(*other) == Strings{"email-mode", "initial-view"});
}

// ---- Without an answer -------------------------------------------------------------------------------------------------

TEST_CASE("no marker service: the space stays registering until the visitor cancels")
{
    Visit visit;
    visit.host.removeTesselService();
    visit.saveName("Ann");
    for (int i = 0; i < 5; ++i)
        visit.answered();
    CHECK(classesOf(*visit.widget) == Strings{"email-mode", "initial-view", "registering"});
    CHECK(visit.textChild("title").text() == "Hi, Ann");
    CHECK(TestSupport::loggedLines().empty());
    visit.tapCancel();
    CHECK(classesOf(*visit.widget) == Strings{"email-mode", "initial-view"});
}

TEST_CASE("no marker service: one that comes later is not asked for what was dropped")
{
    Visit visit;
    visit.host.removeTesselService();
    visit.saveName("Ann");
    visit.waitForAnswer();
    const auto later = std::make_shared<TestSupport::FakeTesselService>();
    visit.host.tavola().services()->setTesselService(later);
    visit.answered();
    CHECK(later->registrations().empty());
    CHECK(visit.hasClass("registering"));
}

TEST_CASE("no application any more: a waiting request is dropped")
{
    Visit visit;
    visit.host.tesselService().holdRegistrations();
    visit.saveName("Ann"); // holds the background thread
    visit.saveName("Bea");
    REQUIRE(visit.host.frameUntil([&] { return visit.registrations().size() == 1; }));
    visit.host.destroyTavola();
    visit.host.tesselService().releaseRegistrations();
    visit.waitForAnswer();
    CHECK(visit.registrations().size() == 1);
}

TEST_CASE("marker service that throws: the visitor sees that registering failed")
{
    Visit visit;
    visit.host.tavola().services()->setTesselService(std::make_shared<BrokenTesselService>());
    TestSupport::expectError("PersonalSpaceWidget::registerUser # Failed to register the owner of card "
                             + std::to_string(visit.code) + " (no database)");
    visit.saveName("Ann");
    for (int i = 0; i < 3; ++i)
        visit.answered();
    CHECK(classesOf(*visit.widget) == Strings{"email-mode", "initial-view", "registering-failed"});
}
