#include "OutboxDelivery.hpp"

#include <Bedrock/Guarded.hpp>
#include <Bedrock/Trace.hpp>

#include <QDateTime>

#include <algorithm>
#include <cmath>

namespace Host
{
namespace
{
using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr std::size_t kMostAttempts = 3;
constexpr double kLongestPauseSeconds = double(Outbox::kLongestPauseMs) / 1000.0;
constexpr double kDayMs = 86'400'000.0;

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
    const auto added = m_outbox.add(message, {m_settings.mostMessages, m_settings.mostBytes});
    if (added == Outbox::Added::Yes) {
        const milliseconds wait(qint64(m_settings.answerSeconds * 1000.0));
        m_answers.emplace(message.id, Answer{std::move(promise), steady_clock::now() + wait});
        m_nextReading = steady_clock::now();
        return;
    }
    m_outbox.files().remove(message.file);
    if (added == Outbox::Added::Fault)
        return refuse(std::move(promise), QStringLiteral("the message cannot be kept"));
    const QString reason = QStringLiteral("the outbox is full, so the message was not sent");
    noteError(reason);
    m_warnings.log(
        "Failed to accept a message",
        QStringLiteral("the outbox is full: at most %1 messages and %2 MB; delete some with \"tavola mail drop\", have "
                       "the mail server accept the others, or raise \"outboxMessages\" or \"outboxMegabytes\"")
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
    if (m_isWoken.exchange(false))
        m_nextReading = steady_clock::now();
    for (SmtpSender::Ended& ended : m_sender.proceed(longestWait()))
        conclude(std::move(ended));
    if (steady_clock::now() >= m_nextReading)
        readOutbox();
    completeOverdue();
}

milliseconds OutboxDelivery::longestWait() const
{
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

/// Claims what is due, and publishes the numbers; what was completed meanwhile is answered when they show it.
void OutboxDelivery::readOutbox()
{
    if (writeEndings() && !m_isStopped)
        claim();
    deleteFailed();
    const qint64 nowMs = m_clock();
    const auto summary = m_outbox.summary(nowMs);
    m_nextReading = steady_clock::now() + (summary ? summary->pause(nowMs) : OutboxSummary::kReadingPause);
    if (summary) {
        const std::lock_guard lock(m_mutex);
        m_summary = *summary;
    }
    for (auto& [promise, status] : std::exchange(m_outcomes, {}))
        complete(promise, status);
}

void OutboxDelivery::claim()
{
    while (m_sender.count() < kMostAttempts) {
        auto message = m_outbox.claimDue(m_clock(), m_triedBefore > 0 ? Outbox::Which::Untried : Outbox::Which::All);
        if (!message)
            return;
        m_triedBefore += message->attempts > 0 ? 1 : 0;
        const QString path = m_outbox.files().path(message->file);
        m_sender.begin(std::move(*message), path);
    }
}

void OutboxDelivery::conclude(SmtpSender::Ended ended)
{
    m_nextReading = steady_clock::now();
    Ending ending{Ending::Kind::Delivered, std::move(ended.message)};
    OutboxMessage& message = ending.message;
    m_triedBefore -= message.attempts > 0 ? 1 : 0;
    if (ended.outcome != SmtpSender::Outcome::Delivered) {
        const qint64 nowMs = m_clock();
        message.queuedSinceMs = std::min(message.queuedSinceMs, nowMs); // the clock may have been wrong
        message.lastError = ended.words;
        noteError(ended.words);
        const bool isTooOld = double(nowMs - message.queuedSinceMs) / 3.6e6 >= m_settings.giveUpHours;
        ending.kind = ended.outcome == SmtpSender::Outcome::Refused ? Ending::Kind::Refused
            : isTooOld                                              ? Ending::Kind::GivenUp
                                                                    : Ending::Kind::PutOff;
        message.state = ending.kind == Ending::Kind::PutOff ? OutboxMessage::State::Queued : OutboxMessage::State::Failed;
        if (ending.kind == Ending::Kind::PutOff)
            ending.pauseSeconds = std::min(m_settings.retrySeconds * std::exp2(message.attempts), kLongestPauseSeconds);
        if (ending.kind != Ending::Kind::GivenUp)
            ++message.attempts;
    }
    const bool isFailure = ending.kind == Ending::Kind::Refused || ending.kind == Ending::Kind::GivenUp;
    if (auto answer = m_answers.extract(message.id))
        m_outcomes.emplace_back(std::move(answer.mapped().promise), Status{!isFailure, isFailure ? ended.words : QString()});
    m_unwritten.push_back(std::move(ending));
}

bool OutboxDelivery::writeEndings()
{
    m_isRecovered = m_isRecovered || m_outbox.recover();
    while (m_isRecovered && !m_unwritten.empty() && write(m_unwritten.front())) {
        log(m_unwritten.front());
        m_unwritten.erase(m_unwritten.begin());
    }
    warnOfUnwritten();
    return m_isRecovered && m_unwritten.empty();
}

bool OutboxDelivery::write(Ending& ending) const
{
    if (ending.kind == Ending::Kind::Delivered)
        return m_outbox.remove(ending.message);
    // The pause begins when it is written, as the log line says; it is 0 for a message that has failed.
    ending.message.nextAttemptMs = m_clock() + qint64(ending.pauseSeconds * 1000.0);
    return m_outbox.update(ending.message);
}

void OutboxDelivery::warnOfUnwritten()
{
    for (Ending& ending : m_unwritten) {
        if (std::exchange(ending.isLogged, true))
            continue;
        const QString what = ending.kind == Ending::Kind::Delivered ? QStringLiteral("it is delivered")
            : ending.kind == Ending::Kind::Refused ? QStringLiteral("it was refused: ") + ending.message.lastError
                                                   : QStringLiteral("it is not delivered: ") + ending.message.lastError;
        Bedrock::Trace::warning(
            "OutboxService # Failed to write what became of message %lld to %s (%s); nothing else is sent until that is written",
            static_cast<long long>(ending.message.id), ending.message.recipientNames().toUtf8().constData(),
            what.toUtf8().constData());
    }
}

void OutboxDelivery::log(const Ending& ending) const
{
    const auto id = static_cast<long long>(ending.message.id);
    const QByteArray names = ending.message.recipientNames().toUtf8();
    const QByteArray words = ending.message.lastError.toUtf8();
    switch (ending.kind) {
    case Ending::Kind::Delivered:
        Bedrock::Trace::info("OutboxService # Delivered message %lld to %s", id, names.constData());
        break;
    case Ending::Kind::PutOff:
        Bedrock::Trace::warning("OutboxService # Message %lld to %s is not delivered yet (%s); the next attempt is in %g s", id,
                                names.constData(), words.constData(), ending.pauseSeconds);
        break;
    case Ending::Kind::GivenUp:
        Bedrock::Trace::warning(
            "OutboxService # Message %lld to %s is given up after %g hours (%s); it stays in the outbox as failed", id,
            names.constData(), m_settings.giveUpHours, words.constData());
        break;
    case Ending::Kind::Refused:
        Bedrock::Trace::warning("OutboxService # Message %lld to %s was refused (%s); it stays in the outbox as failed", id,
                                names.constData(), words.constData());
        break;
    }
}

void OutboxDelivery::deleteFailed()
{
    if (m_settings.deleteRefusedDays <= 0.0 || m_summary.failed == 0)
        return;
    const int deleted = m_outbox.removeFailed(m_clock() - qint64(m_settings.deleteRefusedDays * kDayMs));
    if (deleted > 0)
        Bedrock::Trace::info("OutboxService # Deleted %d messages that had failed %g days before", deleted,
                             m_settings.deleteRefusedDays);
}

void OutboxDelivery::noteError(const QString& words)
{
    const qint64 nowMs = m_clock();
    const std::lock_guard lock(m_mutex);
    m_lastError = words;
    m_lastErrorMs = nowMs;
}

void OutboxDelivery::completeOverdue()
{
    std::vector<Promise> overdue;
    const Time now = steady_clock::now();
    for (auto it = m_answers.begin(); it != m_answers.end();) {
        if (it->second.deadline > now) {
            ++it;
            continue;
        }
        overdue.push_back(std::move(it->second.promise));
        it = m_answers.erase(it);
    }
    for (Promise& promise : overdue)
        complete(promise, {true, QString()});
}

void OutboxDelivery::complete(Promise& promise, const Status& status) const
{
    Bedrock::guarded("OutboxService # Failed to hand over an outcome", [&] { promise.setValue(status); });
}

void OutboxDelivery::stop()
{
    m_isStopped = true;
    for (OutboxMessage& message : m_sender.stop()) {
        message.state = OutboxMessage::State::Queued;
        message.nextAttemptMs = 0;
        // Where this cannot be written, the next program does it as after a crash.
        static_cast<void>(m_outbox.update(message));
    }
}

void OutboxDelivery::finish()
{
    stop();
    writeEndings();
    for (auto& [promise, status] : std::exchange(m_outcomes, {}))
        complete(promise, status);
    for (auto& [id, answer] : std::exchange(m_answers, {}))
        complete(answer.promise, {true, QString()});
}

QJsonObject OutboxDelivery::state() const
{
    const std::lock_guard lock(m_mutex);
    return {{"name", m_settings.name},           {"queued", m_summary.queued},
            {"sending", m_summary.sending},      {"failed", m_summary.failed},
            {"bytes", m_summary.bytes},          {"mostMessages", m_settings.mostMessages},
            {"mostBytes", m_settings.mostBytes}, {"oldest", isoTime(m_summary.oldestMs)},
            {"lastError", m_lastError},          {"lastErrorAt", isoTime(m_lastErrorMs)}};
}
}
