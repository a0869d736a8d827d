#include "email/EmailSendingPopupWidget.hpp"

#include "PopupFixture.hpp"
#include "email/EnvelopeWidget.hpp"
#include "registration/PersonalComponents.hpp"

#include <Tavola/Component.hpp>
#include <Trellis/ImageTileWidget.hpp>

#include <QFile>
#include <QTemporaryDir>

using PluginTest::analyticsOf;
using PluginTest::childOfClass;
using PluginTest::classesOf;
using PluginTest::emailSent;
using PluginTest::kAddress;
using PluginTest::PlainContent;
using PluginTest::Popup;
using PluginTest::Strings;
using PluginTest::widgetInEmail;
using Tavola::EmailSendingPopupWidget;
using TestSupport::expectWarning;
using TestSupport::TestHost;
using HookedMail = PluginTest::HookedPopupMail;
using Mail = PluginTest::PopupMail;
using Status = Tavola::EmailServiceAPI::EmailStatus;

// ---- Construction ------------------------------------------------------------------------------------------------------

TEST_CASE("popup: it has its CSS type and its children")
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

TEST_CASE("direct: content without a file representation is described by the host")
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

TEST_CASE("direct: content without a file representation is kept until its files are there, and no longer")
{
    Mail mail;
    Bedrock::IntrusivePtr<PlainContent> plain(new PlainContent(&mail.host.mainWidget()));
    const Bedrock::IntrusiveWeakPtr<PlainContent> weak(plain.get());
    mail.widget->emailWidget(*plain, true, {"Ann", kAddress, ""});
    plain->removeFromParent();
    plain.reset();
    mail.host.app().destroyRemovedWidgets();
    CHECK(weak.lock());
    mail.host.frames(2);
    CHECK_FALSE(weak.lock());
}

TEST_CASE("direct: content with an empty record is sent as an empty line among the links")
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
    const auto checkAt = [&](const char* call) {
        calls.push_back(call);
        CHECK(analyticsOf(mail.host) == expected);
        CHECK(classesOf(*mail.widget) == Strings{"sending-email"});
        CHECK(mail.info().text() == "On its way");
    };
    mail.service->onCreate = [&] {
        checkAt("create");
        return Tavola::EmailMessage();
    };
    mail.service->onSend = [&](const Tavola::EmailMessage&) {
        checkAt("send");
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

TEST_CASE("confirming: a styled text without a place for the address is shown as it is")
{
    Mail mail;
    mail.host.style("EmailSendingPopupWidget.waiting-to-send .info { text: \"Send it? 100 %\" }");
    mail.email(true);
    CHECK(mail.info().text() == "Send it? 100 %");
}

TEST_CASE("confirming: between the waiting view and the sending view the information is the plain one, of no view")
{
    Mail mail;
    mail.email(true);
    mail.giveFiles();
    Strings views;
    mail.info().attribute("text")->addListener([&] {
        std::string view = mail.info().text().toStdString() + ":";
        for (const auto& name : classesOf(*mail.widget))
            view += " " + name;
        views.push_back(view);
    });
    mail.tapSend();
    CHECK(views == Strings{"Mail:", "On its way: sending-email"});
}

TEST_CASE("sending: the widget is counted while the popup still waits, before the view changes")
{
    Mail mail;
    mail.email(true);
    mail.giveFiles();
    Strings views;
    const auto before = Tavola::DataGathering::setSink([&](const Tavola::DataGathering::Event&) {
        views = classesOf(*mail.widget);
        views.push_back(mail.info().text().toStdString());
    });
    mail.tapSend();
    (void)Tavola::DataGathering::setSink(before);
    CHECK(views == Strings{"waiting-to-send", "Send to ann@example.org?"});
    CHECK(classesOf(*mail.widget) == Strings{"sending-email"});
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

TEST_CASE("cancel: once the files are there nothing is sent, and the popup is removed after a fifth of a second")
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
    SUBCASE("asked, not answered")
    {
        mail.email(true);
    }
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

TEST_CASE("cancel: while the message is in flight the popup is removed, and the mail is counted")
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
