#include "Outbox.hpp"

#include "../SqliteSchema.hpp"
#include "OutboxSchema.hpp"

#include <Bedrock/Trace.hpp>

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QUuid>

#include <algorithm>

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
/// Far longer than a table takes to remove what was sent.
constexpr qint64 kSentKeptMs = 600'000;
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
    const bool isDueLater = queued > 0 && nextAttemptMs > nowMs;
    const std::chrono::milliseconds next = isDueLater ? std::chrono::milliseconds(nextAttemptMs - nowMs) : kReadingPause;
    return count() == 0 ? kIdlePause : std::min(next, kReadingPause);
}

std::unique_ptr<Outbox> Outbox::open(const QString& folder, QString& error)
{
    error.clear();
    std::unique_ptr<Outbox> outbox(new Outbox(folder));
    const QString files = folder + QStringLiteral("/files");
    if (!QDir().mkpath(files))
        error =
            "cannot make the folder " + files + "; check that all above it are folders, and let this user write the last of them";
    else if (QFileInfo(files).isSymLink())
        error = files + " is a link, through which nothing is removed; give the data folder itself another place with --data";
    if (!error.isEmpty())
        return nullptr;
    const auto change = [&outbox](SqliteTransaction& transaction, int found, QString& fault) {
        return OutboxSchema::change(transaction, found, *outbox, fault);
    };
    const SqliteSchema schema{"an outbox", OutboxSchema::kVersion, change, SqliteSchema::WhenLocked::Open};
    const bool isReady = schema.prepare(outbox->m_database, error);
    outbox->m_lock.close();
    return isReady ? std::move(outbox) : nullptr;
}

bool Outbox::lock()
{
    if (m_lock.isOpen())
        return true;
    const int file = ::open(QFile::encodeName(m_folder + "/outbox.lock").constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    const bool isOpen = file >= 0 && m_lock.open(file, QIODevice::ReadWrite, QFileDevice::AutoCloseHandle);
    if (isOpen && ::flock(file, LOCK_EX | LOCK_NB) != 0)
        m_lock.close();
    return m_lock.isOpen();
}

bool Outbox::recover()
{
    SqliteTransaction transaction = begin(Kind::Write, "write");
    transaction.run("UPDATE messages SET state = ?, next_attempt = 0 WHERE state = ?", {kQueued, kSending});
    return transaction.commit();
}

void Outbox::removeOrphans() const
{
    SqliteTransaction transaction = begin(Kind::Read, "read");
    QStringList orphans = QDir(path(QString())).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    if (transaction.run("SELECT file FROM messages", {},
                        [&](const QSqlQuery& row) { orphans.removeOne(row.value(0).toString()); }))
        for (const QString& orphan : orphans)
            removeFile(orphan);
}

QString Outbox::newFile()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces) + QStringLiteral(".eml");
}

void Outbox::removeFile(const QString& file) const
{
    static const QRegularExpression own(QStringLiteral("\\A[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}(\\.eml)?\\z"));
    if (!own.match(file).hasMatch() || QFileInfo(m_folder + QStringLiteral("/files")).isSymLink())
        return;
    const QFileInfo found(path(file));
    if (!found.isDir() || found.isSymLink()) {
        QFile::remove(path(file));
        return;
    }
    // The numbered copies that version 1 had for each message.
    for (int number = 0; QFile::remove(path(file + QLatin1Char('/') + QString::number(number)));)
        ++number;
    QDir().rmdir(path(file));
}

Outbox::Added Outbox::add(OutboxMessage& message, const Limits& limits)
{
    SqliteTransaction transaction = begin(Kind::Write, "write");
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
    noteCollected(transaction, message);
    return commit(transaction) ? Added::Yes : Added::Fault;
}

void Outbox::noteCollected(SqliteTransaction& transaction, const OutboxMessage& message)
{
    // Those of before have long been removed by this program, or by it at its start.
    transaction.run("DELETE FROM sent_items WHERE accepted < ?", {message.createdMs - kSentKeptMs});
    for (const QString& key : message.collected.keys)
        transaction.run("INSERT OR REPLACE INTO sent_items (key, card, message, accepted) VALUES (?, ?, ?, ?)",
                        {key, QString::number(message.collected.code), message.id, message.createdMs});
}

std::vector<Tavola::EmailMessage::Collected> Outbox::sentItems() const
{
    std::vector<Tavola::EmailMessage::Collected> result;
    SqliteTransaction transaction = begin(Kind::Read, "read");
    transaction.run("SELECT card, key FROM sent_items ORDER BY card, key", {}, [&result](const QSqlQuery& row) {
        const std::uint64_t code = row.value(0).toString().toULongLong();
        if (result.empty() || result.back().code != code)
            result.push_back({code, {}});
        result.back().keys.append(row.value(1).toString());
    });
    return result;
}

std::optional<std::vector<OutboxMessage>> Outbox::select(SqliteTransaction& transaction, const QString& condition, Values values)
{
    std::vector<OutboxMessage> result;
    transaction.run("SELECT id, message_id, created, queued_since, state, attempts, next_attempt, last_error, sender_address, "
                    "file, size FROM messages "
                        + condition,
                    values, [&result](const QSqlQuery& row) {
                        const auto number = [&row](int column) { return row.value(column).toLongLong(); };
                        const auto text = [&row](int column) { return row.value(column).toString(); };
                        const auto state = OutboxMessage::State(number(4));
                        result.push_back({number(0),
                                          text(1),
                                          number(2),
                                          number(3),
                                          state,
                                          int(number(5)),
                                          number(6),
                                          text(7),
                                          text(8),
                                          text(9),
                                          number(10),
                                          {}});
                    });
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
    SqliteTransaction transaction = begin(Kind::Read, "read");
    return select(transaction, "ORDER BY id", {});
}

std::optional<OutboxSummary> Outbox::summary(qint64 nowMs) const
{
    OutboxSummary summary;
    SqliteTransaction transaction = begin(Kind::Read, "read");
    transaction.run("SELECT TOTAL(state = ?), TOTAL(state = ?), TOTAL(state = ?), MIN(created), TOTAL(size), "
                    "MIN(CASE WHEN state <> ? THEN NULL WHEN next_attempt > ? THEN 0 ELSE next_attempt END) FROM messages",
                    {kQueued, kSending, kFailed, kQueued, nowMs + kLongestPauseMs}, [&summary](const QSqlQuery& row) {
                        summary = {row.value(0).toInt(),      row.value(1).toInt(),      row.value(2).toInt(),
                                   row.value(3).toLongLong(), row.value(5).toLongLong(), row.value(4).toLongLong()};
                    });
    return transaction ? std::optional(summary) : std::nullopt;
}

std::optional<OutboxMessage> Outbox::claimDue(qint64 nowMs)
{
    // Read first, then marked, in one transaction: what cannot be read stays queued.
    SqliteTransaction transaction = begin(Kind::Write, "take a message from");
    auto due =
        select(transaction,
               "WHERE state = ? AND (next_attempt <= ? OR next_attempt > ?) AND (attempts = 0 OR NOT EXISTS (SELECT 1 FROM "
               "messages WHERE state = ? AND attempts > 0)) ORDER BY next_attempt, id LIMIT 1",
               {kQueued, nowMs, nowMs + kLongestPauseMs, kSending});
    if (!due || due->empty() || !transaction.run("UPDATE messages SET state = ? WHERE id = ?", {kSending, due->front().id})
        || !commit(transaction))
        return std::nullopt;
    due->front().state = OutboxMessage::State::Sending;
    return std::move(due->front());
}

std::optional<int> Outbox::erase(const QString& condition, Values values)
{
    QStringList files;
    SqliteTransaction transaction = begin(Kind::Write, "write");
    transaction.run("SELECT file FROM messages WHERE " + condition, values,
                    [&files](const QSqlQuery& row) { files << row.value(0).toString(); });
    if (transaction && files.isEmpty())
        return 0;
    transaction.run("DELETE FROM messages WHERE " + condition, values);
    if (!commit(transaction))
        return std::nullopt;
    for (const QString& file : files)
        removeFile(file);
    return files.size();
}

bool Outbox::update(const OutboxMessage& message)
{
    SqliteTransaction transaction = begin(Kind::Write, "write");
    transaction.run(
        "UPDATE messages SET state = ?, attempts = ?, next_attempt = ?, queued_since = ?, last_error = ? WHERE id = ?",
        {int(message.state), message.attempts, message.nextAttemptMs, message.queuedSinceMs, message.lastError, message.id});
    // The visitor is told, and keeps what was to be sent.
    if (message.state == OutboxMessage::State::Failed)
        transaction.run("DELETE FROM sent_items WHERE message = ?", {message.id});
    int position = 0;
    for (const auto& recipient : message.recipients)
        transaction.run("UPDATE recipients SET outcome = ?, reply = ? WHERE message = ? AND position = ?",
                        {int(recipient.outcome), recipient.reply, message.id, position++});
    return commit(transaction);
}

int Outbox::removeFailed(qint64 beforeMs)
{
    // A message of version 1 has 0, or the time of its last attempt, as the time when it failed.
    return erase("state = ? AND MAX(queued_since, next_attempt) < ?", {kFailed, beforeMs}).value_or(0);
}

bool Outbox::retry(qint64 id, qint64 nowMs)
{
    SqliteTransaction transaction = begin(Kind::Write, "write");
    transaction.run("UPDATE messages SET state = ?, attempts = 0, next_attempt = 0, queued_since = ? WHERE id = ? AND state <> ?",
                    {kQueued, nowMs, id, kSending});
    const bool isThere = transaction && transaction.changedRows() == 1;
    transaction.run("UPDATE recipients SET outcome = ? WHERE message = ? AND outcome = ?",
                    {int(OutboxMessage::Outcome::Open), id, int(OutboxMessage::Outcome::Refused)});
    return isThere && transaction.commit();
}

bool Outbox::drop(qint64 id)
{
    const bool isIdle = !m_lock.isOpen() && lock(); // no program sends
    const bool isDropped = erase("id = ? AND (state <> ? OR ?)", {id, kSending, isIdle}) == 1;
    if (isIdle)
        m_lock.close();
    return isDropped;
}

SqliteTransaction Outbox::begin(Kind kind, const char* what) const
{
    return {m_database, kind, [this, what](const QString& reason, const QString& remedy) {
                const QString warning = QStringLiteral("Outbox # Failed to %1 %2 (%3; %4)").arg(what, m_database, reason, remedy);
                const std::lock_guard lock(m_warningsMutex);
                if (m_warnings.insert(warning).second)
                    Bedrock::Trace::warning("%s", qUtf8Printable(warning));
            }};
}

bool Outbox::commit(SqliteTransaction& transaction) const
{
    const bool isWritten = transaction.commit();
    const std::lock_guard lock(m_warningsMutex);
    if (isWritten)
        m_warnings.clear();
    return isWritten;
}
}
