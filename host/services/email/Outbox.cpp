#include "Outbox.hpp"

#include "../SqliteConnection.hpp"

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

namespace
{
constexpr int kSchemaVersion = 1;

const char* const kSchema[] = {
    "CREATE TABLE IF NOT EXISTS messages (id INTEGER PRIMARY KEY AUTOINCREMENT, message_id TEXT NOT NULL UNIQUE, "
    "created INTEGER NOT NULL, queued_since INTEGER NOT NULL, state INTEGER NOT NULL, attempts INTEGER NOT NULL, next_attempt INTEGER NOT NULL, "
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

/// An absent text is the empty one: a null QString would be stored as NULL.
QString text(const QString& value)
{
    return value.isNull() ? QStringLiteral("") : value;
}

bool run(QSqlQuery& query, const QString& statement, std::initializer_list<QVariant> values)
{
    if (!query.prepare(statement))
        return false;
    for (const QVariant& value : values)
        query.addBindValue(value);
    return query.exec();
}

bool insertParts(QSqlQuery& query, const OutboxMessage& message)
{
    int position = 0;
    for (const auto& recipient : message.recipients)
        if (!run(query, QStringLiteral("INSERT INTO recipients VALUES (?, ?, ?, ?, ?, ?, ?)"),
                 {message.id, position++, text(recipient.address.address), text(recipient.address.name), int(recipient.type),
                  int(recipient.outcome), text(recipient.reply)}))
            return false;
    position = 0;
    for (const auto& file : message.files)
        if (!run(query, QStringLiteral("INSERT INTO files VALUES (?, ?, ?, ?, ?)"),
                 {message.id, position++, text(file.name), text(file.mimeType), file.sizeBytes}))
            return false;
    return true;
}

bool insertMessage(QSqlQuery& query, OutboxMessage& message)
{
    if (!run(query,
             QStringLiteral("INSERT INTO messages (message_id, created, queued_since, state, attempts, next_attempt, last_error, "
                            "sender_address, sender_name, subject, text, html, folder) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"),
             {message.messageId, message.createdMs, message.queuedSinceMs, int(message.state), message.attempts, message.nextAttemptMs,
              text(message.lastError), text(message.sender.address), text(message.sender.name), text(message.subject),
              text(message.text), text(message.html), text(message.folder)}))
        return false;
    message.id = query.lastInsertId().toLongLong();
    return insertParts(query, message);
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

void Outbox::recover()
{
    SqliteConnection connection(m_path);
    QSqlQuery query(connection.database());
    if (!run(query, QStringLiteral("UPDATE messages SET state = ?, next_attempt = 0 WHERE state = ?"), {kQueued, kSending})
        || !query.exec(QStringLiteral("SELECT folder FROM messages"))) {
        warnAbout("recover", query.lastError().text());
        return;
    }
    QStringList folders;
    while (query.next())
        folders << query.value(0).toString();
    m_files.removeAllBut(folders);
}

bool Outbox::add(OutboxMessage& message)
{
    SqliteConnection connection(m_path);
    QSqlDatabase& database = connection.database();
    if (!connection.isOpen() || !database.transaction()) {
        warnAbout("write", connection.error());
        return false;
    }
    QSqlQuery query(database);
    if (!insertMessage(query, message)) {
        warnAbout("write", query.lastError().text());
        query.finish();
        database.rollback();
        return false;
    }
    query.finish();
    if (!database.commit()) {
        warnAbout("write", connection.error());
        database.rollback();
        return false;
    }
    return true;
}

std::vector<OutboxMessage> Outbox::select(const QString& condition, qint64 id) const
{
    std::vector<OutboxMessage> result;
    SqliteConnection connection(m_path);
    QSqlDatabase& database = connection.database();
    // One transaction: a message and its parts are of the same moment.
    if (!connection.isOpen() || !database.transaction()) {
        warnAbout("read", connection.error());
        return result;
    }
    QSqlQuery query(database);
    const QString columns = QStringLiteral("SELECT id, message_id, created, state, attempts, next_attempt, last_error, "
                                           "sender_address, sender_name, subject, text, html, folder, queued_since FROM messages ");
    if (!query.prepare(columns + condition + QStringLiteral(" ORDER BY id"))) {
        warnAbout("read", query.lastError().text());
        return result;
    }
    if (!condition.isEmpty())
        query.addBindValue(id);
    if (!query.exec())
        warnAbout("read", query.lastError().text());
    while (query.next()) {
        OutboxMessage message;
        message.id = query.value(0).toLongLong();
        message.messageId = query.value(1).toString();
        message.createdMs = query.value(2).toLongLong();
        message.state = OutboxMessage::State(query.value(3).toInt());
        message.attempts = query.value(4).toInt();
        message.nextAttemptMs = query.value(5).toLongLong();
        message.lastError = query.value(6).toString();
        message.sender = {query.value(7).toString(), query.value(8).toString()};
        message.subject = query.value(9).toString();
        message.text = query.value(10).toString();
        message.html = query.value(11).toString();
        message.folder = query.value(12).toString();
        message.queuedSinceMs = query.value(13).toLongLong();
        result.push_back(std::move(message));
    }
    for (OutboxMessage& message : result) {
        run(query, QStringLiteral("SELECT address, name, type, outcome, reply FROM recipients WHERE message = ? ORDER BY position"),
            {message.id});
        while (query.next())
            message.recipients.push_back({{query.value(0).toString(), query.value(1).toString()},
                                          Tavola::EmailMessage::RecipientType(query.value(2).toInt()),
                                          OutboxMessage::Outcome(query.value(3).toInt()),
                                          query.value(4).toString()});
        run(query, QStringLiteral("SELECT name, mime_type, size FROM files WHERE message = ? ORDER BY position"), {message.id});
        for (int number = 0; query.next(); ++number)
            message.files.push_back({query.value(0).toString(), query.value(1).toString(), m_files.path(message.folder, number),
                                     query.value(2).toLongLong()});
    }
    query.finish();
    database.commit();
    return result;
}

std::vector<OutboxMessage> Outbox::messages() const
{
    return select(QString(), 0);
}

std::optional<OutboxMessage> Outbox::message(qint64 id) const
{
    auto found = select(QStringLiteral("WHERE id = ?"), id);
    return found.empty() ? std::nullopt : std::optional(std::move(found.front()));
}

OutboxSummary Outbox::summary() const
{
    OutboxSummary summary;
    SqliteConnection connection(m_path);
    QSqlQuery query(connection.database());
    if (!query.exec(QStringLiteral("SELECT state, COUNT(*), MIN(created), MIN(next_attempt) FROM messages GROUP BY state")))
        warnAbout("read", query.lastError().text());
    while (query.next()) {
        const int count = query.value(1).toInt();
        const qint64 createdMs = query.value(2).toLongLong();
        summary.oldestMs = summary.oldestMs == 0 ? createdMs : std::min(summary.oldestMs, createdMs);
        switch (OutboxMessage::State(query.value(0).toInt())) {
        case OutboxMessage::State::Queued:
            summary.queued = count;
            summary.nextAttemptMs = query.value(3).toLongLong();
            break;
        case OutboxMessage::State::Sending:
            summary.sending = count;
            break;
        case OutboxMessage::State::Failed:
            summary.failed = count;
            break;
        }
    }
    return summary;
}

std::optional<OutboxMessage> Outbox::claimDue(qint64 nowMs)
{
    qint64 id = 0;
    {
        SqliteConnection connection(m_path);
        QSqlQuery query(connection.database());
        if (!run(query,
                 QStringLiteral("UPDATE messages SET state = ? WHERE id = (SELECT id FROM messages WHERE state = ? AND "
                                "next_attempt <= ? ORDER BY next_attempt, id LIMIT 1) RETURNING id"),
                 {kSending, kQueued, nowMs})) {
            warnAbout("write", query.lastError().text());
            return std::nullopt;
        }
        if (!query.next())
            return std::nullopt;
        id = query.value(0).toLongLong();
        // The statement is complete, and its transaction with it, only when there are no more rows.
        while (query.next()) {
        }
    }
    return message(id);
}

bool Outbox::remove(const OutboxMessage& message)
{
    {
        SqliteConnection connection(m_path);
        QSqlQuery query(connection.database());
        if (!run(query, QStringLiteral("DELETE FROM messages WHERE id = ?"), {message.id})) {
            warnAbout("write", query.lastError().text());
            return false;
        }
    }
    m_files.remove(message.folder);
    return true;
}

bool Outbox::update(const OutboxMessage& message)
{
    SqliteConnection connection(m_path);
    QSqlDatabase& database = connection.database();
    if (!connection.isOpen() || !database.transaction()) {
        warnAbout("write", connection.error());
        return false;
    }
    QSqlQuery query(database);
    bool ok = run(query, QStringLiteral("UPDATE messages SET state = ?, attempts = ?, next_attempt = ?, last_error = ? WHERE id = ?"),
                  {int(message.state), message.attempts, message.nextAttemptMs, text(message.lastError), message.id});
    int position = 0;
    for (const auto& recipient : message.recipients)
        ok = ok
            && run(query, QStringLiteral("UPDATE recipients SET outcome = ?, reply = ? WHERE message = ? AND position = ?"),
                   {int(recipient.outcome), text(recipient.reply), message.id, position++});
    const QString reason = query.lastError().text();
    query.finish();
    if (ok && database.commit())
        return true;
    warnAbout("write", ok ? connection.error() : reason);
    database.rollback();
    return false;
}

bool Outbox::retry(qint64 id, qint64 nowMs)
{
    SqliteConnection connection(m_path);
    QSqlDatabase& database = connection.database();
    if (!connection.isOpen() || !database.transaction()) {
        warnAbout("write", connection.error());
        return false;
    }
    QSqlQuery query(database);
    bool ok = run(query, QStringLiteral("UPDATE messages SET state = ?, attempts = 0, next_attempt = 0, queued_since = ? WHERE id = ? AND state <> ?"),
                  {kQueued, nowMs, id, kSending});
    const bool isThere = ok && query.numRowsAffected() == 1;
    if (isThere)
        ok = run(query, QStringLiteral("UPDATE recipients SET outcome = ? WHERE message = ? AND outcome = ?"),
                 {int(OutboxMessage::Outcome::Open), id, int(OutboxMessage::Outcome::Refused)});
    const QString reason = query.lastError().text();
    query.finish();
    if (ok && database.commit())
        return isThere;
    warnAbout("write", ok ? connection.error() : reason);
    database.rollback();
    return false;
}

bool Outbox::drop(qint64 id)
{
    const auto found = message(id);
    if (!found)
        return false;
    const bool nobodySends = m_lock < 0 && lock();
    bool isDropped = false;
    {
        SqliteConnection connection(m_path);
        QSqlQuery query(connection.database());
        if (!run(query, QStringLiteral("DELETE FROM messages WHERE id = ? AND (state <> ? OR ?)"), {id, kSending, nobodySends})) {
            warnAbout("write", query.lastError().text());
        } else {
            isDropped = query.numRowsAffected() == 1;
        }
    }
    if (nobodySends)
        ::close(std::exchange(m_lock, -1));
    if (isDropped)
        m_files.remove(found->folder);
    return isDropped;
}

void Outbox::warnAbout(const char* what, const QString& detail) const
{
    Bedrock::Trace::warning("Outbox # Failed to %s %s (%s)", what, m_path.toUtf8().constData(), detail.toUtf8().constData());
}
