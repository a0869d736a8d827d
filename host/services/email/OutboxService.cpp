#include "OutboxService.hpp"

#include "MessageIntake.hpp"
#include "Outbox.hpp"
#include "SmtpSender.hpp"

#include <Bedrock/Trace.hpp>

#include <QDateTime>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

namespace
{
using EmailStatus = Tavola::EmailServiceAPI::EmailStatus;

constexpr int kFrontThreads = 2;
constexpr qint64 kLookMs = 2000;
constexpr double kLongestPauseSeconds = 3600.0;

QString isoTime(qint64 ms)
{
    return QDateTime::fromMSecsSinceEpoch(ms, Qt::UTC).toString(Qt::ISODate);
}

/// Completes a promise; what its continuation throws is not ours to suffer from.
void complete(folly::Promise<EmailStatus>& promise, EmailStatus status)
{
    try {
        promise.setValue(std::move(status));
    } catch (const std::exception& failure) {
        Bedrock::Trace::error("OutboxService # Failed to hand over an outcome (%s)", failure.what());
    }
}
}

struct OutboxService::Private
{
    struct Job
    {
        MailJob mail;
        folly::Promise<EmailStatus> promise;
    };
    /// What the inspector shows, kept in step by whoever changed the queue.
    struct Report
    {
        int queued = 0;
        int sending = 0;
        int failed = 0;
        qint64 oldestMs = 0;
        QString lastError;
        qint64 lastErrorMs = 0;
    };

    Private(const MailSettings& mailSettings, const MailCredentials& credentials, std::unique_ptr<Outbox> openOutbox, Clock theClock)
        : settings(mailSettings), sender(mailSettings, credentials), outbox(std::move(openOutbox)), clock(std::move(theClock)),
          intake(settings, outbox->files())
    {
    }

    void start();
    void stop();
    void runFront();
    void runRetries();
    void serve(Job& job);
    EmailStatus attempt(OutboxMessage& message);
    void putOff(OutboxMessage& message, const QString& words);
    void refuse(OutboxMessage& message, const QString& words);
    void noteError(const QString& words);
    qint64 look();

    const MailSettings settings;
    const SmtpSender sender;
    const std::unique_ptr<Outbox> outbox;
    const Clock clock;
    const MessageIntake intake;
    std::atomic<bool> isStopping{false};

    mutable std::mutex mutex; ///< guards what follows
    std::condition_variable jobsChanged;
    std::condition_variable retriesChanged;
    std::deque<Job> jobs;
    bool isWoken = true;
    Report report;

    std::mutex lookMutex; ///< one look at a time, so that an older one never replaces a newer one
    std::vector<std::thread> threads;
};

void OutboxService::Private::start()
{
    threads.emplace_back([this] { runRetries(); });
    for (int i = 0; i < kFrontThreads; ++i)
        threads.emplace_back([this] { runFront(); });
}

void OutboxService::Private::stop()
{
    {
        const std::lock_guard lock(mutex);
        isStopping = true;
    }
    jobsChanged.notify_all();
    retriesChanged.notify_all();
    for (std::thread& thread : threads)
        thread.join();
    threads.clear();
}

void OutboxService::Private::runFront()
{
    std::unique_lock lock(mutex);
    for (;;) {
        jobsChanged.wait(lock, [this] { return isStopping || !jobs.empty(); });
        if (jobs.empty())
            return;
        Job job = std::move(jobs.front());
        jobs.pop_front();
        lock.unlock();
        serve(job);
        lock.lock();
    }
}

void OutboxService::Private::runRetries()
{
    std::unique_lock lock(mutex);
    while (!isStopping) {
        isWoken = false;
        lock.unlock();
        while (!isStopping) {
            auto message = outbox->claimDue(clock());
            if (!message)
                break;
            look();
            attempt(*message);
        }
        const qint64 pauseMs = look();
        lock.lock();
        const auto isOver = [this] { return isStopping || isWoken; };
        if (pauseMs < 0)
            retriesChanged.wait(lock, isOver);
        else
            retriesChanged.wait_for(lock, std::chrono::milliseconds(pauseMs), isOver);
    }
}

void OutboxService::Private::serve(Job& job)
{
    OutboxMessage message;
    message.createdMs = message.queuedSinceMs = clock();
    message.state = isStopping ? OutboxMessage::State::Queued : OutboxMessage::State::Sending;
    QString error;
    const bool isTaken = intake.take(job.mail, message, error);
    job.mail.attachments.clear(); // closes the files
    if (!isTaken) {
        Bedrock::Trace::warning("OutboxService # Failed to accept a message (%s)", error.toUtf8().constData());
        noteError(error);
        complete(job.promise, {false, error});
        return;
    }
    if (!outbox->add(message)) {
        outbox->files().remove(message.folder);
        const QString reason = QStringLiteral("the message cannot be kept");
        noteError(reason);
        complete(job.promise, {false, reason});
        return;
    }
    look();
    const EmailStatus status = message.state == OutboxMessage::State::Queued ? EmailStatus{true, QString()} : attempt(message);
    complete(job.promise, status);
}

EmailStatus OutboxService::Private::attempt(OutboxMessage& message)
{
    const SmtpSender::Result result = sender.send(message, isStopping);
    EmailStatus status{true, QString()};
    switch (result.outcome) {
    case SmtpSender::Outcome::Delivered:
        outbox->remove(message);
        Bedrock::Trace::info("OutboxService # Delivered message %lld to %s", static_cast<long long>(message.id),
                             message.recipientNames().toUtf8().constData());
        break;
    case SmtpSender::Outcome::Later:
        putOff(message, result.words);
        if (message.state == OutboxMessage::State::Failed)
            status = {false, result.words};
        break;
    case SmtpSender::Outcome::Refused:
        refuse(message, result.words);
        status = {false, result.words};
        break;
    case SmtpSender::Outcome::Stopped:
        message.state = OutboxMessage::State::Queued;
        message.nextAttemptMs = 0;
        outbox->update(message);
        break;
    }
    if (look() >= 0) {
        // The retries' thread may be waiting for a later message, or without end because there was none to look after.
        const std::lock_guard lock(mutex);
        isWoken = true;
        retriesChanged.notify_all();
    }
    return status;
}

void OutboxService::Private::putOff(OutboxMessage& message, const QString& words)
{
    const qint64 nowMs = clock();
    noteError(words);
    if (double(nowMs - message.queuedSinceMs) / 3.6e6 >= settings.giveUpHours) {
        message.state = OutboxMessage::State::Failed;
        message.lastError = words;
        outbox->update(message);
        Bedrock::Trace::warning("OutboxService # Message %lld to %s is given up after %g hours (%s); it stays in the outbox as failed",
                                static_cast<long long>(message.id), message.recipientNames().toUtf8().constData(),
                                settings.giveUpHours, words.toUtf8().constData());
        return;
    }
    double pauseSeconds = settings.retrySeconds;
    for (int i = 0; i < message.attempts && pauseSeconds < kLongestPauseSeconds; ++i)
        pauseSeconds *= 2.0;
    pauseSeconds = std::min(pauseSeconds, kLongestPauseSeconds);
    ++message.attempts;
    message.state = OutboxMessage::State::Queued;
    message.nextAttemptMs = nowMs + qint64(pauseSeconds * 1000.0);
    message.lastError = words;
    outbox->update(message);
    Bedrock::Trace::warning("OutboxService # Message %lld to %s is not delivered yet (%s); the next attempt is in %g s",
                            static_cast<long long>(message.id), message.recipientNames().toUtf8().constData(),
                            words.toUtf8().constData(), pauseSeconds);
}

void OutboxService::Private::refuse(OutboxMessage& message, const QString& words)
{
    noteError(words);
    ++message.attempts;
    message.state = OutboxMessage::State::Failed;
    message.lastError = words;
    outbox->update(message);
    Bedrock::Trace::warning("OutboxService # Message %lld to %s was refused (%s); it stays in the outbox as failed",
                            static_cast<long long>(message.id), message.recipientNames().toUtf8().constData(),
                            words.toUtf8().constData());
}

void OutboxService::Private::noteError(const QString& words)
{
    const std::lock_guard lock(mutex);
    report.lastError = words;
    report.lastErrorMs = clock();
}

/// Brings the report up to date. Returns for how long the queue needs no look, or -1 while there is nothing in it.
qint64 OutboxService::Private::look()
{
    const std::lock_guard looking(lookMutex);
    const OutboxSummary summary = outbox->summary();
    {
        const std::lock_guard lock(mutex);
        report.queued = summary.queued;
        report.sending = summary.sending;
        report.failed = summary.failed;
        report.oldestMs = summary.oldestMs;
    }
    if (summary.queued + summary.sending + summary.failed == 0)
        return -1;
    if (summary.queued == 0)
        return kLookMs;
    return std::clamp<qint64>(summary.nextAttemptMs - clock(), 0, kLookMs);
}

OutboxService::OutboxService() = default;

std::shared_ptr<OutboxService> OutboxService::open(const MailSettings& settings, const QString& folder, QString& error, Clock clock)
{
    const auto credentials = MailCredentials::load(settings.credentialsFile, error);
    if (!credentials)
        return nullptr;
    auto outbox = Outbox::open(folder, error);
    if (!outbox)
        return nullptr;
    if (!outbox->lock()) {
        error = QStringLiteral("the outbox in %1 is in use by another table").arg(folder);
        return nullptr;
    }
    outbox->recover();
    if (!clock)
        clock = [] { return QDateTime::currentMSecsSinceEpoch(); };
    std::shared_ptr<OutboxService> service(new OutboxService());
    service->d = std::make_unique<Private>(settings, *credentials, std::move(outbox), std::move(clock));
    service->d->start();
    return service;
}

OutboxService::~OutboxService()
{
    if (d)
        d->stop();
}

folly::Future<EmailStatus> OutboxService::send(const Tavola::EmailMessage& message)
{
    Private::Job job{MailJob(message), folly::Promise<EmailStatus>()};
    auto future = job.promise.getFuture();
    {
        const std::lock_guard lock(d->mutex);
        d->jobs.push_back(std::move(job));
    }
    d->jobsChanged.notify_one();
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
    const std::lock_guard lock(d->mutex);
    const Private::Report& report = d->report;
    const auto time = [](qint64 ms) { return ms > 0 ? QJsonValue(isoTime(ms)) : QJsonValue(); };
    return {{"name", d->settings.name},
            {"queued", report.queued},
            {"sending", report.sending},
            {"failed", report.failed},
            {"oldest", time(report.oldestMs)},
            {"lastError", report.lastError},
            {"lastErrorAt", time(report.lastErrorMs)}};
}

void OutboxService::wake()
{
    {
        const std::lock_guard lock(d->mutex);
        d->isWoken = true;
    }
    d->retriesChanged.notify_all();
}
