#include "LogCapture.hpp"
#include "MailSpace.hpp"

#include <Trellis/FadeAnimator.hpp>

#include <doctest/doctest.h>

#include <memory>
#include <string>

using PluginTest::addEmailService;
using PluginTest::analyticsOf;
using PluginTest::classesOf;
using PluginTest::emailNotSent;
using PluginTest::emailSent;
using PluginTest::expectFailedMail;
using PluginTest::FakeContent;
using PluginTest::HookedEmailService;
using PluginTest::Mail;
using PluginTest::newCode;
using PluginTest::OpenSpace;
using PluginTest::SentMail;
using PluginTest::Strings;
using PluginTest::widgetInEmail;
using Tavola::PersonalSpaceContents;
using TestSupport::expectWarning;
using Status = Tavola::EmailServiceAPI::EmailStatus;

namespace
{
/// Ann's space, and an e-mail service that runs a function of the test in each call.
struct HookedMail : OpenSpace
{
    std::shared_ptr<HookedEmailService> service = addEmailService<HookedEmailService>(host);
    HookedMail() { widget->setProperties({"Ann", "ann@example.org", ""}); }
};
}

// ---- Sending ---------------------------------------------------------------------------------------------------------

TEST_CASE("sending: everything collected goes into one message to the owner, in the order of the items")
{
    Mail mail;
    mail.service->setTemplate("Dear <name>,<links>Bye");
    mail.addItem("http://one");
    mail.addItem("http://two");
    mail.tapEnvelope();
    REQUIRE(mail.service->sent().size() == 1);
    const auto sent = mail.service->sent()[0];
    CHECK(sent.content == "Dear Ann,\nhttp://one\n\nhttp://two\n\nBye");
    REQUIRE(sent.recipients.size() == 1);
    CHECK(sent.recipients[0].address.address == "ann@example.org");
    CHECK(sent.recipients[0].address.name == "Ann");
    CHECK(sent.recipients[0].type == Tavola::EmailMessage::To);
    CHECK(sent.attachments.empty());
    // Only what a store keeps has to be removed by a later program.
    CHECK(sent.collected.code == 0);
    CHECK(sent.collected.keys.isEmpty());
}

TEST_CASE("sending: the tap ends the initial view and shows that the mail is on its way")
{
    Mail mail;
    mail.tapEnvelope();
    CHECK(classesOf(*mail.widget) == Strings{"email-mode", "sending-email"});
}

TEST_CASE("sending: items are counted one by one before the message is made, and the view has changed by then")
{
    HookedMail mail;
    mail.addItem("http://one", 71);
    mail.addItem("http://two", 70);
    const Strings expected{widgetInEmail(71, "Ann", "ann@example.org"), widgetInEmail(70, "Ann", "ann@example.org")};
    int created = 0;
    int sent = 0;
    mail.service->onCreate = [&] {
        ++created;
        CHECK(sent == 0);
        CHECK(analyticsOf(mail.host) == expected);
        CHECK(classesOf(*mail.widget) == Strings{"email-mode", "has-content", "sending-email"});
        return Tavola::EmailMessage();
    };
    mail.service->onSend = [&](const Tavola::EmailMessage&) {
        ++sent;
        CHECK(created == 1);
        CHECK(analyticsOf(mail.host) == expected);
        return folly::makeFuture(Status{true, {}});
    };
    mail.tapEnvelope();
    CHECK(sent == 1);
    mail.host.frames(3);
    CHECK(created == 1);
    CHECK(sent == 1);
}

TEST_CASE("sending: items are counted when the address form has gone and the sending view shows")
{
    Mail mail;
    mail.widget->setProperties({"Ann", "", ""});
    mail.addItem("http://one");
    mail.tapEnvelope();
    REQUIRE(mail.hasClass("waiting-to-send-email"));
    mail.write("ann@example.org");
    std::vector<Strings> classes;
    const auto before =
        Tavola::DataGathering::setSink([&](const Tavola::DataGathering::Event&) { classes.push_back(classesOf(*mail.widget)); });
    mail.tapEnvelope();
    Tavola::DataGathering::setSink(before);
    CHECK(classes == std::vector<Strings>{{"email-mode", "has-content", "sending-email"}});
}

TEST_CASE("sending: one tap sends one message, however many frames go by")
{
    SentMail mail;
    mail.host.frames(10);
    mail.service->answer(0, {true, {}});
    mail.host.frames(10);
    CHECK(mail.service->sent().size() == 1);
    CHECK(mail.service->created() == 1);
    CHECK(mail.host.analytics().size() == 2);
}

TEST_CASE("sending: a second tap while the message is on its way sends another one")
{
    SentMail mail;
    mail.tapEnvelope();
    REQUIRE(mail.service->sent().size() == 2);
    CHECK(mail.service->sent()[1].content == mail.service->sent()[0].content);
}

TEST_CASE("sending: an empty space is sent as the template with an empty list of links, and counts no items")
{
    Mail mail;
    mail.service->setTemplate("[<links>]");
    mail.tapEnvelope();
    REQUIRE(mail.service->sent().size() == 1);
    CHECK(mail.service->sent()[0].content == "[\n]");
    CHECK(mail.host.analytics().empty());
    mail.succeed();
    CHECK(analyticsOf(mail.host) == Strings{emailSent("Ann", "ann@example.org")});
    CHECK(mail.hasClass("email-successful"));
}

TEST_CASE("sending: an item whose files are not known yet is an empty line among the links")
{
    Mail mail;
    const Bedrock::IntrusivePtr<FakeContent> content(new FakeContent(&mail.host.mainWidget()));
    mail.widget->addWidget(*content);
    mail.tapEnvelope();
    REQUIRE(mail.service->sent().size() == 1);
    CHECK(mail.service->sent()[0].content == "\n\n\n");
    CHECK(analyticsOf(mail.host).back() == widgetInEmail(content->id(), "Ann", "ann@example.org"));
}

TEST_CASE("sending: an attachment that cannot be opened costs only that attachment")
{
    Mail mail;
    PersonalSpaceContents::Item item;
    item.files.files = QList<QString>{"/none/a.txt"};
    mail.contents->addItem(item);
    mail.addItem("http://two");
    expectWarning("createMessage # Failed to open file /none/a.txt for reading");
    mail.tapEnvelope();
    REQUIRE(mail.service->sent().size() == 1);
    CHECK(mail.service->sent()[0].content == "\nhttp://two\n\n");
    CHECK(mail.hasClass("sending-email"));
    CHECK_FALSE(mail.hasClass("email-failed"));
    CHECK(mail.host.analytics().size() == 2);
}

TEST_CASE("sending: before the first code there are no items, and the outcome still shows")
{
    Mail mail(false);
    mail.tapEnvelope();
    REQUIRE(mail.service->sent().size() == 1);
    CHECK(mail.service->sent()[0].content == "\n");
    mail.succeed();
    CHECK(classesOf(*mail.widget) == Strings{"email-successful", "sending-email"});
}

TEST_CASE("sending: it closes the open tooltip")
{
    Mail mail;
    mail.tapHelp();
    mail.host.frames(20);
    REQUIRE(mail.tooltips().size() == 1);
    mail.tapEnvelope();
    mail.host.frame(0.49);
    CHECK(mail.tooltips().size() == 1);
    mail.host.frame(0.02);
    CHECK(mail.tooltips().empty());
}

TEST_CASE("sending: the tooltip closes, then the address form goes, then the sending view shows")
{
    Mail mail;
    mail.widget->setProperties({"Ann", "", ""});
    mail.host.style("PersonalSpaceWidget.waiting-to-send-email { space-title: \"Where to?\" }"
                    "PersonalSpaceWidget.sending-email { space-title: \"Under way\" }");
    mail.tapEnvelope();
    mail.write("ann@example.org");
    mail.tapInfo();
    REQUIRE(mail.tooltips().size() == 1);
    const Bedrock::IntrusivePtr<Trellis::Widget> tooltip(mail.tooltips().front());
    Strings steps;
    mail.text("space-title").addListener([&] {
        steps.push_back(mail.text("space-title").value().toStdString()
                        + (Trellis::FadeAnimator::isFadingOut(*tooltip) ? ", closing" : ", open"));
    });
    mail.tapEnvelope();
    CHECK(steps == Strings{", closing", "Under way, closing"});
}

TEST_CASE("sending: a finger on the envelope starts it")
{
    Mail mail;
    mail.showOnly(".envelope", "left: 300px; top: 250px; width: 80px; height: 40px");
    mail.host.tap({440.f, 370.f});
    CHECK(mail.service->sent().size() == 1);
    CHECK_FALSE(mail.hasClass("initial-view"));
}

// ---- No message ------------------------------------------------------------------------------------------------------

TEST_CASE("no service: it is logged and shown at once, items are counted, the mail is not")
{
    OpenSpace space;
    space.widget->setProperties({"Ann", "ann@example.org", ""});
    space.addItem("http://one", 71);
    expectFailedMail("No email service configured");
    space.tapEnvelope();
    CHECK(classesOf(*space.widget) == Strings{"email-failed", "email-mode", "has-content", "sending-email"});
    space.host.frames(3);
    CHECK(analyticsOf(space.host) == Strings{widgetInEmail(71, "Ann", "ann@example.org")});
    CHECK(space.contents->items().size() == 1);
}

// ---- Outcomes --------------------------------------------------------------------------------------------------------

TEST_CASE("success: the outcome is added beside the sending view, the space is emptied, the mail is counted")
{
    SentMail mail;
    mail.succeed();
    CHECK(classesOf(*mail.widget) == Strings{"email-mode", "email-successful", "sending-email"});
    CHECK(mail.contents->items().empty());
    CHECK(analyticsOf(mail.host) == Strings{widgetInEmail(71, "Ann", "ann@example.org"), emailSent("Ann", "ann@example.org")});
}

TEST_CASE("success: the media server keeps what was sent, although the space is emptied")
{
    Mail mail;
    mail.mode().setValue(OpenSpace::Mode::Upload);
    PersonalSpaceContents::Item item;
    item.files.sources = QList<QString>{"http://one"};
    item.status = PersonalSpaceContents::ItemStatus::Uploaded;
    mail.contents->addItem(item);
    int announced = 0;
    mail.widget->findByType("PersonalSpaceContentWidget")->eventAddListener("before-remove-item", [&] { ++announced; });
    mail.tapEnvelope();
    mail.succeed();
    CHECK(mail.contents->items().empty());
    CHECK(announced == 0);
    CHECK(mail.host.mediaServer().commands("deleteitem").empty());
}

TEST_CASE("success: an error text beside it is not counted")
{
    Mail mail;
    mail.tapEnvelope();
    mail.service->answer(0, {true, "queued"});
    mail.host.frame();
    CHECK(mail.hasClass("email-successful"));
    CHECK(analyticsOf(mail.host) == Strings{emailSent("Ann", "ann@example.org")});
}

TEST_CASE("success: the space is emptied before the mail is counted")
{
    SentMail mail;
    std::size_t countedBefore = 0;
    bool shownBefore = false;
    mail.contents->eventAddListener("item-removed", [&] {
        countedBefore = mail.host.analytics().size();
        shownBefore = mail.hasClass("email-successful");
    });
    mail.succeed();
    CHECK(countedBefore == 1);
    CHECK(shownBefore);
    CHECK(mail.host.analytics().size() == 2);
}

TEST_CASE("success: items that were collected meanwhile are removed as well")
{
    SentMail mail;
    mail.addItem("http://late");
    mail.succeed();
    CHECK(mail.service->sent()[0].content == "\nhttp://one\n\n");
    CHECK(mail.contents->items().empty());
}

TEST_CASE("success: the input field is empty and accepts names from then on")
{
    Mail mail;
    mail.tapEnvelope();
    mail.write("half");
    mail.succeed();
    CHECK(mail.field().text().isEmpty());
    mail.write("   ");
    mail.field().validate();
    CHECK_FALSE(mail.field().isValid());
    mail.write("Ann");
    mail.field().validate();
    CHECK(mail.field().isValid());
}

TEST_CASE("outcome: it comes after a frame's update, also when the answer was there at once")
{
    Mail mail;
    mail.service->holdAnswers(false);
    mail.addItem("http://one");
    mail.tapEnvelope();
    CHECK(classesOf(*mail.widget) == Strings{"email-mode", "has-content", "sending-email"});
    CHECK(mail.contents->items().size() == 1);
    mail.host.frame();
    CHECK(mail.hasClass("email-successful"));
    CHECK(mail.contents->items().empty());
}

TEST_CASE("outcome: an answer from another thread is shown in the next frame")
{
    for (const bool isSuccess : {true, false}) {
        CAPTURE(isSuccess);
        SentMail mail;
        const char* shown = isSuccess ? "email-successful" : "email-failed";
        if (isSuccess) {
            mail.service->answerFromThread(0, {true, {}});
        } else {
            expectFailedMail("line is down");
            mail.service->failFromThread(0, "line is down");
        }
        CHECK_FALSE(mail.hasClass(shown));
        CHECK(mail.contents->items().size() == 1);
        mail.host.frame();
        CHECK(mail.hasClass(shown));
    }
}

TEST_CASE("failure: of whatever kind, it is logged, shown and counted with its text, and all items stay in place")
{
    for (const PluginTest::FailingSend& row : PluginTest::failingSends()) {
        CAPTURE(row.what);
        HookedMail mail;
        mail.service->onSend = row.send;
        const long first = mail.addItem("http://one", 71);
        const long second = mail.addItem("http://two", 72);
        const std::size_t logged = TestSupport::loggedLines().size();
        CHECK_NOTHROW(mail.tapEnvelope());
        mail.write("half");
        CHECK_FALSE(mail.hasClass("email-failed"));
        CHECK(TestSupport::loggedLines().size() == logged);
        expectFailedMail(row.text);
        mail.host.frame();
        CHECK(classesOf(*mail.widget) == Strings{"email-failed", "email-mode", "has-content", "sending-email"});
        CHECK(mail.contents->items().size() == 2);
        CHECK(mail.contents->items().count(first) == 1);
        CHECK(mail.contents->items().count(second) == 1);
        CHECK(mail.field().text() == "half");
        CHECK(analyticsOf(mail.host)
              == Strings{widgetInEmail(71, "Ann", "ann@example.org"), widgetInEmail(72, "Ann", "ann@example.org"),
                         emailNotSent("Ann", "ann@example.org", QString::fromUtf8(row.text))});
    }
}

TEST_CASE("failure: the visitor may try again, and the outcome is added to the one before")
{
    SentMail mail;
    expectFailedMail("no");
    mail.service->answer(0, {false, "no"});
    mail.host.frame();
    mail.tapEnvelope();
    REQUIRE(mail.service->sent().size() == 2);
    CHECK(mail.service->sent()[1].content == "\nhttp://one\n\n");
    CHECK(mail.hasClass("email-failed"));
    mail.service->answer(1, {true, {}});
    mail.host.frame();
    CHECK(classesOf(*mail.widget) == Strings{"email-failed", "email-mode", "email-successful", "sending-email"});
    mail.tapCancel();
    CHECK(classesOf(*mail.widget) == Strings{"email-mode", "initial-view"});
}

TEST_CASE("outcome: after a cancel it still is added, for the mail was sent")
{
    SentMail mail;
    mail.tapCancel();
    mail.succeed();
    CHECK(classesOf(*mail.widget) == Strings{"email-mode", "email-successful", "initial-view"});
    CHECK(mail.contents->items().empty());
}

// ---- What changes meanwhile ------------------------------------------------------------------------------------------

TEST_CASE("meanwhile: editing name or address does not change what is counted and logged")
{
    for (const char* outcome : {"success", "failure", "exception"}) {
        CAPTURE(outcome);
        SentMail mail;
        mail.widget->setProperties({"Bob", "bob@example.org", ""});
        const bool isSuccess = outcome == std::string("success");
        if (isSuccess)
            mail.service->answer(0, {true, {}});
        else if (expectFailedMail(outcome); outcome == std::string("failure"))
            mail.service->answer(0, {false, outcome});
        else
            mail.service->fail(0, outcome);
        mail.host.frame();
        CHECK(analyticsOf(mail.host).back()
              == (isSuccess ? emailSent("Ann", "ann@example.org") : emailNotSent("Ann", "ann@example.org", outcome)));
        CHECK(mail.host.analytics().size() == 2);
    }
}

TEST_CASE(
    "meanwhile: with another code set, a success removes the items of that code, or of the one sent when the space is closed")
{
    for (const bool isClosed : {false, true}) {
        CAPTURE(isClosed);
        SentMail mail;
        const auto other = newCode();
        mail.widget->setCode(other);
        const auto otherContents = PersonalSpaceContents::personalContent(other);
        otherContents->addItem({});
        if (isClosed)
            mail.close();
        mail.succeed();
        CHECK(otherContents->items().size() == (isClosed ? 1 : 0));
        CHECK(mail.contents->items().size() == (isClosed ? 0 : 1));
        if (!isClosed)
            CHECK(mail.hasClass("email-successful"));
    }
}
