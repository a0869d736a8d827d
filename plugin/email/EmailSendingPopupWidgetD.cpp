#include "email/EmailSendingPopupWidgetD.hpp"

#include "email/EnvelopeWidget.hpp"
#include "shared/AfterUpdate.hpp"
#include "shared/DefaultFileRepresentation.hpp"

#include <Bedrock/Trace.hpp>
#include <Tavola/DataGathering.hpp>
#include <Tavola/ServiceProvider.hpp>
#include <Tavola/Tavola.hpp>
#include <Trellis/AfterIdleApplyLambdaOperator.hpp>
#include <Trellis/FadeAnimator.hpp>
#include <Trellis/ImageTileWidget.hpp>
#include <Trellis/TextWidget.hpp>

namespace Tavola
{
namespace
{
constexpr float kFadeOutSeconds = 0.2f;
constexpr float kIdleSeconds = 10.f;

using WeakPopup = Bedrock::IntrusiveWeakPtr<EmailSendingPopupWidget>;
}

EmailSendingPopupWidget::D::D(EmailSendingPopupWidget& widget) : owner(widget) {}

void EmailSendingPopupWidget::D::build()
{
    const auto textChild = [this](const char* cssClass) {
        const Bedrock::IntrusivePtr<Trellis::TextWidget> child(new Trellis::TextWidget(&owner));
        child->addCSSClass(cssClass);
        return child;
    };
    const auto sendButton = textChild("send-button");
    const auto cancelButton = textChild("cancel-button");
    const Bedrock::IntrusivePtr<Trellis::ImageTileWidget> background(new Trellis::ImageTileWidget(&owner));
    background->addCSSClass("popup-background");
    background->lowerToBottom();
    info = textChild("info");
    new EnvelopeWidget(&owner);
    stylableTexts = {sendButton, cancelButton, info};

    const WeakPopup weak(&owner);
    sendButton->eventAddListener(
        "single-tap",
        [weak] {
            if (const auto popup = weak.lock()) {
                popup->d->ready = true;
                popup->d->emailContents();
            }
        },
        Facet::Node::kImmediate);
    cancelButton->eventAddListener(
        "single-tap",
        [weak] {
            if (const auto popup = weak.lock()) {
                popup->d->ready = false;
                Trellis::FadeAnimator::fadeOutAndDelete(*popup, kFadeOutSeconds, 0.f);
            }
        },
        Facet::Node::kImmediate);
}

void EmailSendingPopupWidget::D::addContent(Trellis::Widget& content)
{
    widgetId = content.id();
    const auto representation = fileRepresentationOf(Bedrock::IntrusivePtr<Trellis::Widget>(&content));
    // The continuation keeps the representation until the files have arrived. An exception out of files() counts as a failed
    // future.
    afterUpdate(folly::makeFutureWith([&] { return representation->files(); }),
                [weak = WeakPopup(&owner), representation](folly::Try<FileRepresentation::FileData>&& files) {
                    const auto popup = weak.lock();
                    if (!popup)
                        return;
                    if (files.hasException()) {
                        popup->d->handleError(QString::fromUtf8(failureText(files)));
                        return;
                    }
                    const QList<Attachment> parsed = parseAttachments(files.value());
                    if (parsed.isEmpty()) {
                        popup->d->handleError(QString::fromUtf8("Couldn't process widget for emailing"));
                        return;
                    }
                    popup->d->attachments = parsed;
                    popup->d->emailContents();
                });
}

void EmailSendingPopupWidget::D::emailContents()
{
    if (attachments.isEmpty() || !ready)
        return;
    DataGathering::logEventToService(DataGathering::widgetInEmailEvent(widgetId, name, address));
    owner.removeCSSClass("waiting-to-send");
    info->textAttribute().clearValue(Facet::kUserLayer);
    owner.addCSSClass("sending-email");

    const auto message = createMessage(attachments, name, address);
    if (!message) {
        handleError(message.error());
        return;
    }
    const auto service = Tavola::instance()->services()->emailService(QString());
    auto sent = folly::makeFutureWith([&] { return service->send(*message); });
    afterUpdate(std::move(sent),
                [weak = WeakPopup(&owner), name = name, address = address](folly::Try<EmailServiceAPI::EmailStatus>&& result) {
                    const auto popup = weak.lock();
                    const bool success = !result.hasException() && result.value().success;
                    QString error;
                    if (result.hasException())
                        error = QString::fromUtf8(failureText(result));
                    else if (!success)
                        error = result.value().error;

                    if (popup && success) {
                        popup->d->emailSuccessful();
                    } else if (popup) {
                        printEmailError(error, address);
                        popup->d->handleError(error);
                    }
                    DataGathering::logEventToService(DataGathering::emailEvent(name, address, success, error));
                });
}

void EmailSendingPopupWidget::D::emailSuccessful()
{
    owner.removeCSSClass("sending-email");
    owner.addCSSClass("email-successful");
    closeWhenIdle();
}

void EmailSendingPopupWidget::D::handleError(const QString& error)
{
    Bedrock::Trace::warning("EmailSendingPopupWidget # Failed to send email (%s)", error.toUtf8().constData());
    owner.removeCSSClass("sending-email");
    owner.addCSSClass("email-failed");
    closeWhenIdle();
}

void EmailSendingPopupWidget::D::closeWhenIdle()
{
    owner.addOperator(Bedrock::makeIntrusive<Trellis::AfterIdleApplyLambdaOperator>(
        kIdleSeconds, [](Trellis::Widget& widget) { Trellis::FadeAnimator::fadeOutAndDelete(widget, kFadeOutSeconds, 0.f); },
        false));
}
}
