#include "OutboxService.hpp"

#include "MessageIntake.hpp"
#include "Outbox.hpp"
#include "OutboxAnswers.hpp"
#include "OutboxAttempts.hpp"
#include "OutboxReport.hpp"

#include <Bedrock/Trace.hpp>

#include <QDateTime>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace Host
{
namespace
{
constexpr int kUntriedThreads = 2;
/// At least this long between two warnings that the outbox is full.
constexpr qint64 kWarningPauseMs = 60'000;
constexpr double kDayMs = 86'400'000.0;
}

struct OutboxService::Private
{
    struct Job
    {
        MailJob mail;
        OutboxAnswers::Promise promise;
    };

    Private(const MailSettings& mailSettings, const MailCredentials& credentials, std::unique_ptr<Outbox> openOutbox,
            const Clock& theClock)
        : settings(mailSettings), clock(theClock), outbox(std::move(openOutbox)), answers(settings.answerSeconds),
          report(*outbox, clock), attempts(settings, credentials, {*outbox, answers, report, clock}),
          intake(settings, outbox->files())
    {
    }

    void start();
    void stop();
    void runIntake();
    void runAttempts(Outbox::Which which);
    std::optional<OutboxAnswers::Time> watch();
    void accept(Job& job);
    void refuse(const QString& reason);
    void refuseBeyondLimits(const QString& reason);
    void deleteRefused();
    void beginRound();

    const MailSettings settings;
    const Outbox::Limits limits{settings.mostMessages, settings.mostBytes};
    const Clock clock;
    const std::unique_ptr<Outbox> outbox;
    OutboxAnswers answers;
    OutboxReport report;
    OutboxAttempts attempts;
    const MessageIntake intake;
    std::atomic<bool> isStopping{false}; ///< set with the mutex held
    qint64 warnedOfFullMs = 0;           ///< used by the composing thread alone

    std::mutex mutex; ///< guards what follows
    std::condition_variable intakeWoken;
    std::condition_variable roundBegun;
    std::deque<Job> jobs;
    unsigned round = 0; ///< counts the occasions on which there may be a message to attempt
    bool isWoken = false;

    std::vector<std::thread> threads;
};

void OutboxService::Private::start()
{
    attempts.begin();
    threads.emplace_back([this] { runIntake(); });
    threads.emplace_back([this] { runAttempts(Outbox::Which::All); });
    for (int i = 0; i < kUntriedThreads; ++i)
        threads.emplace_back([this] { runAttempts(Outbox::Which::Untried); });
}

void OutboxService::Private::stop()
{
    {
        const std::lock_guard lock(mutex);
        isStopping = true;
    }
    intakeWoken.notify_all();
    roundBegun.notify_all();
    for (std::thread& thread : threads)
        thread.join();
    // What still cannot be written is as after a crash: those messages are sent again.
    if (attempts.hasUnwritten())
        attempts.writeOutcomes();
    answers.completeAll();
}

/// Composes what was sent, and watches while there is nothing to compose.
void OutboxService::Private::runIntake()
{
    std::unique_lock lock(mutex);
    for (;;) {
        isWoken = false;
        std::optional<Job> job;
        if (!jobs.empty()) {
            job = std::move(jobs.front());
            jobs.pop_front();
        } else if (isStopping) {
            return;
        }
        lock.unlock();
        if (job)
            accept(*job);
        job.reset();
        const auto next = watch();
        lock.lock();
        const auto isOver = [this] { return isStopping || isWoken || !jobs.empty(); };
        if (next)
            intakeWoken.wait_until(lock, *next, isOver);
        else
            intakeWoken.wait(lock, isOver);
    }
}

void OutboxService::Private::accept(Job& job)
{
    OutboxMessage message;
    message.createdMs = message.queuedSinceMs = clock();
    QString error;
    const bool isAccepted = intake.accept(job.mail, message, error);
    job.mail.attachments.clear(); // closes the files
    if (!isAccepted) {
        refuse(error);
        OutboxAnswers::complete(job.promise, {false, error});
        return;
    }
    // As soon as it is written it may be attempted, and that may be over before this thread goes on.
    answers.add(message.messageId, std::move(job.promise));
    const auto added = outbox->add(message, limits);
    if (added != Outbox::Added::Yes) {
        outbox->files().remove(message.file);
        error = added == Outbox::Added::Full ? QStringLiteral("the outbox is full, so the message was not sent")
                                             : QStringLiteral("the message cannot be kept");
        added == Outbox::Added::Full ? refuseBeyondLimits(error) : refuse(error);
        answers.complete(message.messageId, {false, error});
        return;
    }
    answers.setDeadline(message.messageId);
    beginRound();
}

void OutboxService::Private::refuse(const QString& reason)
{
    Bedrock::Trace::warning("OutboxService # Failed to accept a message (%s)", reason.toUtf8().constData());
    report.noteError(reason);
}

void OutboxService::Private::refuseBeyondLimits(const QString& reason)
{
    report.noteError(reason);
    const qint64 nowMs = clock();
    if (std::abs(nowMs - warnedOfFullMs) < kWarningPauseMs)
        return;
    warnedOfFullMs = nowMs;
    Bedrock::Trace::warning(
        "OutboxService # Failed to accept a message (the outbox is full: at most %d messages and %.0f MB); delete some with "
        "\"tavola mail drop\", have the mail server accept the others, or raise \"outboxMessages\" or \"outboxMegabytes\"",
        limits.messages, double(limits.bytes) / 1e6);
}

void OutboxService::Private::deleteRefused()
{
    if (settings.deleteRefusedDays <= 0.0)
        return;
    const int deleted = outbox->removeFailed(clock() - qint64(settings.deleteRefusedDays * kDayMs));
    if (deleted > 0)
        Bedrock::Trace::info("OutboxService # Deleted %d messages that had failed %g days before", deleted,
                             settings.deleteRefusedDays);
}

/// Completes answers whose deadline has passed, and begins a round when a message is due. Returns when to do so again.
std::optional<OutboxAnswers::Time> OutboxService::Private::watch()
{
    auto next = answers.completeOverdue();
    deleteRefused();
    const OutboxReport::Reading found = report.read();
    if (found.isDue || attempts.hasUnwritten())
        beginRound();
    if (found.pause) {
        const auto end = std::chrono::steady_clock::now() + *found.pause;
        next = next ? std::min(*next, end) : end;
    }
    return next;
}

void OutboxService::Private::runAttempts(Outbox::Which which)
{
    // While all these threads send and the other one composes, the senders watch the deadlines of answers.
    const auto goOn = [this] {
        answers.completeOverdue();
        return !isStopping;
    };
    std::unique_lock lock(mutex);
    while (!isStopping) {
        const unsigned seen = round;
        lock.unlock();
        while (!isStopping && attempts.makeOne(which, goOn) == OutboxAttempts::Turn::Made) {}
        lock.lock();
        roundBegun.wait(lock, [&] { return isStopping || round != seen; });
    }
}

/// Has the attempting threads ask the outbox.
void OutboxService::Private::beginRound()
{
    {
        const std::lock_guard lock(mutex);
        ++round;
    }
    roundBegun.notify_all();
}

OutboxService::OutboxService() = default;

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
    service->d->start();
    return service;
}

OutboxService::~OutboxService()
{
    if (d)
        d->stop();
}

folly::Future<Tavola::EmailServiceAPI::EmailStatus> OutboxService::send(const Tavola::EmailMessage& message)
{
    Private::Job job{MailJob(message), OutboxAnswers::Promise()};
    auto future = job.promise.getFuture();
    {
        const std::lock_guard lock(d->mutex);
        d->jobs.push_back(std::move(job));
    }
    d->intakeWoken.notify_one();
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
    return d->report.json(d->settings.name, d->limits);
}

void OutboxService::wake()
{
    {
        const std::lock_guard lock(d->mutex);
        d->isWoken = true;
    }
    d->intakeWoken.notify_one();
}
}
