#include "OutboxService.hpp"

#include "MessageIntake.hpp"
#include "OutboxDelivery.hpp"

#include <Bedrock/WorkerPool.hpp>

#include <QDateTime>

#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace Host
{
struct OutboxService::Private
{
    struct Composed
    {
        OutboxMessage message;
        QString error; ///< why it could not be composed; empty when it was
        OutboxDelivery::Promise promise;
    };

    Private(const MailSettings& mailSettings, const MailCredentials& credentials, std::unique_ptr<Outbox> openOutbox,
            const Clock& theClock)
        : settings(mailSettings), clock(theClock), outbox(std::move(openOutbox)), intake(settings, outbox->files()),
          delivery(settings, credentials, *outbox, clock), sender([this] { deliver(); })
    {
    }
    ~Private();
    void compose(MailComposer::Letter letter, OutboxDelivery::Promise promise);
    void deliver();
    void set(bool& flag);

    const MailSettings settings;
    const Clock clock;
    const std::unique_ptr<Outbox> outbox;
    const MessageIntake intake;
    OutboxDelivery delivery; ///< used by the sending thread alone, but for `wake` and `state`

    std::mutex mutex; ///< guards what follows
    std::vector<Composed> composed;
    bool isStopping = false;
    bool isComposingOver = false;

    std::thread sender;
    Bedrock::WorkerPool composer{1}; ///< the last member, so that its tasks find the others alive
};

OutboxService::Private::~Private()
{
    set(isStopping); // attempts end while the rest is composed
    composer.waitUntilIdle();
    set(isComposingOver);
    sender.join();
}

void OutboxService::Private::set(bool& flag)
{
    {
        const std::lock_guard lock(mutex);
        flag = true;
    }
    delivery.wake();
}

void OutboxService::Private::compose(MailComposer::Letter letter, OutboxDelivery::Promise promise)
{
    Composed result;
    result.promise = std::move(promise);
    result.message.createdMs = result.message.queuedSinceMs = clock();
    static_cast<void>(intake.accept(std::move(letter), result.message, result.error)); // closes the attached files
    {
        const std::lock_guard lock(mutex);
        composed.push_back(std::move(result));
    }
    delivery.wake();
}

void OutboxService::Private::deliver()
{
    for (bool isOver = false; !isOver;) {
        std::vector<Composed> arrived;
        bool isToStop = false;
        {
            const std::lock_guard lock(mutex);
            arrived.swap(composed);
            isToStop = isStopping;
            isOver = isComposingOver;
        }
        if (isToStop)
            delivery.stop();
        for (Composed& one : arrived)
            if (one.error.isEmpty())
                delivery.accept(std::move(one.message), std::move(one.promise));
            else
                delivery.refuse(std::move(one.promise), one.error);
        if (!isOver)
            delivery.turn();
    }
    delivery.finish();
}

OutboxService::OutboxService() = default;
OutboxService::~OutboxService() = default;

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
    std::shared_ptr<OutboxService> service(new OutboxService());
    service->d = std::make_unique<Private>(settings, *credentials, std::move(outbox), clock);
    return service;
}

folly::Future<Tavola::EmailServiceAPI::EmailStatus> OutboxService::send(const Tavola::EmailMessage& message)
{
    const auto promise = std::make_shared<OutboxDelivery::Promise>();
    auto future = promise->getFuture();
    d->composer.add([d = d.get(), promise, letter = MessageIntake::letter(message)]() mutable {
        d->compose(std::move(letter), std::move(*promise));
    });
    return future;
}

Tavola::EmailMessage OutboxService::createMessage()
{
    Tavola::EmailMessage message;
    message.setContent(d->settings.textTemplate);
    return message;
}

QJsonObject OutboxService::state() const
{
    return d->delivery.state();
}

void OutboxService::wake()
{
    d->delivery.wake();
}
}
