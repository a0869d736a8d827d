#include "OutboxService.hpp"

#include "MailLibrary.hpp"
#include "MessageIntake.hpp"

#include <Bedrock/Guarded.hpp>
#include <Bedrock/Trace.hpp>
#include <Tavola/Curl.hpp>

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

namespace Host
{
namespace
{
using Outcome = OutboxMessage::Outcome;
using State = OutboxMessage::State;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr std::size_t kMostAttempts = 3;
constexpr double kLongestPauseSeconds = double(Outbox::kLongestPauseMs) / 1000.0;
constexpr double kHourMs = 3'600'000.0;

QJsonValue isoTime(qint64 ms)
{
    return ms > 0 ? QJsonValue(QDateTime::fromMSecsSinceEpoch(ms, Qt::UTC).toString(Qt::ISODate)) : QJsonValue();
}

void complete(OutboxService::Promise& promise, const Tavola::EmailServiceAPI::EmailStatus& status)
{
    Bedrock::guarded("OutboxService # Failed to hand over an outcome", [&] { promise.setValue(status); });
}
}

OutboxService::OutboxService(const MailSettings& settings, const MailCredentials& credentials, std::shared_ptr<Outbox> outbox,
                             Clock clock)
    : m_settings(settings), m_clock(std::move(clock)), m_outbox(std::move(outbox)), m_sender(settings, credentials)
{
    // While not even that can be written, files of no message are left alone.
    if (writeEndings())
        m_outbox->removeOrphans();
}

OutboxService::~OutboxService()
{
    stop(); // attempts end while the rest is composed
    m_composer.waitUntilIdle();
    m_isComposingOver = true;
    wake();
    m_sending.waitUntilIdle();
}

std::shared_ptr<OutboxService> OutboxService::open(const MailSettings& settings, const QString& folder, QString& error,
                                                   Clock clock)
{
    QStringList faults;
    const auto credentials = MailCredentials::load(settings.credentialsFile, error);
    if (!credentials)
        faults << error;
    else if (!credentials->user.isEmpty() && settings.isOpenToListeners())
        faults
            << QStringLiteral(
                   "\"startTls\": \"never\" would send the password to the mail server %1 unencrypted; set it to \"required\", "
                   "or leave out the credentials (the file, or TAVOLA_SMTP_USER)")
                   .arg(settings.server);
    // Loaded here, so that a library that is missing is a reason, and a visitor's first message waits for none.
    try {
        static_cast<void>(Tavola::curl());
        static_cast<void>(gmime());
    } catch (const std::runtime_error& fault) {
        faults << QStringLiteral("e-mail cannot be sent: %1").arg(QString::fromLocal8Bit(fault.what()));
    }
    error = faults.join(QStringLiteral("; "));
    const std::shared_ptr<Outbox> outbox = error.isEmpty() ? Outbox::open(folder, error) : nullptr;
    if (outbox && !outbox->lock())
        error = QStringLiteral("the outbox in %1 is in use by another table").arg(folder);
    if (!error.isEmpty())
        return nullptr;
    auto service = std::make_shared<OutboxService>(settings, *credentials, outbox, std::move(clock));
    service->m_sending.add([&self = *service] {
        while (!self.m_isComposingOver)
            self.turn();
        self.finish();
    });
    return service;
}

folly::Future<Tavola::EmailServiceAPI::EmailStatus> OutboxService::send(const Tavola::EmailMessage& message)
{
    const auto promise = std::make_shared<Promise>();
    auto future = promise->getFuture();
    auto letter = MessageIntake::letter(message);
    if (m_languagesOf && !letter.recipients.empty())
        letter.languages = m_languagesOf(letter.recipients.front().address.address);
    m_composer.add([this, promise, letter = std::move(letter)]() mutable {
        auto composed = MessageIntake::accept(std::move(letter), m_settings, *m_outbox, m_clock()); // closes the attached files
        if (composed)
            accept(std::move(*composed), std::move(*promise));
        else
            refuse(std::move(*promise), composed.error());
    });
    return future;
}

Tavola::EmailMessage OutboxService::createMessage()
{
    Tavola::EmailMessage message;
    message.setContent(m_settings.textTemplate);
    return message;
}

void OutboxService::accept(OutboxMessage message, Promise promise)
{
    std::unique_lock lock(m_answersMutex);
    const auto added = m_outbox->add(message, {m_settings.mostMessages, m_settings.mostBytes});
    if (added == Outbox::Added::Yes) {
        const milliseconds wait(qint64(m_settings.answerSeconds * 1000.0));
        m_answers.emplace(message.id, Answer{std::move(promise), steady_clock::now() + wait, std::nullopt});
        return wake();
    }
    lock.unlock();
    m_outbox->removeFile(message.file);
    if (added == Outbox::Added::Fault)
        return refuse(std::move(promise), QStringLiteral("the message cannot be kept"));
    const QString reason = QStringLiteral("the outbox is full, so the message was not sent");
    m_warnings.log("Failed to accept a message",
                   QStringLiteral("the outbox is full: at most %1 messages and %2 MB; delete some with \"tavola mail drop\", "
                                  "have the mail server accept the others, or raise \"outboxMessages\" or \"outboxMegabytes\"")
                       .arg(m_settings.mostMessages)
                       .arg(m_settings.mostBytes / 1'000'000)
                       .toStdString());
    noteError(reason);
    complete(promise, {false, reason});
}

void OutboxService::refuse(Promise promise, const QString& reason)
{
    Bedrock::Trace::warning("OutboxService # Failed to accept a message (%s)", qUtf8Printable(reason));
    noteError(reason);
    complete(promise, {false, reason});
}

void OutboxService::turn()
{
    if (m_isStopped)
        m_sender.stop();
    for (SmtpSender::Ended& ended : m_sender.proceed(longestWait()))
        conclude(std::move(ended));
    if (m_isWoken.exchange(false) || steady_clock::now() >= m_nextReading)
        readOutbox();
    completeAnswers(steady_clock::now());
}

milliseconds OutboxService::longestWait() const
{
    const std::lock_guard lock(m_answersMutex);
    Time next = m_nextReading;
    for (const auto& [id, answer] : m_answers)
        next = std::min(next, answer.deadline);
    return std::max(milliseconds(0), std::chrono::ceil<milliseconds>(next - steady_clock::now()));
}

void OutboxService::wake()
{
    m_isWoken = true;
    m_sender.wake();
}

/// Claims what is due, deletes what is too old, and publishes the numbers.
void OutboxService::readOutbox()
{
    const bool isWritten = writeEndings();
    while (isWritten && !m_isStopped && m_sender.count() < kMostAttempts) {
        auto message = m_outbox->claimDue(m_clock());
        if (!message)
            break;
        const QString path = m_outbox->path(message->file);
        m_sender.begin(std::move(*message), path);
    }
    const qint64 nowMs = m_clock();
    const double days = m_settings.deleteRefusedDays;
    const int deleted = days > 0.0 && m_summary.failed > 0 ? m_outbox->removeFailed(nowMs - qint64(days * 24.0 * kHourMs)) : 0;
    if (deleted > 0)
        Bedrock::Trace::info("OutboxService # Deleted %d messages that had failed %g days before", deleted, days);
    const auto summary = m_outbox->summary(nowMs);
    m_nextReading = steady_clock::now() + (summary ? summary->pause(nowMs) : OutboxSummary::kReadingPause);
    const std::lock_guard lock(m_stateMutex);
    m_summary = summary.value_or(m_summary);
}

void OutboxService::conclude(SmtpSender::Ended ended)
{
    OutboxMessage& message = ended.message;
    if (ended.outcome != Outcome::Delivered) {
        const qint64 nowMs = m_clock();
        message.queuedSinceMs = std::min(message.queuedSinceMs, nowMs); // the clock may have been wrong
        const bool isRefused = ended.outcome == Outcome::Refused;
        const bool isGivenUp = !isRefused && double(nowMs - message.queuedSinceMs) / kHourMs >= m_settings.giveUpHours;
        message.state = isRefused || isGivenUp ? State::Failed : State::Queued;
        message.attempts += isGivenUp ? 0 : 1;
        message.lastError = ended.words;
        noteError(ended.words);
    }
    {
        const std::lock_guard lock(m_answersMutex);
        const bool isFailed = message.state == State::Failed;
        if (const auto answer = m_answers.find(message.id); answer != m_answers.end())
            answer->second.status = EmailStatus{!isFailed, isFailed ? ended.words : QString()};
    }
    m_unwritten.push_back(std::move(ended));
    if (writeEndings()) {
        m_nextReading = steady_clock::now();
        return;
    }
    const SmtpSender::Ended& last = m_unwritten.back();
    const QString outcome = last.outcome == Outcome::Delivered
        ? QStringLiteral("it is delivered")
        : (last.outcome == Outcome::Refused ? "it was refused: " : "it is not delivered: ") + last.words;
    Bedrock::Trace::warning("OutboxService # Failed to write what became of message %lld to %s (%s); nothing else is sent until "
                            "that is written",
                            static_cast<long long>(last.message.id), qUtf8Printable(last.message.recipientNames()),
                            qUtf8Printable(outcome));
}

/// Returns whether everything is written, also what an earlier program left.
bool OutboxService::writeEndings()
{
    m_isRecovered = m_isRecovered || m_outbox->recover();
    while (m_isRecovered && !m_unwritten.empty() && write(m_unwritten.front()))
        m_unwritten.pop_front();
    return m_isRecovered && m_unwritten.empty();
}

/// Writes and logs what became of an attempt.
bool OutboxService::write(SmtpSender::Ended& ended)
{
    OutboxMessage& message = ended.message;
    const double pauseSeconds = message.state == State::Queued
        ? std::min(m_settings.retrySeconds * std::exp2(message.attempts - 1), kLongestPauseSeconds)
        : 0.0;
    message.nextAttemptMs = m_clock() + qint64(pauseSeconds * 1000.0); // of a failed message: when it failed
    if (!(ended.outcome == Outcome::Delivered ? m_outbox->remove(message) : m_outbox->update(message)))
        return false;
    const auto id = static_cast<long long>(message.id);
    const QByteArray names = message.recipientNames().toUtf8();
    const QByteArray words = ended.words.toUtf8();
    if (ended.outcome == Outcome::Delivered)
        Bedrock::Trace::info("OutboxService # Delivered message %lld to %s", id, names.data());
    else if (message.state == State::Queued)
        Bedrock::Trace::warning("OutboxService # Message %lld to %s is not delivered yet (%s); the next attempt is in %g s", id,
                                names.data(), words.data(), pauseSeconds);
    else if (ended.outcome == Outcome::Refused)
        Bedrock::Trace::warning("OutboxService # Message %lld to %s was refused (%s); it stays in the outbox as failed", id,
                                names.data(), words.data());
    else
        Bedrock::Trace::warning(
            "OutboxService # Message %lld to %s is given up after %g hours (%s); it stays in the outbox as failed", id,
            names.data(), m_settings.giveUpHours, words.data());
    return true;
}

void OutboxService::noteError(const QString& words)
{
    const qint64 nowMs = m_clock();
    const std::lock_guard lock(m_stateMutex);
    m_lastError = words;
    m_lastErrorMs = nowMs;
}

/// Completes the answers whose attempt has ended, and those that are due.
void OutboxService::completeAnswers(Time now)
{
    std::vector<Answer> due;
    {
        const std::lock_guard lock(m_answersMutex);
        for (auto it = m_answers.begin(); it != m_answers.end();) {
            const bool isDue = it->second.status || it->second.deadline <= now;
            if (isDue)
                due.push_back(std::move(it->second));
            it = isDue ? m_answers.erase(it) : std::next(it);
        }
    }
    for (Answer& answer : due)
        complete(answer.promise, answer.status.value_or(EmailStatus{true, QString()}));
}

void OutboxService::stop()
{
    m_isStopped = true;
    wake();
}

void OutboxService::finish()
{
    for (stop(); m_sender.count() > 0;)
        turn();
    writeEndings();
    static_cast<void>(m_outbox->recover()); // where that cannot be written, the next program does it
    completeAnswers(Time::max());
}

QJsonObject OutboxService::state() const
{
    const std::lock_guard lock(m_stateMutex);
    return {{"name", m_settings.name},           {"queued", m_summary.queued},
            {"sending", m_summary.sending},      {"failed", m_summary.failed},
            {"bytes", m_summary.bytes},          {"mostMessages", m_settings.mostMessages},
            {"mostBytes", m_settings.mostBytes}, {"oldest", isoTime(m_summary.oldestMs)},
            {"lastError", m_lastError},          {"lastErrorAt", isoTime(m_lastErrorMs)}};
}
}
