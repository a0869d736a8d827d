#include "Outbox.hpp"

#include "../SqliteConnection.hpp"
#include "../SqliteTransaction.hpp"
#include "OutboxSchema.hpp"

#include <Bedrock/Trace.hpp>

#include <QDir>
#include <QFile>
#include <QSqlQuery>
#include <QVariant>

#include <algorithm>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace Host
{
namespace
{
constexpr auto kQueued = int(OutboxMessage::State::Queued);
constexpr auto kSending = int(OutboxMessage::State::Sending);
constexpr auto kFailed = int(OutboxMessage::State::Failed);

OutboxMessage messageOf(const QSqlQuery& row)
{
    int column = 0;
    const auto next = [&] { return row.value(column++); };
    OutboxMessage message;
    message.id = next().toLongLong();
    message.messageId = next().toString();
    message.createdMs = next().toLongLong();
    message.queuedSinceMs = next().toLongLong();
    message.state = OutboxMessage::State(next().toInt());
    message.attempts = next().toInt();
    message.nextAttemptMs = next().toLongLong();
    message.lastError = next().toString();
    message.sender = next().toString();
    message.file = next().toString();
    message.sizeBytes = next().toLongLong();
    return message;
}
}

QString OutboxMessage::recipientNames() const
{
    QStringList names;
    for (const Recipient& recipient : recipients)
        names << recipient.address;
    return names.join(QStringLiteral(", "));
}

std::chrono::milliseconds OutboxSummary::pause(qint64 nowMs) const
{
    if (count() == 0)
        return kIdlePause;
    if (queued == 0 || nextAttemptMs <= nowMs)
        return kReadingPause;
    return std::min(std::chrono::milliseconds(nextAttemptMs - nowMs), kReadingPause);
}

Outbox::Outbox(const QString& folder)
    : m_folder(folder), m_path(folder + QStringLiteral("/outbox.sqlite")), m_files(folder + QStringLiteral("/files"))
{
}

Outbox::~Outbox()
{
    unlock();
}

std::unique_ptr<Outbox> Outbox::open(const QString& folder, QString& error)
{
    if (!QDir().mkpath(folder + QStringLiteral("/files"))) {
        error =
            QStringLiteral(
                "cannot make the folder %1/files; check that all above it are folders, and let this user write the last of them")
                .arg(folder);
        return nullptr;
    }
    if (QFileInfo(folder + QStringLiteral("/files")).isSymLink()) {
        error =
            QStringLiteral("%1/files is a link, through which nothing is removed; give the data folder itself another place with "
                           "--data")
                .arg(folder);
        return nullptr;
    }
    std::unique_ptr<Outbox> outbox(new Outbox(folder));
    const bool isReady = OutboxSchema::prepare(
        outbox->m_path, outbox->m_files, [&] { return outbox->lock(); }, error);
    outbox->unlock();
    return isReady ? std::move(outbox) : nullptr;
}

bool Outbox::lock()
{
    if (m_lock >= 0)
        return true;
    const QByteArray name = QFile::encodeName(m_folder + QStringLiteral("/outbox.lock"));
    m_lock = ::open(name.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (m_lock >= 0 && ::flock(m_lock, LOCK_EX | LOCK_NB) != 0)
        unlock();
    return m_lock >= 0;
}

void Outbox::unlock()
{
    if (m_lock >= 0)
        ::close(std::exchange(m_lock, -1));
}

bool Outbox::recover()
{
    SqliteTransaction transaction = writing();
    transaction.run("UPDATE messages SET state = ?, next_attempt = 0 WHERE state = ?", {kQueued, kSending});
    return transaction.commit();
}

void Outbox::removeOrphans() const
{
    SqliteTransaction transaction = reading();
    QStringList names;
    if (transaction.run("SELECT file FROM messages", {}, [&names](const QSqlQuery& row) { names << row.value(0).toString(); }))
        m_files.removeAllBut(names);
}

Outbox::Added Outbox::add(OutboxMessage& message, const Limits& limits)
{
    SqliteTransaction transaction = writing();
    bool isFull = false;
    transaction.run("SELECT COUNT(*), TOTAL(size) FROM messages", {}, [&](const QSqlQuery& row) {
        isFull = row.value(0).toInt() >= limits.messages || row.value(1).toLongLong() + message.sizeBytes > limits.bytes;
    });
    if (isFull)
        return Added::Full;
    transaction.run("INSERT INTO messages (message_id, created, queued_since, state, attempts, next_attempt, last_error, "
                    "sender_address, file, size) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)",
                    {message.messageId, message.createdMs, message.queuedSinceMs, int(message.state), message.attempts,
                     message.nextAttemptMs, message.lastError, message.sender, message.file, message.sizeBytes});
    message.id = transaction.insertedId();
    int position = 0;
    for (const auto& recipient : message.recipients)
        transaction.run("INSERT INTO recipients VALUES (?, ?, ?, ?, ?)",
                        {message.id, position++, recipient.address, int(recipient.outcome), recipient.reply});
    return commit(transaction) ? Added::Yes : Added::Fault;
}

std::optional<std::vector<OutboxMessage>> Outbox::select(SqliteTransaction& transaction, const QString& condition,
                                                         std::initializer_list<QVariant> values) const
{
    std::vector<OutboxMessage> result;
    transaction.run("SELECT id, message_id, created, queued_since, state, attempts, next_attempt, last_error, sender_address, "
                    "file, size FROM messages "
                        + condition,
                    values, [&result](const QSqlQuery& row) { result.push_back(messageOf(row)); });
    for (OutboxMessage& message : result)
        transaction.run("SELECT address, outcome, reply FROM recipients WHERE message = ? ORDER BY position", {message.id},
                        [&message](const QSqlQuery& row) {
                            message.recipients.push_back(
                                {row.value(0).toString(), OutboxMessage::Outcome(row.value(1).toInt()), row.value(2).toString()});
                        });
    return transaction ? std::optional(std::move(result)) : std::nullopt;
}

std::optional<std::vector<OutboxMessage>> Outbox::messages() const
{
    SqliteTransaction transaction = reading();
    return select(transaction, "ORDER BY id", {});
}

std::optional<OutboxSummary> Outbox::summary(qint64 nowMs) const
{
    OutboxSummary summary;
    const auto addRow = [&summary](const QSqlQuery& row) {
        const auto state = OutboxMessage::State(row.value(0).toInt());
        (state == OutboxMessage::State::Queued       ? summary.queued
             : state == OutboxMessage::State::Failed ? summary.failed
                                                     : summary.sending) = row.value(1).toInt();
        const qint64 createdMs = row.value(2).toLongLong();
        summary.oldestMs = summary.oldestMs == 0 ? createdMs : std::min(summary.oldestMs, createdMs);
        if (state == OutboxMessage::State::Queued)
            summary.nextAttemptMs = row.value(3).toLongLong();
        summary.bytes += row.value(4).toLongLong();
    };
    SqliteTransaction transaction = reading();
    transaction.run("SELECT state, COUNT(*), MIN(created), MIN(CASE WHEN next_attempt > ? THEN 0 ELSE next_attempt END), "
                    "TOTAL(size) FROM messages GROUP BY state",
                    {nowMs + kLongestPauseMs}, addRow);
    return transaction ? std::optional(summary) : std::nullopt;
}

std::optional<OutboxMessage> Outbox::claimDue(qint64 nowMs, Which which)
{
    // Read first, then marked, in one transaction: what cannot be read stays queued.
    SqliteTransaction transaction = writing("take a message from");
    auto due = select(transaction,
                      "WHERE state = ? AND (next_attempt <= ? OR next_attempt > ?) AND (attempts = 0 OR ?) "
                      "ORDER BY next_attempt, id LIMIT 1",
                      {kQueued, nowMs, nowMs + kLongestPauseMs, which == Which::All});
    if (!due || due->empty() || !transaction.run("UPDATE messages SET state = ? WHERE id = ?", {kSending, due->front().id})
        || !commit(transaction))
        return std::nullopt;
    due->front().state = OutboxMessage::State::Sending;
    return std::move(due->front());
}

bool Outbox::remove(const OutboxMessage& message)
{
    SqliteTransaction transaction = writing();
    transaction.run("DELETE FROM messages WHERE id = ?", {message.id});
    const bool isRemoved = commit(transaction);
    if (isRemoved)
        m_files.remove(message.file);
    return isRemoved;
}

bool Outbox::update(const OutboxMessage& message)
{
    SqliteTransaction transaction = writing();
    transaction.run(
        "UPDATE messages SET state = ?, attempts = ?, next_attempt = ?, queued_since = ?, last_error = ? WHERE id = ?",
        {int(message.state), message.attempts, message.nextAttemptMs, message.queuedSinceMs, message.lastError, message.id});
    int position = 0;
    for (const auto& recipient : message.recipients)
        transaction.run("UPDATE recipients SET outcome = ?, reply = ? WHERE message = ? AND position = ?",
                        {int(recipient.outcome), recipient.reply, message.id, position++});
    return commit(transaction);
}

int Outbox::removeFailed(qint64 beforeMs)
{
    // A message that was made by an earlier version has 0, or the time of its last attempt, as the time when it failed.
    const QString condition = "FROM messages WHERE state = ? AND MAX(queued_since, next_attempt) < ?";
    QStringList files;
    SqliteTransaction transaction = writing();
    transaction.run("SELECT file " + condition, {kFailed, beforeMs},
                    [&files](const QSqlQuery& row) { files << row.value(0).toString(); });
    if (files.isEmpty())
        return 0;
    transaction.run("DELETE " + condition, {kFailed, beforeMs});
    if (!commit(transaction))
        return 0;
    for (const QString& file : files)
        m_files.remove(file);
    return files.size();
}

bool Outbox::retry(qint64 id, qint64 nowMs)
{
    SqliteTransaction transaction = writing();
    if (!transaction.run(
            "UPDATE messages SET state = ?, attempts = 0, next_attempt = 0, queued_since = ? WHERE id = ? AND state <> ?",
            {kQueued, nowMs, id, kSending})
        || transaction.changedRows() != 1)
        return false;
    transaction.run("UPDATE recipients SET outcome = ? WHERE message = ? AND outcome = ?",
                    {int(OutboxMessage::Outcome::Open), id, int(OutboxMessage::Outcome::Refused)});
    return transaction.commit();
}

bool Outbox::drop(qint64 id)
{
    const bool isIdle = m_lock < 0 && lock(); // no program sends
    QString file;
    bool isDropped = false;
    {
        SqliteTransaction transaction = writing();
        transaction.run("SELECT file FROM messages WHERE id = ?", {id},
                        [&file](const QSqlQuery& row) { file = row.value(0).toString(); });
        isDropped = transaction.run("DELETE FROM messages WHERE id = ? AND (state <> ? OR ?)", {id, kSending, isIdle})
            && transaction.changedRows() == 1 && transaction.commit();
    }
    if (isIdle)
        unlock();
    if (isDropped)
        m_files.remove(file);
    return isDropped;
}

SqliteTransaction Outbox::reading() const
{
    return {m_path, SqliteTransaction::Kind::Read,
            [this](const QString& reason, const QString& remedy) { warnAbout("read", reason + "; " + remedy); }};
}

SqliteTransaction Outbox::writing(const char* what) const
{
    return {m_path, SqliteTransaction::Kind::Write,
            [this, what](const QString& reason, const QString& remedy) { warnAbout(what, reason + "; " + remedy); }};
}

void Outbox::warnAbout(const char* what, const QString& detail) const
{
    const QString warning = QStringLiteral("Outbox # Failed to %1 %2 (%3)").arg(QLatin1String(what), m_path, detail);
    {
        const std::lock_guard lock(m_warningsMutex);
        if (m_warnings.contains(warning))
            return;
        m_warnings << warning;
    }
    Bedrock::Trace::warning("%s", warning.toUtf8().constData());
}

bool Outbox::commit(SqliteTransaction& transaction) const
{
    if (!transaction.commit())
        return false;
    const std::lock_guard lock(m_warningsMutex);
    m_warnings.clear();
    return true;
}
}
