#include "PopupFixture.hpp"

#include <stdexcept>

using PluginTest::analyticsOf;
using PluginTest::childOfClass;
using PluginTest::classesOf;
using PluginTest::emailNotSent;
using PluginTest::emailSent;
using PluginTest::expectFailure;
using PluginTest::expectSendFailure;
using PluginTest::kAddress;
using PluginTest::Popup;
using PluginTest::Strings;
using PluginTest::widgetInEmail;
using HookedMail = PluginTest::HookedPopupMail;
using Level = Bedrock::Trace::Level;
using Mail = PluginTest::PopupMail;

namespace
{
/// The ways in which a service ends a message.
enum class Answer { Success, Refusal, Exception };
constexpr Answer kAnswers[] = {Answer::Success, Answer::Refusal, Answer::Exception};

/// Ends the message in flight; a failure has the text "no".
void end(Mail& mail, Answer answer)
{
    if (answer == Answer::Exception)
        mail.service->fail(0, "no");
    else
        mail.service->answer(0, {answer == Answer::Success, answer == Answer::Success ? "" : "no"});
}
/// The same, with the log lines of a popup that shows the outcome announced.
void endAndShow(Mail& mail, Answer answer)
{
    if (answer != Answer::Success)
        expectSendFailure("no");
    end(mail, answer);
}
Strings shownAfter(Answer answer)
{
    return {answer == Answer::Success ? "email-successful" : "email-failed"};
}
}

// ---- Outcomes ------------------------------------------------------------------------------------------------------------

TEST_CASE("success: it is shown and counted after a frame's update")
{
    Mail mail;
    mail.send();
    mail.service->answer(0, {true, "queued"});
    CHECK(classesOf(*mail.widget) == Strings{"sending-email"});
    CHECK(mail.host.analytics().size() == 1);
    mail.host.frame();
    CHECK(classesOf(*mail.widget) == Strings{"email-successful"});
    CHECK(analyticsOf(mail.host) == mail.counted(emailSent("Ann", kAddress)));
    mail.host.frames(5);
    CHECK(mail.sent() == 1);
    CHECK(mail.host.analytics().size() == 2);
}

TEST_CASE("success: an answer that was there at once, or comes from another thread, waits for the frame")
{
    for (const bool isAtOnce : {true, false}) {
        CAPTURE(isAtOnce);
        Mail mail;
        mail.service->holdAnswers(!isAtOnce);
        mail.send();
        if (!isAtOnce)
            mail.service->answerFromThread(0, {true, {}});
        CHECK(classesOf(*mail.widget) == Strings{"sending-email"});
        mail.host.frame();
        CHECK(classesOf(*mail.widget) == Strings{"email-successful"});
    }
}

TEST_CASE("outcome: the sending view ends before the outcome shows")
{
    for (const Answer answer : kAnswers) {
        CAPTURE(int(answer));
        Mail mail;
        mail.host.style("EmailSendingPopupWidget.email-successful .info { text: \"Sent\" }"
                        "EmailSendingPopupWidget.email-failed .info { text: \"Not sent\" }");
        mail.send();
        Strings views;
        mail.info().attribute("text")->addListener([&] { views.push_back(mail.info().text().toStdString()); });
        endAndShow(mail, answer);
        mail.host.frame();
        CHECK(views == Strings{"Mail", answer == Answer::Success ? "Sent" : "Not sent"});
    }
}

TEST_CASE("outcome: it shows, and a failure is in the log, by the time it is counted")
{
    for (const Answer answer : kAnswers) {
        CAPTURE(int(answer));
        Mail mail;
        mail.send();
        Strings shown;
        const auto logged = TestSupport::loggedLines().size();
        std::size_t lines = 0;
        const auto before = Tavola::DataGathering::setSink([&](const Tavola::DataGathering::Event&) {
            shown = classesOf(*mail.widget);
            lines = TestSupport::loggedLines().size() - logged;
        });
        endAndShow(mail, answer);
        mail.host.frame();
        CHECK(shown == shownAfter(answer));
        CHECK(lines == (answer == Answer::Success ? 0u : 2u));
        (void)Tavola::DataGathering::setSink(before);
    }
}

TEST_CASE("failure: a refused mail is logged as an error and as a warning, shown and counted")
{
    Mail mail;
    mail.send();
    expectSendFailure("mailbox full: 100%s");
    mail.service->answer(0, {false, "mailbox full: 100%s"});
    mail.host.frame();
    CHECK(classesOf(*mail.widget) == Strings{"email-failed"});
    CHECK(analyticsOf(mail.host) == mail.counted(emailNotSent("Ann", kAddress, "mailbox full: 100%s")));
    const auto lines = TestSupport::loggedLines();
    REQUIRE(lines.size() == 2);
    CHECK(lines[0].level == Level::Error);
    CHECK(lines[1].level == Level::Warning);
    mail.host.frames(5);
    CHECK(mail.sent() == 1);
}

TEST_CASE("failure: it is logged before the view changes")
{
    Mail mail;
    mail.send();
    std::vector<Strings> shown;
    Bedrock::Trace::Sink before;
    before = Bedrock::Trace::setSink([&](Level level, const std::string& line) {
        shown.push_back(classesOf(*mail.widget));
        before(level, line);
    });
    endAndShow(mail, Answer::Refusal);
    mail.host.frame();
    (void)Bedrock::Trace::setSink(before);
    CHECK(shown == std::vector<Strings>(2, Strings{"sending-email"}));
    CHECK(classesOf(*mail.widget) == Strings{"email-failed"});
}

TEST_CASE("failure: of whatever kind, it is logged, shown and counted by its own text")
{
    for (const PluginTest::FailingSend& row : PluginTest::failingSends()) {
        CAPTURE(row.what);
        HookedMail mail;
        mail.service->onSend = row.send;
        expectSendFailure(row.text);
        mail.email(false);
        mail.giveFiles();
        mail.host.frame();
        CHECK(classesOf(*mail.widget) == Strings{"email-failed"});
        CHECK(analyticsOf(mail.host)
              == Strings{widgetInEmail(mail.contentId, "Ann", kAddress),
                         emailNotSent("Ann", kAddress, QString::fromUtf8(row.text))});
    }
}

TEST_CASE("failure: without an e-mail service the widget is counted, the mail is not")
{
    Popup popup;
    popup.email(false);
    expectFailure("No email service configured");
    popup.giveFiles();
    CHECK(classesOf(*popup.widget) == Strings{"email-failed"});
    popup.host.frames(3);
    CHECK(analyticsOf(popup.host) == Strings{widgetInEmail(popup.contentId, "Ann", kAddress)});
}

TEST_CASE("failure: files that fail, or are not given, are logged and shown, nothing is sent or counted")
{
    struct Row
    {
        const char* what;
        void (*fail)(Mail&);
        const char* text;
    };
    const Row rows[] = {
        {"with a text", [](Mail& mail) { mail.content->filesPromise.setException(std::runtime_error("keine Datei ä")); },
         "keine Datei ä"},
        {"with an object that has none",
         [](Mail& mail) { mail.content->filesPromise.setException(folly::exception_wrapper(std::make_exception_ptr(42))); }, ""},
        {"a broken promise",
         [](Mail& mail) {
             mail.content->breaksPromises = true;
             mail.content->removeFromParent();
             mail.content.reset();
         },
         "Broken promise for type name `Tavola::FileRepresentation::FileData`"},
        {"content that throws when it is asked for them", [](Mail&) {}, "unreadable"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.what);
        Mail mail;
        if (row.text == std::string("unreadable"))
            mail.content->throwOnFiles = row.text;
        expectFailure(row.text);
        mail.email(false);
        row.fail(mail);
        CHECK(classesOf(*mail.widget).empty());
        mail.host.frames(2);
        CHECK(classesOf(*mail.widget) == Strings{"email-failed"});
        CHECK(mail.service->created() == 0);
        CHECK(mail.host.analytics().empty());
    }
}

TEST_CASE("failure: when files fail while the popup waits for the button, it still waits")
{
    Mail mail;
    mail.email(true);
    expectFailure("no file");
    mail.content->filesPromise.setException(std::runtime_error("no file"));
    mail.host.frame();
    CHECK(classesOf(*mail.widget) == Strings{"email-failed", "waiting-to-send"});
    mail.tapSend();
    mail.host.frame();
    CHECK(mail.service->created() == 0);
    CHECK(classesOf(*mail.widget) == Strings{"email-failed", "waiting-to-send"});
}

TEST_CASE("outcome: the popup does not try again by itself, a further tap on the button does")
{
    Mail mail;
    mail.send();
    expectSendFailure("no");
    mail.service->answer(0, {false, "no"});
    mail.host.frames(10);
    CHECK(mail.sent() == 1);
    mail.tapSend();
    CHECK(mail.sent() == 2);
    CHECK(mail.service->sent()[1].content == mail.service->sent()[0].content);
    CHECK(classesOf(*mail.widget) == Strings{"email-failed", "sending-email"});
    mail.service->answer(1, {true, {}});
    mail.host.frame();
    CHECK(classesOf(*mail.widget) == Strings{"email-failed", "email-successful"});
    CHECK(mail.host.analytics().size() == 4);
}

// ---- Closing -----------------------------------------------------------------------------------------------------------------

TEST_CASE("closing: ten seconds after the outcome it fades out within a fifth of a second")
{
    for (const Answer answer : kAnswers) {
        CAPTURE(int(answer));
        Mail mail;
        mail.send();
        mail.pass(3);
        CHECK_FALSE(mail.isFadingOut());
        endAndShow(mail, answer);
        mail.host.frame(0);
        mail.pass(9.95);
        CHECK_FALSE(mail.isFadingOut());
        CHECK(mail.widget->opacity() == 1.f);
        mail.pass(0.06);
        CHECK(mail.isFadingOut());
        mail.host.frame(0.17);
        CHECK(mail.isOnTable());
        mail.host.frame(0.04);
        CHECK_FALSE(mail.isOnTable());
    }
}

TEST_CASE("closing: without an outcome it stays")
{
    Mail mail;
    SUBCASE("waiting for the files")
    {
        mail.email(false);
    }
    SUBCASE("waiting for the button")
    {
        mail.email(true);
        mail.giveFiles();
    }
    SUBCASE("in flight")
    {
        mail.send();
    }
    for (int i = 0; i < 20; ++i)
        mail.host.frame(1);
    CHECK(mail.isOnTable());
    CHECK_FALSE(mail.isFadingOut());
}

TEST_CASE("closing: a touch starts the ten seconds anew")
{
    Mail mail;
    mail.send();
    mail.service->answer(0, {true, {}});
    mail.host.frame(0);
    mail.pass(8);
    mail.host.tap({650.f, 520.f});
    mail.pass(9.9);
    CHECK_FALSE(mail.isFadingOut());
    mail.pass(0.2);
    CHECK(mail.isFadingOut());
}

// ---- Destroyed
// --------------------------------------------------------------------------------------------------------------------

TEST_CASE("destroyed: before the files are known, nothing happens when they arrive")
{
    for (const bool popupFirst : {true, false})
        for (const bool fails : {true, false}) {
            CAPTURE(popupFirst);
            CAPTURE(fails);
            Mail mail;
            mail.email(false);
            if (popupFirst)
                mail.close();
            if (fails)
                mail.content->filesPromise.setException(std::runtime_error("no file"));
            else
                mail.content->giveFiles("http://a");
            if (!popupFirst)
                mail.close();
            mail.host.frames(2);
            CHECK(mail.service->created() == 0);
            CHECK(mail.host.analytics().empty());
            CHECK(TestSupport::loggedLines().empty());
        }
}

TEST_CASE("destroyed: while it waits for the button, nothing is sent")
{
    Mail mail;
    mail.email(true);
    mail.giveFiles();
    mail.close();
    mail.host.frames(2);
    CHECK(mail.service->created() == 0);
    CHECK(mail.host.analytics().empty());
}

TEST_CASE("destroyed: while the message is in flight, the mail is still counted and nothing else happens")
{
    for (const bool popupFirst : {true, false})
        for (const Answer answer : kAnswers) {
            CAPTURE(popupFirst);
            CAPTURE(int(answer));
            Mail mail;
            mail.send();
            if (popupFirst)
                mail.close();
            end(mail, answer);
            if (!popupFirst)
                mail.close();
            mail.host.frames(2);
            CHECK(analyticsOf(mail.host)
                  == mail.counted(answer == Answer::Success ? emailSent("Ann", kAddress) : emailNotSent("Ann", kAddress, "no")));
            CHECK(TestSupport::loggedLines().empty());
        }
}

TEST_CASE("destroyed: buttons that outlive the popup do nothing")
{
    Mail mail;
    mail.email(true);
    mail.giveFiles();
    const Bedrock::IntrusivePtr<Trellis::Widget> send(&childOfClass(*mail.widget, "send-button"));
    const Bedrock::IntrusivePtr<Trellis::Widget> cancel(&childOfClass(*mail.widget, "cancel-button"));
    mail.close();
    send->eventSend("single-tap");
    cancel->eventSend("single-tap");
    mail.host.frames(2);
    CHECK(mail.service->created() == 0);
}

TEST_CASE("destroyed: content that is destroyed after it gave its files is sent all the same")
{
    Mail mail;
    mail.email(true);
    mail.giveFiles();
    mail.content->removeFromParent();
    mail.content.reset();
    mail.host.frames(2);
    mail.tapSend();
    REQUIRE(mail.sent() == 1);
    CHECK(analyticsOf(mail.host) == Strings{widgetInEmail(mail.contentId, "Ann", kAddress)});
}
