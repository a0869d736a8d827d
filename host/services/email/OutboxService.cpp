#include "OutboxService.hpp"

#include <QDateTime>

#include <utility>

namespace Host
{
OutboxService::OutboxService(const MailSettings& settings, const MailCredentials& credentials, std::unique_ptr<Outbox> outbox,
                             Clock clock)
    : m_settings(settings), m_clock(std::move(clock)), m_outbox(std::move(outbox)), m_intake(m_settings, *m_outbox),
      m_delivery(m_settings, credentials, *m_outbox, m_clock), m_sender([this] {
          while (!m_isComposingOver)
              m_delivery.turn();
          m_delivery.finish();
      })
{
}

OutboxService::~OutboxService()
{
    m_delivery.stop(); // attempts end while the rest is composed
    m_composer.waitUntilIdle();
    m_isComposingOver = true;
    m_delivery.wake();
    m_sender.join();
}

std::shared_ptr<OutboxService> OutboxService::open(const MailSettings& settings, const QString& folder, QString& error,
                                                   Clock clock)
{
    const auto credentials = MailCredentials::load(settings.credentialsFile, error);
    if (!credentials)
        return nullptr;
    if (!credentials->user.isEmpty() && settings.isOpenToListeners()) {
        error = QStringLiteral(
                    "\"startTls\": \"never\" would send the password to the mail server %1 unencrypted; set it to \"required\", "
                    "or leave out the credentials (the file, or TAVOLA_SMTP_USER)")
                    .arg(settings.server);
        return nullptr;
    }
    auto outbox = Outbox::open(folder, error);
    if (!outbox)
        return nullptr;
    if (!outbox->lock()) {
        error = QStringLiteral("the outbox in %1 is in use by another table").arg(folder);
        return nullptr;
    }
    if (!clock)
        clock = [] { return QDateTime::currentMSecsSinceEpoch(); };
    return std::shared_ptr<OutboxService>(new OutboxService(settings, *credentials, std::move(outbox), std::move(clock)));
}

folly::Future<Tavola::EmailServiceAPI::EmailStatus> OutboxService::send(const Tavola::EmailMessage& message)
{
    const auto promise = std::make_shared<OutboxDelivery::Promise>();
    auto future = promise->getFuture();
    auto letter = MessageIntake::letter(message);
    if (m_languagesOf && !letter.recipients.empty())
        letter.languages = m_languagesOf(letter.recipients.front().address.address);
    m_composer.add([this, promise, letter = std::move(letter)]() mutable {
        QString error;
        if (auto composed = m_intake.accept(std::move(letter), m_clock(), error)) // closes the attached files
            m_delivery.accept(std::move(*composed), std::move(*promise));
        else
            m_delivery.refuse(std::move(*promise), error);
    });
    return future;
}

Tavola::EmailMessage OutboxService::createMessage()
{
    Tavola::EmailMessage message;
    message.setContent(m_settings.textTemplate);
    return message;
}
}
