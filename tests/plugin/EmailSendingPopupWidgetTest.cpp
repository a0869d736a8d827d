#include "email/EmailSendingPopupWidget.hpp"

#include "EmailSupport.hpp"
#include "LogCapture.hpp"
#include "email/EnvelopeWidget.hpp"
#include "frame/PersonalComponents.hpp"

#include <Tavola/Component.hpp>
#include <Trellis/FadeAnimator.hpp>
#include <Trellis/ImageTileWidget.hpp>
#include <Trellis/TextWidget.hpp>

#include <QFile>
#include <QTemporaryDir>

#include <doctest/doctest.h>

#include <stdexcept>

using PluginTest::addEmailService;
using PluginTest::analyticsOf;
using PluginTest::childOfClass;
using PluginTest::classesOf;
using PluginTest::emailNotSent;
using PluginTest::emailSent;
using PluginTest::FakeContent;
using PluginTest::HookedEmailService;
using PluginTest::PlainContent;
using PluginTest::Strings;
using PluginTest::widgetInEmail;
using Tavola::EmailSendingPopupWidget;
using TestSupport::expectError;
using TestSupport::expectWarning;
using TestSupport::FakeEmailService;
using TestSupport::TestHost;
using Trellis::FadeAnimator;
using Status = Tavola::EmailServiceAPI::EmailStatus;
using Level = Bedrock::Trace::Level;

namespace
{
const char* const kAddress = "ann@example.org";

void expectFailure(const std::string& text)
{
    expectWarning("EmailSendingPopupWidget # Failed to send email (" + text + ")");
}
/// A message that was made and could not be sent is an error as well.
void expectSendFailure(const std::string& text)
{
    expectError("PersonalSpaceWidget::emailContents # Failed to send email to ann@example.org (" + text + ")");
    expectFailure(text);
}

/// A popup on the table and content that gives its files when the test says so.
struct Popup
{
    TestHost host;
    Bedrock::IntrusivePtr<EmailSendingPopupWidget> widget = Bedrock::makeIntrusive<EmailSendingPopupWidget>();
    Bedrock::IntrusivePtr<FakeContent> content{new FakeContent(&host.mainWidget())};
    long contentId = content->id();

    Popup()
    {
        host.style("EmailSendingPopupWidget { width: 300px; height: 200px; position: absolute }"
                   "EmailSendingPopupWidget > * { position: absolute; width: 10px; height: 10px }"
                   "EmailSendingPopupWidget > .send-button { left: 20px; top: 150px; width: 80px; height: 40px }"
                   "EmailSendingPopupWidget > .cancel-button { left: 200px; top: 150px; width: 80px; height: 40px }"
                   "EmailSendingPopupWidget > .popup-background { left: 0; top: 0; width: 300px; height: 200px }"
                   "EmailSendingPopupWidget .info { text: \"Mail\" }"
                   "EmailSendingPopupWidget.waiting-to-send .info { text: \"Send to %1?\" }"
                   "EmailSendingPopupWidget.sending-email .info { text: \"On its way\" }");
        widget->postConstruct();
        host.mainWidget().addChild(widget);
        widget->setLocation({500.f, 500.f});
        host.frame(0);
    }
    void email(bool confirm) { widget->emailWidget(*content, confirm, {"Ann", kAddress, "key"}); }
    void tapSend() { childOfClass(*widget, "send-button").eventSend("single-tap"); }
    void tapCancel() { childOfClass(*widget, "cancel-button").eventSend("single-tap"); }
    void giveFiles()
    {
        content->giveFiles("http://a");
        host.frame();
    }
    Trellis::TextWidget& info() const { return childOfClass<Trellis::TextWidget>(*widget, "info"); }
    bool infoIsStyled() const { return !info().attribute("text")->hasValue(Facet::kUserLayer); }
    bool isOnTable() const { return widget->parent() != nullptr; }
    bool isFadingOut() const { return FadeAnimator::isFadingOut(*widget); }
    void close()
    {
        widget->removeFromParent();
        widget.reset();
        host.app().destroyRemovedWidgets();
    }
    void pass(double seconds)
    {
        for (int i = 0; i < int(seconds * 100 + 0.5); ++i)
            host.frame(0.01);
    }
};

/// With a service that answers when the test says so.
struct Mail : Popup
{
    std::shared_ptr<FakeEmailService> service = addEmailService<FakeEmailService>(host);
    PluginTest::AnswerAtEnd answerAtEnd{service};
    Mail() { service->holdAnswers(true); }
    std::size_t sent() const { return service->sent().size(); }
    /// As far as the message in flight.
    void send()
    {
        email(false);
        giveFiles();
        REQUIRE(sent() == 1);
    }
    Strings counted(const std::string& outcome) const { return {widgetInEmail(contentId, "Ann", kAddress), outcome}; }
};

/// With a service that does something at the moment of each call.
struct HookedMail : Popup
{
    std::shared_ptr<HookedEmailService> service = addEmailService<HookedEmailService>(host);
};
}

// ---- Construction ------------------------------------------------------------------------------------------------------

TEST_CASE("popup: its type and its children are as style sheets know them")
{
    Popup popup;
    CHECK(popup.widget->cssType() == "EmailSendingPopupWidget");
    CHECK(classesOf(*popup.widget).empty());
    CHECK(popup.widget->children().size() == 5);
    CHECK(dynamic_cast<Trellis::TextWidget*>(&childOfClass(*popup.widget, "send-button")));
    CHECK(dynamic_cast<Trellis::TextWidget*>(&childOfClass(*popup.widget, "cancel-button")));
    CHECK(dynamic_cast<Trellis::ImageTileWidget*>(&childOfClass(*popup.widget, "popup-background")));
    CHECK(dynamic_cast<Trellis::TextWidget*>(&childOfClass(*popup.widget, "info")));
    CHECK(dynamic_cast<Tavola::EnvelopeWidget*>(&childOfClass(*popup.widget, "envelope")));
    for (const auto& child : popup.widget->children())
        CHECK(child->cssClasses().size() == 1);
}

TEST_CASE("popup: the ground is below everything else")
{
    Popup popup;
    Strings order;
    for (const auto& child : popup.widget->children())
        order.push_back(classesOf(*child).front());
    CHECK(order == Strings{"popup-background", "send-button", "cancel-button", "info", "envelope"});
}

TEST_CASE("popup: its stylable texts are the buttons and the information, in this order")
{
    Popup popup;
    const auto texts = popup.widget->stylableWidgets();
    REQUIRE(texts.size() == 3);
    CHECK(texts[0].get() == &childOfClass(*popup.widget, "send-button"));
    CHECK(texts[1].get() == &childOfClass(*popup.widget, "cancel-button"));
    CHECK(texts[2].get() == &popup.info());
    const Trellis::Widget& asWidget = *popup.widget;
    CHECK(dynamic_cast<const Tavola::StylableTextHost*>(&asWidget));
}

TEST_CASE("popup: as a component it is made anew each time")
{
    TestHost host;
    const auto first = Tavola::makeEmailPopupComponent()->createContentWidget();
    const auto second = Tavola::makeEmailPopupComponent()->createContentWidget();
    CHECK(Bedrock::dynamicPointerCast<EmailSendingPopupWidget>(first));
    CHECK(first != second);
}

// ---- Without confirmation ------------------------------------------------------------------------------------------------

TEST_CASE("direct: it sends as soon as the files are known")
{
    Mail mail;
    mail.service->setTemplate("Dear <name>,<links>Bye");
    mail.email(false);
    CHECK(classesOf(*mail.widget).empty());
    mail.host.frames(3);
    CHECK(mail.service->created() == 0);
    CHECK(mail.host.analytics().empty());
    mail.content->giveFiles("http://a");
    CHECK(mail.sent() == 0);
    mail.host.frame();
    REQUIRE(mail.sent() == 1);
    CHECK(classesOf(*mail.widget) == Strings{"sending-email"});
    const auto sent = mail.service->sent()[0];
    CHECK(sent.content == "Dear Ann,\nhttp://a\n\nBye");
    REQUIRE(sent.recipients.size() == 1);
    CHECK(sent.recipients[0].address.address == kAddress);
    CHECK(sent.recipients[0].address.name == "Ann");
    CHECK(analyticsOf(mail.host) == Strings{widgetInEmail(mail.contentId, "Ann", kAddress)});
    CHECK(mail.content->filesCalls == 1);
    CHECK(mail.content->previewCalls == 0);
}

TEST_CASE("direct: the information text keeps its styled text, no address is put in")
{
    Mail mail;
    mail.email(false);
    CHECK(mail.info().text() == "Mail");
    CHECK(mail.infoIsStyled());
    mail.giveFiles();
    CHECK(mail.info().text() == "On its way");
    CHECK(mail.infoIsStyled());
}

TEST_CASE("direct: files that were known at once are sent after a frame's update")
{
    Mail mail;
    mail.content->giveFiles("http://a");
    mail.email(false);
    CHECK(mail.sent() == 0);
    CHECK(classesOf(*mail.widget).empty());
    mail.host.frame();
    CHECK(mail.sent() == 1);
}

TEST_CASE("direct: content that does not know its files is described by the host")
{
    Mail mail;
    const Bedrock::IntrusivePtr<PlainContent> plain(new PlainContent(&mail.host.mainWidget()));
    plain->source.setValue("https://example.org/page");
    mail.widget->emailWidget(*plain, false, {"Ann", kAddress, ""});
    plain->removeFromParent();
    mail.host.frame();
    REQUIRE(mail.sent() == 1);
    CHECK(mail.service->sent()[0].content.startsWith("\nhttps://example.org/page\n\n"));
    CHECK(analyticsOf(mail.host) == Strings{widgetInEmail(plain->id(), "Ann", kAddress)});
}

TEST_CASE("direct: content of which nothing is known is sent as an empty line among the links")
{
    Mail mail;
    mail.email(false);
    mail.content->filesPromise.setValue(Tavola::FileRepresentation::FileData());
    mail.host.frame();
    REQUIRE(mail.sent() == 1);
    CHECK(mail.service->sent()[0].content == "\n\n\n");
}

TEST_CASE("direct: files are attached, one that cannot be opened costs only itself")
{
    Mail mail;
    QTemporaryDir folder;
    QFile file(folder.filePath("a.txt"));
    REQUIRE(file.open(QIODevice::WriteOnly));
    file.write("hello");
    file.close();
    mail.email(false);
    Tavola::FileRepresentation::FileData data;
    data.files = QList<QString>{"/none/b.txt", file.fileName()};
    mail.content->filesPromise.setValue(data);
    expectWarning("createMessage # Failed to open file /none/b.txt for reading");
    mail.host.frame();
    REQUIRE(mail.sent() == 1);
    REQUIRE(mail.service->sent()[0].attachments.size() == 1);
    CHECK(mail.service->sent()[0].attachments[0].fileName == "a.txt");
    CHECK(mail.service->sent()[0].attachments[0].bytes == QByteArray("hello"));
    CHECK(classesOf(*mail.widget) == Strings{"sending-email"});
}

TEST_CASE("sending: the widget is counted before the message is made, and the view has changed by then")
{
    HookedMail mail;
    const Strings expected{widgetInEmail(mail.contentId, "Ann", kAddress)};
    Strings calls;
    const auto look = [&](const char* call) {
        calls.push_back(call);
        CHECK(analyticsOf(mail.host) == expected);
        CHECK(classesOf(*mail.widget) == Strings{"sending-email"});
        CHECK(mail.info().text() == "On its way");
    };
    mail.service->onCreate = [&] {
        look("create");
        return Tavola::EmailMessage();
    };
    mail.service->onSend = [&](const Tavola::EmailMessage&) {
        look("send");
        return folly::makeFuture(Status{true, {}});
    };
    mail.email(true);
    mail.giveFiles();
    CHECK(calls.empty());
    mail.tapSend();
    CHECK(calls == Strings{"create", "send"});
    mail.host.frames(5);
    CHECK(calls.size() == 2);
}

// ---- With confirmation ---------------------------------------------------------------------------------------------------

TEST_CASE("confirming: the styled text of the waiting view is shown with the address in it")
{
    Mail mail;
    mail.email(true);
    CHECK(classesOf(*mail.widget) == Strings{"waiting-to-send"});
    CHECK(mail.info().text() == "Send to ann@example.org?");
    mail.host.frames(3);
    CHECK(mail.info().text() == "Send to ann@example.org?");
}

TEST_CASE("confirming: files that arrive first wait for the tap")
{
    Mail mail;
    mail.email(true);
    mail.giveFiles();
    mail.host.frames(5);
    CHECK(mail.service->created() == 0);
    CHECK(mail.host.analytics().empty());
    CHECK(classesOf(*mail.widget) == Strings{"waiting-to-send"});
    mail.tapSend();
    CHECK(mail.sent() == 1);
    CHECK(classesOf(*mail.widget) == Strings{"sending-email"});
    CHECK(mail.info().text() == "On its way");
    CHECK(mail.infoIsStyled());
}

TEST_CASE("confirming: a tap before the files are known sends as soon as they arrive")
{
    Mail mail;
    mail.email(true);
    mail.tapSend();
    mail.host.frames(3);
    CHECK(mail.service->created() == 0);
    CHECK(mail.host.analytics().empty());
    CHECK(classesOf(*mail.widget) == Strings{"waiting-to-send"});
    CHECK(mail.info().text() == "Send to ann@example.org?");
    mail.giveFiles();
    CHECK(mail.sent() == 1);
    CHECK(classesOf(*mail.widget) == Strings{"sending-email"});
    mail.host.frames(3);
    CHECK(mail.sent() == 1);
}

TEST_CASE("confirming: fingers find the buttons above the ground")
{
    Mail mail;
    mail.email(true);
    mail.giveFiles();
    SUBCASE("send")
    {
        mail.host.tap({560.f, 670.f});
        CHECK(mail.sent() == 1);
        CHECK_FALSE(mail.isFadingOut());
    }
    SUBCASE("cancel")
    {
        mail.host.tap({740.f, 670.f});
        CHECK(mail.sent() == 0);
        CHECK(mail.isFadingOut());
    }
    SUBCASE("neither")
    {
        mail.host.tap({650.f, 520.f});
        CHECK(mail.sent() == 0);
        CHECK_FALSE(mail.isFadingOut());
    }
}

TEST_CASE("cancel: after the files came nothing is sent, and the popup is gone after a fifth of a second")
{
    Mail mail;
    mail.email(true);
    mail.giveFiles();
    mail.tapCancel();
    CHECK(mail.isFadingOut());
    mail.host.frame(0.19);
    CHECK(mail.isOnTable());
    mail.host.frame(0.02);
    CHECK_FALSE(mail.isOnTable());
    mail.host.frames(5);
    CHECK(mail.service->created() == 0);
    CHECK(mail.host.analytics().empty());
}

TEST_CASE("cancel: files that come later are not sent, also when sending was tapped before")
{
    Mail mail;
    bool confirm = true;
    SUBCASE("asked, not answered") { mail.email(true); }
    SUBCASE("asked and answered")
    {
        mail.email(true);
        mail.tapSend();
    }
    SUBCASE("not asked")
    {
        confirm = false;
        mail.email(false);
    }
    mail.tapCancel();
    mail.giveFiles();
    CHECK(mail.service->created() == 0);
    CHECK(mail.host.analytics().empty());
    CHECK(classesOf(*mail.widget) == (confirm ? Strings{"waiting-to-send"} : Strings{}));
    mail.pass(0.3);
    CHECK_FALSE(mail.isOnTable());
}

TEST_CASE("cancel: while the message is in flight the popup goes, the mail is counted")
{
    Mail mail;
    mail.send();
    mail.tapCancel();
    mail.widget.reset();
    mail.pass(0.3);
    mail.service->answer(0, {true, {}});
    mail.host.frame();
    CHECK(analyticsOf(mail.host) == mail.counted(emailSent("Ann", kAddress)));
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

TEST_CASE("success: an answer that was there at once still waits for the frame")
{
    Mail mail;
    mail.service->holdAnswers(false);
    mail.email(true);
    mail.giveFiles();
    mail.tapSend();
    CHECK(classesOf(*mail.widget) == Strings{"sending-email"});
    mail.host.frame();
    CHECK(classesOf(*mail.widget) == Strings{"email-successful"});
}

TEST_CASE("outcome: an answer from another thread is shown in the next frame")
{
    Mail mail;
    mail.send();
    mail.service->answerFromThread(0, {true, {}});
    CHECK(classesOf(*mail.widget) == Strings{"sending-email"});
    mail.host.frame();
    CHECK(classesOf(*mail.widget) == Strings{"email-successful"});
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

TEST_CASE("failure: an exception is logged, shown and counted by its own text")
{
    Mail mail;
    mail.send();
    expectSendFailure("getrennt: für immer");
    mail.service->fail(0, "getrennt: für immer");
    mail.host.frame();
    CHECK(classesOf(*mail.widget) == Strings{"email-failed"});
    CHECK(analyticsOf(mail.host) == mail.counted(emailNotSent("Ann", kAddress, "getrennt: für immer")));
}

TEST_CASE("failure: an exception object without a text has an empty one")
{
    HookedMail mail;
    mail.service->onSend = [](const Tavola::EmailMessage&) { return PluginTest::failWithNumber(); };
    mail.email(false);
    mail.giveFiles();
    expectSendFailure("");
    mail.host.frame();
    CHECK(classesOf(*mail.widget) == Strings{"email-failed"});
    CHECK(analyticsOf(mail.host).back() == emailNotSent("Ann", kAddress, ""));
}

TEST_CASE("failure: a service that gives up its promise has failed")
{
    HookedMail mail;
    mail.service->onSend = [](const Tavola::EmailMessage&) { return folly::Promise<Status>().getFuture(); };
    mail.email(false);
    mail.giveFiles();
    const QString text = "Broken promise for type name `Tavola::EmailServiceAPI::EmailStatus`";
    expectSendFailure(text.toStdString());
    mail.host.frame();
    CHECK(classesOf(*mail.widget) == Strings{"email-failed"});
    CHECK(analyticsOf(mail.host).back() == emailNotSent("Ann", kAddress, text));
}

TEST_CASE("failure: a service that throws out of the call has failed")
{
    HookedMail mail;
    mail.service->onSend = [](const Tavola::EmailMessage&) -> folly::Future<Status> { throw std::runtime_error("disk full"); };
    expectSendFailure("disk full");
    mail.email(false);
    mail.giveFiles();
    mail.host.frame();
    CHECK(classesOf(*mail.widget) == Strings{"email-failed"});
    CHECK(analyticsOf(mail.host).back() == emailNotSent("Ann", kAddress, "disk full"));
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

TEST_CASE("failure: files that fail are logged and shown, nothing is sent or counted")
{
    Mail mail;
    mail.email(false);
    SUBCASE("with a text")
    {
        expectFailure("keine Datei ä");
        mail.content->filesPromise.setException(std::runtime_error("keine Datei ä"));
    }
    SUBCASE("with an object that has none")
    {
        expectFailure("");
        mail.content->filesPromise.setException(folly::exception_wrapper(std::make_exception_ptr(42)));
    }
    CHECK(classesOf(*mail.widget).empty());
    mail.host.frame();
    CHECK(classesOf(*mail.widget) == Strings{"email-failed"});
    CHECK(mail.service->created() == 0);
    CHECK(mail.host.analytics().empty());
}

TEST_CASE("failure: content that gives up its promise has failed")
{
    Mail mail;
    mail.email(false);
    mail.content->breaksPromises = true;
    expectFailure("Broken promise for type name `Tavola::FileRepresentation::FileData`");
    mail.content->removeFromParent();
    mail.content.reset();
    mail.host.frames(2);
    CHECK(classesOf(*mail.widget) == Strings{"email-failed"});
    CHECK(mail.service->created() == 0);
}

TEST_CASE("failure: content that throws when it is asked for its files has failed")
{
    Mail mail;
    mail.content->throwOnFiles = "unreadable";
    expectFailure("unreadable");
    mail.email(false);
    mail.host.frame();
    CHECK(classesOf(*mail.widget) == Strings{"email-failed"});
    CHECK(mail.host.analytics().empty());
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

// ---- Going -----------------------------------------------------------------------------------------------------------------

TEST_CASE("going: ten seconds after the outcome it fades out within a fifth of a second")
{
    Mail mail;
    mail.send();
    mail.pass(3);
    CHECK_FALSE(mail.isFadingOut());
    SUBCASE("success") { mail.service->answer(0, {true, {}}); }
    SUBCASE("failure")
    {
        expectSendFailure("no");
        mail.service->answer(0, {false, "no"});
    }
    mail.host.frame(0);
    mail.pass(9.95);
    CHECK_FALSE(mail.isFadingOut());
    CHECK(mail.widget->opacity() == 1.f);
    mail.pass(0.1);
    CHECK(mail.isFadingOut());
    CHECK(mail.isOnTable());
    mail.pass(0.1);
    CHECK(mail.isOnTable());
    mail.pass(0.1);
    CHECK_FALSE(mail.isOnTable());
}

TEST_CASE("going: without an outcome it stays")
{
    Mail mail;
    SUBCASE("waiting for the files") { mail.email(false); }
    SUBCASE("waiting for the button")
    {
        mail.email(true);
        mail.giveFiles();
    }
    SUBCASE("in flight") { mail.send(); }
    for (int i = 0; i < 20; ++i)
        mail.host.frame(1);
    CHECK(mail.isOnTable());
    CHECK_FALSE(mail.isFadingOut());
}

TEST_CASE("going: a touch starts the ten seconds anew")
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

// ---- Gone --------------------------------------------------------------------------------------------------------------------

TEST_CASE("gone: before the files are known, nothing happens when they come")
{
    Mail mail;
    mail.email(false);
    SUBCASE("files, after the popup")
    {
        mail.close();
        mail.content->giveFiles("http://a");
    }
    SUBCASE("files, in the frame before")
    {
        mail.content->giveFiles("http://a");
        mail.close();
    }
    SUBCASE("a failure, after the popup")
    {
        mail.close();
        mail.content->filesPromise.setException(std::runtime_error("no file"));
    }
    SUBCASE("a failure, in the frame before")
    {
        mail.content->filesPromise.setException(std::runtime_error("no file"));
        mail.close();
    }
    mail.host.frames(2);
    CHECK(mail.service->created() == 0);
    CHECK(mail.host.analytics().empty());
    CHECK(TestSupport::loggedLines().empty());
}

TEST_CASE("gone: while it waits for the button, nothing is sent")
{
    Mail mail;
    mail.email(true);
    mail.giveFiles();
    mail.close();
    mail.host.frames(2);
    CHECK(mail.service->created() == 0);
    CHECK(mail.host.analytics().empty());
}

TEST_CASE("gone: while the message is in flight, the mail is still counted and nothing else happens")
{
    for (const bool beforeTheAnswer : {true, false})
        for (const char* outcome : {"success", "refusal", "exception"}) {
            CAPTURE(beforeTheAnswer);
            CAPTURE(outcome);
            Mail mail;
            mail.send();
            if (beforeTheAnswer)
                mail.close();
            std::string expected = emailNotSent("Ann", kAddress, "no");
            if (outcome == std::string("success")) {
                mail.service->answer(0, {true, {}});
                expected = emailSent("Ann", kAddress);
            } else if (outcome == std::string("refusal")) {
                mail.service->answer(0, {false, "no"});
            } else {
                mail.service->fail(0, "no");
            }
            if (!beforeTheAnswer)
                mail.close();
            mail.host.frames(2);
            CHECK(analyticsOf(mail.host) == mail.counted(expected));
            CHECK(TestSupport::loggedLines().empty());
        }
}

TEST_CASE("gone: buttons that outlive the popup do nothing")
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

TEST_CASE("gone: content that is destroyed after it gave its files is sent all the same")
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
