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
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

namespace Host
{
namespace
{
constexpr int kIntakeThreads = 2;
constexpr int kUntriedThreads = 2;
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
    void runWatch();
    void accept(Job& job);
    void refuse(OutboxAnswers::Promise& promise, const QString& reason);
    void beginRound();
    void look();

    const MailSettings settings;
    const Clock clock;
    const std::unique_ptr<Outbox> outbox;
    OutboxAnswers answers;
    OutboxReport report;
    OutboxAttempts attempts;
    const MessageIntake intake;
    std::atomic<bool> isStopping{false}; ///< set with the mutex held

    std::mutex mutex; ///< guards what follows
    std::condition_variable jobsChanged;
    std::condition_variable roundBegun;
    std::condition_variable watchWoken;
    std::deque<Job> jobs;
    unsigned round = 0; ///< counts the occasions on which there may be something to attempt
    bool isWoken = false;

    std::vector<std::thread> threads;
};

void OutboxService::Private::start()
{
    attempts.begin();
    for (int i = 0; i < kIntakeThreads; ++i)
        threads.emplace_back([this] { runIntake(); });
    for (int i = 0; i < kUntriedThreads; ++i)
        threads.emplace_back([this] { runAttempts(Outbox::Which::Untried); });
    threads.emplace_back([this] { runAttempts(Outbox::Which::All); });
    threads.emplace_back([this] { runWatch(); });
}

void OutboxService::Private::stop()
{
    {
        const std::lock_guard lock(mutex);
        isStopping = true;
    }
    jobsChanged.notify_all();
    roundBegun.notify_all();
    watchWoken.notify_all();
    for (std::thread& thread : threads)
        thread.join();
    threads.clear();
    // What still cannot be written is as after a crash: those messages are sent again, with the same Message-ID.
    if (attempts.isBehind())
        attempts.catchUp();
    answers.settleAll();
}

void OutboxService::Private::runIntake()
{
    std::unique_lock lock(mutex);
    for (;;) {
        jobsChanged.wait(lock, [this] { return isStopping || !jobs.empty(); });
        if (jobs.empty())
            return;
        Job job = std::move(jobs.front());
        jobs.pop_front();
        lock.unlock();
        accept(job);
        lock.lock();
    }
}

void OutboxService::Private::accept(Job& job)
{
    OutboxMessage message;
    message.createdMs = message.queuedSinceMs = clock();
    QString error;
    const bool isTaken = intake.take(job.mail, message, error);
    job.mail.attachments.clear(); // closes the files
    if (!isTaken) {
        refuse(job.promise, error);
        return;
    }
    // As soon as it is written it may be attempted, and that may be over before this thread goes on.
    answers.owe(message.messageId, std::move(job.promise));
    if (!outbox->add(message)) {
        outbox->files().remove(message.folder);
        const QString reason = QStringLiteral("the message cannot be kept");
        Bedrock::Trace::warning("OutboxService # Failed to accept a message (%s)", reason.toUtf8().constData());
        report.noteError(reason);
        answers.settle(message.messageId, {false, reason});
        return;
    }
    answers.beginPatience(message.messageId);
    beginRound();
    look();
}

void OutboxService::Private::refuse(OutboxAnswers::Promise& promise, const QString& reason)
{
    Bedrock::Trace::warning("OutboxService # Failed to accept a message (%s)", reason.toUtf8().constData());
    report.noteError(reason);
    OutboxAnswers::complete(promise, {false, reason});
}

void OutboxService::Private::runAttempts(Outbox::Which which)
{
    std::unique_lock lock(mutex);
    while (!isStopping) {
        const unsigned seen = round;
        lock.unlock();
        while (!isStopping && attempts.makeOne(which, isStopping) == OutboxAttempts::Turn::Made) {}
        lock.lock();
        roundBegun.wait(lock, [&] { return isStopping || round != seen; });
    }
}

void OutboxService::Private::runWatch()
{
    std::unique_lock lock(mutex);
    while (!isStopping) {
        isWoken = false;
        lock.unlock();
        auto end = answers.settleOverdue();
        const OutboxReport::Look found = report.look();
        if (found.isDue || attempts.isBehind())
            beginRound();
        if (found.pause) {
            const auto next = std::chrono::steady_clock::now() + *found.pause;
            end = end ? std::min(*end, next) : next;
        }
        lock.lock();
        const auto isOver = [this] { return isStopping || isWoken; };
        if (end)
            watchWoken.wait_until(lock, *end, isOver);
        else
            watchWoken.wait(lock, isOver);
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

/// Has the watch look at the queue and the answers.
void OutboxService::Private::look()
{
    {
        const std::lock_guard lock(mutex);
        isWoken = true;
    }
    watchWoken.notify_all();
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
    return d->report.json(d->settings.name);
}

void OutboxService::wake()
{
    d->look();
}
}
