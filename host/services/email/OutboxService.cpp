#include "OutboxService.hpp"

#include "MessageIntake.hpp"
#include "OutboxDelivery.hpp"

#include <QDateTime>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace Host
{
struct OutboxService::Private
{
    struct Job
    {
        MailComposer::Letter letter;
        OutboxDelivery::Promise promise;
    };
    struct Composed
    {
        OutboxMessage message;
        QString error; ///< why it could not be composed; empty when it was
        OutboxDelivery::Promise promise;
    };

    Private(const MailSettings& mailSettings, const MailCredentials& credentials, std::unique_ptr<Outbox> openOutbox,
            const Clock& theClock)
        : settings(mailSettings), clock(theClock), outbox(std::move(openOutbox)), intake(settings, outbox->files()),
          delivery(settings, credentials, *outbox, clock), intakeThread([this] { runIntake(); }),
          deliveryThread([this] { runDelivery(); })
    {
    }
    ~Private();
    void runIntake();
    void runDelivery();

    const MailSettings settings;
    const Clock clock;
    const std::unique_ptr<Outbox> outbox;
    const MessageIntake intake;
    OutboxDelivery delivery; ///< used by its thread alone, but for `wake` and `state`

    std::mutex mutex; ///< guards what follows
    std::condition_variable jobAdded;
    std::deque<Job> jobs;
    std::vector<Composed> composed;
    bool isStopping = false;
    bool isIntakeOver = false;

    std::thread intakeThread; ///< the threads begin when everything else is there
    std::thread deliveryThread;
};

OutboxService::Private::~Private()
{
    {
        const std::lock_guard lock(mutex);
        isStopping = true;
    }
    jobAdded.notify_all();
    delivery.wake();
    intakeThread.join();
    deliveryThread.join();
}

/// Composes what was sent, one message after the other.
void OutboxService::Private::runIntake()
{
    std::unique_lock lock(mutex);
    for (;;) {
        jobAdded.wait(lock, [this] { return isStopping || !jobs.empty(); });
        if (jobs.empty())
            break;
        Job job = std::move(jobs.front());
        jobs.pop_front();
        lock.unlock();
        Composed result;
        result.message.createdMs = result.message.queuedSinceMs = clock();
        static_cast<void>(intake.accept(std::move(job.letter), result.message, result.error)); // closes the attached files
        result.promise = std::move(job.promise);
        lock.lock();
        composed.push_back(std::move(result));
        delivery.wake();
    }
    isIntakeOver = true;
    delivery.wake();
}

void OutboxService::Private::runDelivery()
{
    for (bool isOver = false; !isOver;) {
        std::vector<Composed> arrived;
        bool isToStop = false;
        {
            const std::lock_guard lock(mutex);
            arrived.swap(composed);
            isToStop = isStopping;
            isOver = isIntakeOver;
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
    Private::Job job{MessageIntake::letter(message), OutboxDelivery::Promise()};
    auto future = job.promise.getFuture();
    {
        const std::lock_guard lock(d->mutex);
        d->jobs.push_back(std::move(job));
    }
    d->jobAdded.notify_one();
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
