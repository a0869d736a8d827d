#include "OutboxDelivery.hpp"

#include <Bedrock/Guarded.hpp>
#include <Bedrock/Trace.hpp>

#include <QDateTime>

#include <algorithm>
#include <cmath>
#include <utility>

namespace Host
{
namespace
{
using Outcome = SmtpSender::Outcome;
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
}

OutboxDelivery::OutboxDelivery(const MailSettings& settings, const MailCredentials& credentials, Outbox& outbox,
                               const Clock& clock)
    : m_settings(settings), m_outbox(outbox), m_clock(clock), m_sender(settings, credentials)
{
    // While not even that can be written, files of no message are left alone.
    if (writeEndings())
        m_outbox.removeOrphans();
}

void OutboxDelivery::accept(OutboxMessage message, Promise promise)
{
    std::unique_lock lock(m_answersMutex);
    const auto added = m_outbox.add(message, {m_settings.mostMessages, m_settings.mostBytes});
    if (added == Outbox::Added::Yes) {
        const milliseconds wait(qint64(m_settings.answerSeconds * 1000.0));
        m_answers.emplace(message.id, Answer{std::move(promise), steady_clock::now() + wait, std::nullopt});
        return wake();
    }
    lock.unlock();
    m_outbox.removeFile(message.file);
    if (added == Outbox::Added::Fault)
        return refuse(std::move(promise), QStringLiteral("the message cannot be kept"));
    const QString reason = QStringLiteral("the outbox is full, so the message was not sent");
    noteError(reason);
    m_warnings.log("Failed to accept a message",
                   QStringLiteral("the outbox is full: at most %1 messages and %2 MB; delete some with \"tavola mail drop\", "
                                  "have the mail server accept the others, or raise \"outboxMessages\" or \"outboxMegabytes\"")
                       .arg(m_settings.mostMessages)
                       .arg(m_settings.mostBytes / 1'000'000)
                       .toStdString());
    complete(promise, {false, reason});
}

void OutboxDelivery::refuse(Promise promise, const QString& reason)
{
    Bedrock::Trace::warning("OutboxService # Failed to accept a message (%s)", reason.toUtf8().constData());
    noteError(reason);
    complete(promise, {false, reason});
}

void OutboxDelivery::turn()
{
    if (m_isStopped)
        m_sender.stop();
    for (SmtpSender::Ended& ended : m_sender.proceed(longestWait()))
        conclude(std::move(ended));
    if (m_isWoken.exchange(false) || steady_clock::now() >= m_nextReading)
        readOutbox();
    completeAnswers(steady_clock::now());
}

milliseconds OutboxDelivery::longestWait() const
{
    const std::lock_guard lock(m_answersMutex);
    Time next = m_nextReading;
    for (const auto& [id, answer] : m_answers)
        next = std::min(next, answer.deadline);
    return std::max(milliseconds(0), std::chrono::ceil<milliseconds>(next - steady_clock::now()));
}

void OutboxDelivery::wake()
{
    m_isWoken = true;
    m_sender.wake();
}

/// Claims what is due, deletes what is too old, and publishes the numbers.
void OutboxDelivery::readOutbox()
{
    const bool isWritten = writeEndings();
    while (isWritten && !m_isStopped && m_sender.count() < kMostAttempts) {
        auto message = m_outbox.claimDue(m_clock());
        if (!message)
            break;
        const QString path = m_outbox.path(message->file);
        m_sender.begin(std::move(*message), path);
    }
    const qint64 nowMs = m_clock();
    const double days = m_settings.deleteRefusedDays;
    const int deleted = days > 0.0 && m_summary.failed > 0 ? m_outbox.removeFailed(nowMs - qint64(days * 24.0 * kHourMs)) : 0;
    if (deleted > 0)
        Bedrock::Trace::info("OutboxService # Deleted %d messages that had failed %g days before", deleted, days);
    const auto summary = m_outbox.summary(nowMs);
    m_nextReading = steady_clock::now() + (summary ? summary->pause(nowMs) : OutboxSummary::kReadingPause);
    const std::lock_guard lock(m_stateMutex);
    m_summary = summary.value_or(m_summary);
}

void OutboxDelivery::conclude(SmtpSender::Ended ended)
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
            answer->second.status = Status{!isFailed, isFailed ? ended.words : QString()};
    }
    m_unwritten.push_back(std::move(ended));
    m_nextReading = steady_clock::now();
}

/// Returns whether everything is written, also what an earlier program left.
bool OutboxDelivery::writeEndings()
{
    m_isRecovered = m_isRecovered || m_outbox.recover();
    while (m_isRecovered && !m_unwritten.empty() && write(m_unwritten.front())) {
        m_unwritten.pop_front();
        m_warnedOf -= m_warnedOf > 0 ? 1 : 0;
    }
    for (; m_warnedOf < m_unwritten.size(); ++m_warnedOf) {
        const SmtpSender::Ended& ended = m_unwritten[m_warnedOf];
        const char* const outcome = ended.outcome == Outcome::Delivered ? "it is delivered"
            : ended.outcome == Outcome::Refused                         ? "it was refused: "
                                                                        : "it is not delivered: ";
        Bedrock::Trace::warning("OutboxService # Failed to write what became of message %lld to %s (%s%s); nothing else is sent "
                                "until that is written",
                                static_cast<long long>(ended.message.id), ended.message.recipientNames().toUtf8().constData(),
                                outcome, ended.words.toUtf8().constData());
    }
    return m_isRecovered && m_unwritten.empty();
}

/// Writes and logs what became of an attempt.
bool OutboxDelivery::write(SmtpSender::Ended& ended)
{
    OutboxMessage& message = ended.message;
    const double pauseSeconds = message.state == State::Queued
        ? std::min(m_settings.retrySeconds * std::exp2(message.attempts - 1), kLongestPauseSeconds)
        : 0.0;
    message.nextAttemptMs = m_clock() + qint64(pauseSeconds * 1000.0); // of a failed message: when it failed
    if (!(ended.outcome == Outcome::Delivered ? m_outbox.remove(message) : m_outbox.update(message)))
        return false;
    const auto id = static_cast<long long>(message.id);
    const QByteArray names = message.recipientNames().toUtf8();
    const QByteArray words = ended.words.toUtf8();
    if (ended.outcome == Outcome::Delivered)
        Bedrock::Trace::info("OutboxService # Delivered message %lld to %s", id, names.constData());
    else if (message.state == State::Queued)
        Bedrock::Trace::warning("OutboxService # Message %lld to %s is not delivered yet (%s); the next attempt is in %g s", id,
                                names.constData(), words.constData(), pauseSeconds);
    else if (ended.outcome == Outcome::Refused)
        Bedrock::Trace::warning("OutboxService # Message %lld to %s was refused (%s); it stays in the outbox as failed", id,
                                names.constData(), words.constData());
    else
        Bedrock::Trace::warning(
            "OutboxService # Message %lld to %s is given up after %g hours (%s); it stays in the outbox as failed", id,
            names.constData(), m_settings.giveUpHours, words.constData());
    return true;
}

void OutboxDelivery::noteError(const QString& words)
{
    const qint64 nowMs = m_clock();
    const std::lock_guard lock(m_stateMutex);
    m_lastError = words;
    m_lastErrorMs = nowMs;
}

/// Completes the answers whose attempt has ended, and those that are due.
void OutboxDelivery::completeAnswers(Time now)
{
    std::vector<Answer> due;
    {
        const std::lock_guard lock(m_answersMutex);
        for (auto it = m_answers.begin(); it != m_answers.end();) {
            if (it->second.status || it->second.deadline <= now) {
                due.push_back(std::move(it->second));
                it = m_answers.erase(it);
            } else {
                ++it;
            }
        }
    }
    for (Answer& answer : due)
        complete(answer.promise, answer.status.value_or(Status{true, QString()}));
}

void OutboxDelivery::complete(Promise& promise, const Status& status)
{
    Bedrock::guarded("OutboxService # Failed to hand over an outcome", [&] { promise.setValue(status); });
}

void OutboxDelivery::stop()
{
    m_isStopped = true;
    wake();
}

void OutboxDelivery::finish()
{
    for (stop(); m_sender.count() > 0;)
        turn();
    writeEndings();
    static_cast<void>(m_outbox.recover()); // where that cannot be written, the next program does it
    completeAnswers(Time::max());
}

QJsonObject OutboxDelivery::state() const
{
    const std::lock_guard lock(m_stateMutex);
    return {{"name", m_settings.name},           {"queued", m_summary.queued},
            {"sending", m_summary.sending},      {"failed", m_summary.failed},
            {"bytes", m_summary.bytes},          {"mostMessages", m_settings.mostMessages},
            {"mostBytes", m_settings.mostBytes}, {"oldest", isoTime(m_summary.oldestMs)},
            {"lastError", m_lastError},          {"lastErrorAt", isoTime(m_lastErrorMs)}};
}
}
