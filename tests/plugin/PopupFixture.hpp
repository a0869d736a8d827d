#pragma once

#include "EmailSupport.hpp"
#include "LogCapture.hpp"
#include "PluginSupport.hpp"
#include "TestHost.hpp"
#include "email/EmailSendingPopupWidget.hpp"

#include <Trellis/FadeAnimator.hpp>
#include <Trellis/TextWidget.hpp>

#include <doctest/doctest.h>

namespace PluginTest
{
inline const char* const kAddress = "ann@example.org";

inline void expectFailure(const std::string& text)
{
    TestSupport::expectWarning("EmailSendingPopupWidget # Failed to send email (" + text + ")");
}
/// As above for a message that was composed and could not be sent, which is an error in the log as well.
inline void expectSendFailure(const std::string& text)
{
    TestSupport::expectError("PersonalSpaceWidget::emailContents # Failed to send email to ann@example.org (" + text + ")");
    expectFailure(text);
}

/// A popup on the table, and content that completes its files when the test says so.
struct Popup
{
    TestSupport::TestHost host;
    Bedrock::IntrusivePtr<Tavola::EmailSendingPopupWidget> widget = Bedrock::makeIntrusive<Tavola::EmailSendingPopupWidget>();
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
    bool isFadingOut() const { return Trellis::FadeAnimator::isFadingOut(*widget); }
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

/// With an e-mail service whose answers the test gives.
struct PopupMail : Popup
{
    std::shared_ptr<TestSupport::FakeEmailService> service = addEmailService<TestSupport::FakeEmailService>(host);
    AnswerAtEnd answerAtEnd{service};
    PopupMail() { service->holdAnswers(true); }
    std::size_t sent() const { return service->sent().size(); }
    /// Goes on until the message has been sent and not answered.
    void send()
    {
        email(false);
        giveFiles();
        REQUIRE(sent() == 1);
    }
    Strings counted(const std::string& outcome) const { return {widgetInEmail(contentId, "Ann", kAddress), outcome}; }
};

/// With a service that runs a function of the test in each call.
struct HookedPopupMail : Popup
{
    std::shared_ptr<HookedEmailService> service = addEmailService<HookedEmailService>(host);
};
}
