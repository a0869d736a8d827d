// How a personal space sends its contents to its owner by e-mail.

#include "email/EmailComposition.hpp"
#include "personalspace/PersonalSpaceWidgetD.hpp"
#include "shared/AfterUpdate.hpp"

#include <Tavola/DataGathering.hpp>
#include <Tavola/EmailServiceAPI.hpp>
#include <Tavola/ServiceProvider.hpp>
#include <Tavola/Tavola.hpp>

namespace Tavola
{
void PersonalSpaceWidget::D::emailContents()
{
    closeTooltip();
    host.removeCSSClass("waiting-to-send-email");
    host.addCSSClass("sending-email");

    // Copies, since the owner may edit the values while the mail is on its way.
    const QString name = userName.value();
    const QString address = userEmail.value();

    QList<Attachment> attachments;
    if (contentWidget) {
        for (const auto& entry : contentWidget->items()) {
            const PersonalSpaceContents::Item& item = entry.second;
            attachments.append(parseAttachments(item.files));
            DataGathering::logEventToService(DataGathering::widgetInEmailEvent(item.widgetId, name, address));
        }
    }

    const auto message = createMessage(attachments, name, address);
    if (!message) {
        printEmailError(message.error(), address);
        emailFailed();
        return;
    }
    const auto service = Tavola::instance()->services()->emailService(QString());
    // An exception out of the call is handled like one in the future.
    auto sent = folly::makeFutureWith([&] { return service->send(*message); });
    afterUpdate(std::move(sent),
                [weak = Bedrock::IntrusiveWeakPtr<PersonalSpaceWidget>(&host), name, address,
                 code = code](folly::Try<EmailServiceAPI::EmailStatus>&& result) {
                    const auto widget = weak.lock();
                    if (!result.hasException() && result.value().success) {
                        if (widget)
                            widget->d->emailSuccessful();
                        else
                            PersonalSpaceContents::removeItems(code);
                        DataGathering::logEventToService(DataGathering::emailEvent(name, address, true, QString()));
                        return;
                    }
                    const QString error = result.hasException() ? QString::fromUtf8(failureText(result)) : result.value().error;
                    printEmailError(error, address);
                    if (widget)
                        widget->d->emailFailed();
                    DataGathering::logEventToService(DataGathering::emailEvent(name, address, false, error));
                });
}

void PersonalSpaceWidget::D::emailSuccessful()
{
    host.addCSSClass("email-successful");
    if (contentWidget)
        contentWidget->removeItems();
    setNameValidator();
}

void PersonalSpaceWidget::D::emailFailed()
{
    host.addCSSClass("email-failed");
}
}
