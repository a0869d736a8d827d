// How a personal space sends its contents to its owner by e-mail.

#include "email/EmailComposition.hpp"
#include "personalspace/KeptContents.hpp"
#include "personalspace/PersonalSpaceWidgetD.hpp"
#include "shared/AfterUpdate.hpp"

#include <Tavola/DataGathering.hpp>
#include <Tavola/EmailServiceAPI.hpp>
#include <Tavola/ServiceProvider.hpp>
#include <Tavola/Tavola.hpp>

#include <iterator>

namespace Tavola
{
/// A letter with what a space shows of a card.
struct PersonalSpaceWidget::D::Mail
{
    std::uint64_t code = 0;
    QString name;
    QString address;
    std::map<long, PersonalSpaceContents::Item> items;
    bool isClaimed = false; ///< other tables may have more items of the card, and send them
};

std::set<long> PersonalSpaceWidget::D::idsOf(const Mail& mail)
{
    std::set<long> ids;
    for (const auto& entry : mail.items)
        ids.insert(entry.first);
    return ids;
}

void PersonalSpaceWidget::D::emailContents()
{
    closeTooltip();
    host.removeCSSClass("waiting-to-send-email");
    host.addCSSClass("sending-email");

    // Copies, since the owner may edit the values while the mail is on its way.
    Mail mail{code, userName.value(), userEmail.value(), {}, false};
    if (contentWidget)
        mail.items = contentWidget->items();
    const Bedrock::IntrusiveWeakPtr<PersonalSpaceWidget> weak(&host);
    if (mail.items.empty() || !CollectionKeeper::isShared())
        return send(mail, weak);
    afterUpdate(folly::makeFutureWith([&] { return KeptContents::claim(code, idsOf(mail)); }),
                [weak, mail](folly::Try<std::set<long>>&& claimed) {
                    // A store that cannot be asked keeps no mail back.
                    if (claimed.hasException())
                        send(mail, weak);
                    else
                        sendClaimed(mail, claimed.value(), weak);
                });
}

void PersonalSpaceWidget::D::sendClaimed(Mail mail, const std::set<long>& claimed,
                                         const Bedrock::IntrusiveWeakPtr<PersonalSpaceWidget>& weak)
{
    mail.isClaimed = true;
    for (auto item = mail.items.begin(); item != mail.items.end();)
        item = claimed.count(item->first) == 0 ? mail.items.erase(item) : std::next(item);
    if (!mail.items.empty())
        return send(mail, weak);
    // Another table sends everything; what it has sent goes from here, too.
    if (const auto widget = weak.lock())
        widget->d->emailSuccessful(mail);
}

void PersonalSpaceWidget::D::send(const Mail& mail, const Bedrock::IntrusiveWeakPtr<PersonalSpaceWidget>& weak)
{
    QList<Attachment> attachments;
    for (const auto& entry : mail.items) {
        const PersonalSpaceContents::Item& item = entry.second;
        attachments.append(parseAttachments(item.files));
        DataGathering::logEventToService(DataGathering::widgetInEmailEvent(item.widgetId, mail.name, mail.address));
    }
    const auto failed = [weak, mail](const QString& error) {
        printEmailError(error, mail.address);
        if (mail.isClaimed)
            KeptContents::release(mail.code, idsOf(mail));
        if (const auto widget = weak.lock())
            widget->d->emailFailed();
    };
    auto message = createMessage(attachments, mail.name, mail.address);
    if (!message)
        return failed(message.error());
    // Without a store the message names neither card nor items.
    if (const QList<QString> keys = KeptContents::lastingKeys(mail.code, idsOf(mail)); !keys.isEmpty())
        message->setCollected({mail.code, keys});
    const auto service = Tavola::instance()->services()->emailService(QString());
    // An exception out of the call is handled like one in the future.
    auto sent = folly::makeFutureWith([&] { return service->send(*message); });
    afterUpdate(std::move(sent), [weak, mail, failed](folly::Try<EmailServiceAPI::EmailStatus>&& result) {
        if (!result.hasException() && result.value().success) {
            if (const auto widget = weak.lock())
                widget->d->emailSuccessful(mail);
            else
                removeSent(mail);
            DataGathering::logEventToService(DataGathering::emailEvent(mail.name, mail.address, true, QString()));
            return;
        }
        const QString error = result.hasException() ? QString::fromUtf8(failureText(result)) : result.value().error;
        failed(error);
        DataGathering::logEventToService(DataGathering::emailEvent(mail.name, mail.address, false, error));
    });
}

/// Where tables share what the card has collected, what was not in the letter stays.
void PersonalSpaceWidget::D::removeSent(const Mail& mail)
{
    if (!mail.isClaimed)
        return PersonalSpaceContents::removeItems(mail.code);
    const auto contents = PersonalSpaceContents::personalContent(mail.code);
    for (const auto& entry : mail.items)
        contents->removeItem(entry.first);
}

void PersonalSpaceWidget::D::emailSuccessful(const Mail& mail)
{
    host.addCSSClass("email-successful");
    if (mail.isClaimed)
        removeSent(mail);
    else if (contentWidget)
        contentWidget->removeItems();
    setNameValidator();
}

void PersonalSpaceWidget::D::emailFailed()
{
    host.addCSSClass("email-failed");
}
}
