#include "Outbox.hpp"

#include "../SqliteConnection.hpp"
#include "../SqliteTransaction.hpp"

#include <Bedrock/Trace.hpp>

#include <QDir>
#include <QFile>
#include <QSqlError>
#include <QSqlQuery>
#include <QStringList>
#include <QVariant>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

namespace Host
{
namespace
{
constexpr int kSchemaVersion = 1;

const char* const kSchema[] = {
    "CREATE TABLE IF NOT EXISTS messages (id INTEGER PRIMARY KEY AUTOINCREMENT, message_id TEXT NOT NULL UNIQUE, "
    "created INTEGER NOT NULL, queued_since INTEGER NOT NULL, state INTEGER NOT NULL, attempts INTEGER NOT NULL, next_attempt "
    "INTEGER NOT NULL, "
    "last_error TEXT NOT NULL, sender_address TEXT NOT NULL, sender_name TEXT NOT NULL, subject TEXT NOT NULL, "
    "text TEXT NOT NULL, html TEXT NOT NULL, folder TEXT NOT NULL)",
    "CREATE TABLE IF NOT EXISTS recipients (message INTEGER NOT NULL REFERENCES messages(id) ON DELETE CASCADE, "
    "position INTEGER NOT NULL, address TEXT NOT NULL, name TEXT NOT NULL, type INTEGER NOT NULL, outcome INTEGER NOT NULL, "
    "reply TEXT NOT NULL, PRIMARY KEY (message, position))",
    "CREATE TABLE IF NOT EXISTS files (message INTEGER NOT NULL REFERENCES messages(id) ON DELETE CASCADE, "
    "position INTEGER NOT NULL, name TEXT NOT NULL, mime_type TEXT NOT NULL, size INTEGER NOT NULL, "
    "PRIMARY KEY (message, position))"};

constexpr auto kQueued = int(OutboxMessage::State::Queued);
constexpr auto kSending = int(OutboxMessage::State::Sending);

const char* const kColumns =
    "SELECT id, message_id, created, state, attempts, next_attempt, last_error, sender_address, sender_name, "
    "subject, text, html, folder, queued_since FROM messages ";

bool insertParts(SqliteTransaction& transaction, const OutboxMessage& message)
{
    int position = 0;
    for (const auto& recipient : message.recipients)
        if (!transaction.run(QStringLiteral("INSERT INTO recipients VALUES (?, ?, ?, ?, ?, ?, ?)"),
                             {message.id, position++, recipient.address.address, recipient.address.name, int(recipient.type),
                              int(recipient.outcome), recipient.reply}))
            return false;
    position = 0;
    for (const auto& file : message.files)
        if (!transaction.run(QStringLiteral("INSERT INTO files VALUES (?, ?, ?, ?, ?)"),
                             {message.id, position++, file.name, file.mimeType, file.sizeBytes}))
            return false;
    return true;
}

OutboxMessage messageOf(const QSqlQuery& row)
{
    OutboxMessage message;
    message.id = row.value(0).toLongLong();
    message.messageId = row.value(1).toString();
    message.createdMs = row.value(2).toLongLong();
    message.state = OutboxMessage::State(row.value(3).toInt());
    message.attempts = row.value(4).toInt();
    message.nextAttemptMs = row.value(5).toLongLong();
    message.lastError = row.value(6).toString();
    message.sender = {row.value(7).toString(), row.value(8).toString()};
    message.subject = row.value(9).toString();
    message.text = row.value(10).toString();
    message.html = row.value(11).toString();
    message.folder = row.value(12).toString();
    message.queuedSinceMs = row.value(13).toLongLong();
    return message;
}
}

QString OutboxMessage::recipientNames() const
{
    QStringList names;
    for (const Recipient& recipient : recipients)
        names << recipient.address.address;
    return names.join(QStringLiteral(", "));
}

Outbox::Outbox(const QString& folder)
    : m_folder(folder), m_path(folder + QStringLiteral("/outbox.sqlite")), m_files(folder + QStringLiteral("/files"))
{
}

Outbox::~Outbox()
{
    if (m_lock >= 0)
        ::close(m_lock);
}

std::unique_ptr<Outbox> Outbox::open(const QString& folder, QString& error)
{
    if (!QDir().mkpath(folder + QStringLiteral("/files"))) {
        error = QStringLiteral("cannot make the folder %1/files").arg(folder);
        return nullptr;
    }
    std::unique_ptr<Outbox> outbox(new Outbox(folder));
    return outbox->prepare(error) ? std::move(outbox) : nullptr;
}

bool Outbox::prepare(QString& error) const
{
    SqliteConnection connection(m_path);
    if (!connection.isOpen()) {
        error = QStringLiteral("cannot open %1 (%2)").arg(m_path, connection.error());
        return false;
    }
    QSqlQuery query(connection.database());
    const auto fail = [&] {
        error = QStringLiteral("%1 is no outbox (%2); move it away to begin a new one").arg(m_path, query.lastError().text());
        return false;
    };
    if (!query.exec(QStringLiteral("PRAGMA user_version")) || !query.next())
        return fail();
    const int version = query.value(0).toInt();
    if (version > kSchemaVersion) {
        error = QStringLiteral("%1 was made by a newer version of this program").arg(m_path);
        return false;
    }
    query.finish();
    if (version == kSchemaVersion)
        return true;
    if (!query.exec(QStringLiteral("PRAGMA journal_mode=WAL")))
        return fail();
    for (const char* statement : kSchema)
        if (!query.exec(QLatin1String(statement)))
            return fail();
    return query.exec(QStringLiteral("PRAGMA user_version=%1").arg(kSchemaVersion)) || fail();
}

bool Outbox::lock()
{
    if (m_lock >= 0)
        return true;
    const QByteArray name = QFile::encodeName(m_folder + QStringLiteral("/outbox.lock"));
    m_lock = ::open(name.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (m_lock >= 0 && ::flock(m_lock, LOCK_EX | LOCK_NB) != 0) {
        ::close(m_lock);
        m_lock = -1;
    }
    return m_lock >= 0;
}

bool Outbox::recover()
{
    SqliteTransaction transaction = writing();
    return transaction.run(QStringLiteral("UPDATE messages SET state = ?, next_attempt = 0 WHERE state = ?"), {kQueued, kSending})
        && transaction.commit();
}

void Outbox::removeOrphans() const
{
    SqliteTransaction transaction = reading();
    QStringList folders;
    if (transaction.run(QStringLiteral("SELECT folder FROM messages"))
        && transaction.forEachRow([&folders](const QSqlQuery& row) { folders << row.value(0).toString(); }))
        m_files.removeAllBut(folders);
}

bool Outbox::add(OutboxMessage& message)
{
    SqliteTransaction transaction = writing();
    if (!transaction.run(
            QStringLiteral(
                "INSERT INTO messages (message_id, created, queued_since, state, attempts, next_attempt, last_error, "
                "sender_address, sender_name, subject, text, html, folder) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"),
            {message.messageId, message.createdMs, message.queuedSinceMs, int(message.state), message.attempts,
             message.nextAttemptMs, message.lastError, message.sender.address, message.sender.name, message.subject, message.text,
             message.html, message.folder}))
        return false;
    message.id = transaction.insertedId();
    if (!insertParts(transaction, message) || !transaction.commit())
        return false;
    forgetWarnings();
    return true;
}

std::optional<std::vector<OutboxMessage>> Outbox::select(SqliteTransaction& transaction, const QString& condition,
                                                         std::initializer_list<QVariant> values) const
{
    std::vector<OutboxMessage> result;
    if (!transaction.run(QLatin1String(kColumns) + condition, values)
        || !transaction.forEachRow([&result](const QSqlQuery& row) { result.push_back(messageOf(row)); }))
        return std::nullopt;
    for (OutboxMessage& message : result)
        if (!selectParts(transaction, message))
            return std::nullopt;
    return result;
}

bool Outbox::selectParts(SqliteTransaction& transaction, OutboxMessage& message) const
{
    const auto addRecipient = [&message](const QSqlQuery& row) {
        message.recipients.push_back({{row.value(0).toString(), row.value(1).toString()},
                                      Tavola::EmailMessage::RecipientType(row.value(2).toInt()),
                                      OutboxMessage::Outcome(row.value(3).toInt()),
                                      row.value(4).toString()});
    };
    const auto addFile = [this, &message](const QSqlQuery& row) {
        message.files.push_back({row.value(0).toString(), row.value(1).toString(),
                                 m_files.path(message.folder, int(message.files.size())), row.value(2).toLongLong()});
    };
    return transaction.run(
               QStringLiteral("SELECT address, name, type, outcome, reply FROM recipients WHERE message = ? ORDER BY position"),
               {message.id})
        && transaction.forEachRow(addRecipient)
        && transaction.run(QStringLiteral("SELECT name, mime_type, size FROM files WHERE message = ? ORDER BY position"),
                           {message.id})
        && transaction.forEachRow(addFile);
}

std::optional<std::vector<OutboxMessage>> Outbox::messages() const
{
    SqliteTransaction transaction = reading();
    return select(transaction, QStringLiteral("ORDER BY id"), {});
}

std::optional<OutboxMessage> Outbox::message(qint64 id) const
{
    SqliteTransaction transaction = reading();
    auto found = select(transaction, QStringLiteral("WHERE id = ?"), {id});
    return !found || found->empty() ? std::nullopt : std::optional(std::move(found->front()));
}

std::optional<OutboxSummary> Outbox::summary(qint64 nowMs) const
{
    OutboxSummary summary;
    const auto addRow = [&summary](const QSqlQuery& row) {
        const int count = row.value(1).toInt();
        const qint64 createdMs = row.value(2).toLongLong();
        summary.oldestMs = summary.oldestMs == 0 ? createdMs : std::min(summary.oldestMs, createdMs);
        switch (OutboxMessage::State(row.value(0).toInt())) {
        case OutboxMessage::State::Queued:
            summary.queued = count;
            summary.nextAttemptMs = row.value(3).toLongLong();
            break;
        case OutboxMessage::State::Sending: summary.sending = count; break;
        case OutboxMessage::State::Failed: summary.failed = count; break;
        }
    };
    SqliteTransaction transaction = reading();
    const bool isRead =
        transaction.run(
            QStringLiteral("SELECT state, COUNT(*), MIN(created), MIN(CASE WHEN next_attempt > ? THEN 0 ELSE next_attempt END) "
                           "FROM messages GROUP BY state"),
            {nowMs + kLongestPauseMs})
        && transaction.forEachRow(addRow);
    return isRead ? std::optional(summary) : std::nullopt;
}

Outbox::Claim Outbox::claimDue(qint64 nowMs, Which which)
{
    // Read first, then taken, in one transaction: what cannot be read stays queued.
    SqliteTransaction transaction = writing("take a message from");
    auto due = select(transaction,
                      QStringLiteral("WHERE state = ? AND (next_attempt <= ? OR next_attempt > ?) AND (attempts = 0 OR ?) "
                                     "ORDER BY next_attempt, id LIMIT 1"),
                      {kQueued, nowMs, nowMs + kLongestPauseMs, which == Which::All});
    if (!due)
        return {std::nullopt, true};
    if (due->empty())
        return {};
    OutboxMessage& message = due->front();
    if (!transaction.run(QStringLiteral("UPDATE messages SET state = ? WHERE id = ?"), {kSending, message.id})
        || !transaction.commit())
        return {std::nullopt, true};
    message.state = OutboxMessage::State::Sending;
    forgetWarnings();
    return {std::move(message), false};
}

bool Outbox::remove(const OutboxMessage& message)
{
    SqliteTransaction transaction = writing();
    if (!transaction.run(QStringLiteral("DELETE FROM messages WHERE id = ?"), {message.id}) || !transaction.commit())
        return false;
    m_files.remove(message.folder);
    forgetWarnings();
    return true;
}

bool Outbox::update(const OutboxMessage& message)
{
    SqliteTransaction transaction = writing();
    if (!transaction.run(
            QStringLiteral(
                "UPDATE messages SET state = ?, attempts = ?, next_attempt = ?, queued_since = ?, last_error = ? WHERE id = ?"),
            {int(message.state), message.attempts, message.nextAttemptMs, message.queuedSinceMs, message.lastError, message.id}))
        return false;
    int position = 0;
    for (const auto& recipient : message.recipients)
        if (!transaction.run(QStringLiteral("UPDATE recipients SET outcome = ?, reply = ? WHERE message = ? AND position = ?"),
                             {int(recipient.outcome), recipient.reply, message.id, position++}))
            return false;
    if (!transaction.commit())
        return false;
    forgetWarnings();
    return true;
}

bool Outbox::retry(qint64 id, qint64 nowMs)
{
    SqliteTransaction transaction = writing();
    if (!transaction.run(
            QStringLiteral(
                "UPDATE messages SET state = ?, attempts = 0, next_attempt = 0, queued_since = ? WHERE id = ? AND state <> ?"),
            {kQueued, nowMs, id, kSending}))
        return false;
    return transaction.changedRows() == 1
        && transaction.run(QStringLiteral("UPDATE recipients SET outcome = ? WHERE message = ? AND outcome = ?"),
                           {int(OutboxMessage::Outcome::Open), id, int(OutboxMessage::Outcome::Refused)})
        && transaction.commit();
}

bool Outbox::drop(qint64 id)
{
    const bool nobodySends = m_lock < 0 && lock();
    QString folder;
    bool isDropped = false;
    {
        SqliteTransaction transaction = writing();
        isDropped = transaction.run(QStringLiteral("SELECT folder FROM messages WHERE id = ?"), {id})
            && transaction.forEachRow([&folder](const QSqlQuery& row) { folder = row.value(0).toString(); })
            && transaction.run(QStringLiteral("DELETE FROM messages WHERE id = ? AND (state <> ? OR ?)"),
                               {id, kSending, nobodySends})
            && transaction.changedRows() == 1 && transaction.commit();
    }
    if (nobodySends)
        ::close(std::exchange(m_lock, -1));
    if (isDropped)
        m_files.remove(folder);
    return isDropped;
}

SqliteTransaction Outbox::reading() const
{
    return {m_path, SqliteTransaction::Kind::Read, [this](const QString& reason) { warnAbout("read", reason); }};
}

SqliteTransaction Outbox::writing(const char* what) const
{
    return {m_path, SqliteTransaction::Kind::Write, [this, what](const QString& reason) { warnAbout(what, reason); }};
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

void Outbox::forgetWarnings() const
{
    const std::lock_guard lock(m_warningsMutex);
    m_warnings.clear();
}
}
