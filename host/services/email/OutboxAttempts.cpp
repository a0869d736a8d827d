#include "OutboxAttempts.hpp"

#include "OutboxAnswers.hpp"

#include <Bedrock/Trace.hpp>

#include <algorithm>
#include <utility>

namespace Host
{
namespace
{
constexpr double kLongestPauseSeconds = double(Outbox::kLongestPauseMs) / 1000.0;
}

OutboxAttempts::OutboxAttempts(const MailSettings& settings, const MailCredentials& credentials, Surroundings surroundings)
    : m_settings(settings), m_sender(settings, credentials), m_surroundings(std::move(surroundings))
{
}

void OutboxAttempts::begin()
{
    // While not even that can be written, files of no message are left alone.
    if (writeOutcomes())
        m_surroundings.outbox.removeOrphans();
}

bool OutboxAttempts::writeOutcomes()
{
    const std::lock_guard lock(m_mutex);
    m_isRecovered = m_isRecovered || m_surroundings.outbox.recover();
    if (!m_isRecovered)
        return false;
    while (!m_unwritten.empty()) {
        if (!write(m_unwritten.front()))
            return false;
        log(m_unwritten.front());
        m_unwritten.erase(m_unwritten.begin());
    }
    m_hasUnwritten = false;
    return true;
}

OutboxAttempts::Turn OutboxAttempts::makeOne(Outbox::Which which, const GoOn& goOn)
{
    if (m_hasUnwritten && !writeOutcomes())
        return Turn::Fault;
    Outbox::Claim claim = m_surroundings.outbox.claimDue(m_surroundings.clock(), which);
    if (!claim.message)
        return claim.isFault ? Turn::Fault : Turn::NothingDue;
    m_surroundings.report.read();
    const QString messageId = claim.message->messageId;
    OutboxAnswers::Status status{true, QString()};
    if (auto ending = attempt(std::move(*claim.message), goOn)) {
        if (ending->kind == Ending::Kind::Refused || ending->kind == Ending::Kind::GivenUp)
            status = {false, ending->words};
        conclude(std::move(*ending));
    }
    m_surroundings.report.read();
    m_surroundings.answers.complete(messageId, status);
    return Turn::Made;
}

std::optional<OutboxAttempts::Ending> OutboxAttempts::attempt(OutboxMessage message, const GoOn& goOn) const
{
    const auto result = m_sender.send(message, m_surroundings.outbox.files().path(message.file), goOn);
    switch (result.outcome) {
    case SmtpSender::Outcome::Delivered: return Ending{Ending::Kind::Delivered, std::move(message), QString(), 0.0};
    case SmtpSender::Outcome::Later: return putOff(std::move(message), result.words);
    case SmtpSender::Outcome::Refused:
        ++message.attempts;
        message.state = OutboxMessage::State::Failed;
        message.lastError = result.words;
        return Ending{Ending::Kind::Refused, std::move(message), result.words, 0.0};
    case SmtpSender::Outcome::Stopped: break;
    }
    message.state = OutboxMessage::State::Queued;
    message.nextAttemptMs = 0;
    // Where this cannot be written, the next program does it as after a crash.
    static_cast<void>(m_surroundings.outbox.update(message));
    return std::nullopt;
}

OutboxAttempts::Ending OutboxAttempts::putOff(OutboxMessage message, const QString& words) const
{
    const qint64 nowMs = m_surroundings.clock();
    message.queuedSinceMs = std::min(message.queuedSinceMs, nowMs); // the clock may have been wrong
    message.lastError = words;
    if (double(nowMs - message.queuedSinceMs) / 3.6e6 >= m_settings.giveUpHours) {
        message.state = OutboxMessage::State::Failed;
        return {Ending::Kind::GivenUp, std::move(message), words, 0.0};
    }
    double pauseSeconds = m_settings.retrySeconds;
    for (int i = 0; i < message.attempts && pauseSeconds < kLongestPauseSeconds; ++i)
        pauseSeconds *= 2.0;
    ++message.attempts;
    message.state = OutboxMessage::State::Queued;
    return {Ending::Kind::PutOff, std::move(message), words, std::min(pauseSeconds, kLongestPauseSeconds)};
}

bool OutboxAttempts::write(Ending& ending) const
{
    if (ending.kind == Ending::Kind::Delivered)
        return m_surroundings.outbox.remove(ending.message);
    // The pause begins when it is written, as the log line says; it is 0 for a message that has failed.
    ending.message.nextAttemptMs = m_surroundings.clock() + qint64(ending.pauseSeconds * 1000.0);
    return m_surroundings.outbox.update(ending.message);
}

void OutboxAttempts::conclude(Ending ending)
{
    if (ending.kind != Ending::Kind::Delivered)
        m_surroundings.report.noteError(ending.words);
    if (write(ending)) {
        log(ending);
        return;
    }
    const QString what = ending.kind == Ending::Kind::Delivered ? QStringLiteral("it is delivered")
        : ending.kind == Ending::Kind::Refused                  ? QStringLiteral("it was refused: ") + ending.words
                                                                : QStringLiteral("it is not delivered: ") + ending.words;
    Bedrock::Trace::warning(
        "OutboxService # Failed to write what became of message %lld to %s (%s); nothing else is sent until that is written",
        static_cast<long long>(ending.message.id), ending.message.recipientNames().toUtf8().constData(),
        what.toUtf8().constData());
    const std::lock_guard lock(m_mutex);
    m_unwritten.push_back(std::move(ending));
    m_hasUnwritten = true;
}

void OutboxAttempts::log(const Ending& ending) const
{
    const auto id = static_cast<long long>(ending.message.id);
    const QByteArray names = ending.message.recipientNames().toUtf8();
    const QByteArray words = ending.words.toUtf8();
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
}
