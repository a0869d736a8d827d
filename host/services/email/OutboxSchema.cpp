#include "OutboxSchema.hpp"

#include "../SqliteConnection.hpp"
#include "../SqliteTransaction.hpp"
#include "MailComposer.hpp"
#include "MailText.hpp"
#include "OutboxFiles.hpp"
#include "OutboxMessage.hpp"

#include <Bedrock/Trace.hpp>

#include <QFile>
#include <QSqlError>
#include <QStringList>

#include <memory>
#include <vector>

namespace Host
{
namespace
{
constexpr int kVersion = 2;

const char* const kTables[] = {
    "CREATE TABLE messages (id INTEGER PRIMARY KEY AUTOINCREMENT, message_id TEXT NOT NULL UNIQUE, created INTEGER NOT NULL, "
    "queued_since INTEGER NOT NULL, state INTEGER NOT NULL, attempts INTEGER NOT NULL, next_attempt INTEGER NOT NULL, "
    "last_error TEXT NOT NULL, sender_address TEXT NOT NULL, file TEXT NOT NULL, size INTEGER NOT NULL)",
    "CREATE TABLE recipients (message INTEGER NOT NULL REFERENCES messages(id) ON DELETE CASCADE, position INTEGER NOT NULL, "
    "address TEXT NOT NULL, outcome INTEGER NOT NULL, reply TEXT NOT NULL, PRIMARY KEY (message, position))"};
const char* const kNewColumns[] = {"ALTER TABLE messages ADD COLUMN file TEXT NOT NULL DEFAULT ''",
                                   "ALTER TABLE messages ADD COLUMN size INTEGER NOT NULL DEFAULT 0"};
const char* const kComposed[] = {"ALTER TABLE messages DROP COLUMN sender_name", "ALTER TABLE messages DROP COLUMN subject",
                                 "ALTER TABLE messages DROP COLUMN text",        "ALTER TABLE messages DROP COLUMN html",
                                 "ALTER TABLE messages DROP COLUMN folder",      "ALTER TABLE recipients DROP COLUMN name",
                                 "ALTER TABLE recipients DROP COLUMN type",      "DROP TABLE files"};

template <std::size_t kCount>
bool runAll(SqliteTransaction& transaction, const char* const (&statements)[kCount])
{
    for (const char* statement : statements)
        if (!transaction.run(QLatin1String(statement)))
            return false;
    return true;
}

/// A message of version 1.
struct Parts
{
    qint64 id = 0;
    MailComposer::Letter letter;
    QString folder; ///< with the copies "0", "1", ...; empty without attachments
};

bool readAll(SqliteTransaction& transaction, std::vector<Parts>& all)
{
    return transaction.run(
               QStringLiteral("SELECT id, message_id, created, sender_address, sender_name, subject, text, html, folder "
                              "FROM messages ORDER BY id"))
        && transaction.forEachRow([&all](const QSqlQuery& row) {
               Parts parts{row.value(0).toLongLong(), {}, row.value(8).toString()};
               parts.letter.messageId = row.value(1).toString();
               parts.letter.createdMs = row.value(2).toLongLong();
               parts.letter.sender = {row.value(3).toString(), row.value(4).toString()};
               parts.letter.subject = row.value(5).toString();
               parts.letter.text = row.value(6).toString();
               parts.letter.html = row.value(7).toString();
               all.push_back(std::move(parts));
           });
}

bool readLists(SqliteTransaction& transaction, const OutboxFiles& files, Parts& parts)
{
    MailComposer::Letter& letter = parts.letter;
    const auto addRecipient = [&letter](const QSqlQuery& row) {
        letter.recipients.push_back(
            {{row.value(0).toString(), row.value(1).toString()}, Tavola::EmailMessage::RecipientType(row.value(2).toInt())});
    };
    const auto addFile = [&](const QSqlQuery& row) {
        auto copy = std::make_shared<QFile>(
            QStringLiteral("%1/%2").arg(files.path(parts.folder), QString::number(letter.attachments.size())));
        static_cast<void>(copy->open(QIODevice::ReadOnly)); // one that cannot be opened is found out when it is composed
        letter.attachments.push_back({row.value(0).toString(), copy, row.value(1).toString()});
    };
    return transaction.run(QStringLiteral("SELECT address, name, type FROM recipients WHERE message = ? ORDER BY position"),
                           {parts.id})
        && transaction.forEachRow(addRecipient)
        && transaction.run(QStringLiteral("SELECT name, mime_type FROM files WHERE message = ? ORDER BY position"), {parts.id})
        && transaction.forEachRow(addFile);
}

/// A message whose parts are incomplete is not sent.
bool giveUp(SqliteTransaction& transaction, const Parts& parts, const QString& words)
{
    QStringList names;
    for (const auto& recipient : parts.letter.recipients)
        names << recipient.address.address;
    Bedrock::Trace::warning("OutboxService # Message %lld to %s was refused (%s); it stays in the outbox as failed",
                            static_cast<long long>(parts.id), names.join(QStringLiteral(", ")).toUtf8().constData(),
                            words.toUtf8().constData());
    return transaction.run(QStringLiteral("UPDATE messages SET state = ?, last_error = ? WHERE id = ?"),
                           {int(OutboxMessage::State::Failed), words, parts.id});
}

bool compose(SqliteTransaction& transaction, const OutboxFiles& files, Parts& parts, QString& error)
{
    using Kind = MailComposer::Result::Kind;
    if (!readLists(transaction, files, parts))
        return false;
    if (parts.letter.attachments.empty() && !parts.folder.isEmpty())
        return giveUp(transaction, parts, QStringLiteral("the outbox has lost the list of its files"));
    const QString file = OutboxFiles::newName();
    const auto composed = MailComposer::compose(parts.letter, files.path(file));
    if (composed.kind == Kind::Unreadable)
        return giveUp(transaction, parts,
                      QStringLiteral("the outbox has lost its copy of %1")
                          .arg(MailText::oneLine(parts.letter.attachments[composed.attachment].fileName)));
    if (composed.kind == Kind::Done)
        return transaction.run(QStringLiteral("UPDATE messages SET file = ?, size = ? WHERE id = ?"),
                               {file, composed.sizeBytes, parts.id});
    error = composed.words;
    return false;
}

bool upgrade(SqliteTransaction& transaction, const OutboxFiles& files, QString& error)
{
    std::vector<Parts> all;
    if (!runAll(transaction, kNewColumns) || !readAll(transaction, all))
        return false;
    for (Parts& parts : all) {
        if (!compose(transaction, files, parts, error))
            return false;
        parts.letter.attachments.clear(); // closes the files
    }
    return runAll(transaction, kComposed);
}
}

bool OutboxSchema::prepare(const QString& path, const OutboxFiles& files, const std::function<bool()>& lock, QString& error)
{
    int version = 0;
    {
        SqliteConnection connection(path);
        if (!connection.isOpen()) {
            error = QStringLiteral("cannot open %1 (%2); %3").arg(path, connection.error(), connection.remedy());
            return false;
        }
        QSqlQuery query(connection.database());
        if (!query.exec(QStringLiteral("PRAGMA user_version")) || !query.next()) {
            error = QStringLiteral("%1 cannot be used as an outbox (%2); %3")
                        .arg(path, query.lastError().text(), sqliteRemedy(query.lastError()));
            return false;
        }
        version = query.value(0).toInt();
        query.finish();
        if (version < kVersion)
            static_cast<void>(SqliteConnection::keepWriteAheadLog(query)); // where it fails, so does what follows
    }
    if (version == kVersion)
        return true;
    if (version > kVersion) {
        error = QStringLiteral("%1 was made by a newer version of this program; use that one").arg(path);
        return false;
    }
    if (version == 1 && !lock()) {
        error = QStringLiteral("%1 was made by an earlier version of this program, which still uses it; end that one").arg(path);
        return false;
    }

    QString reason;
    SqliteTransaction transaction(path, SqliteTransaction::Kind::Write, [&reason](const QString& words) { reason = words; });
    const bool isRead = transaction.run(QStringLiteral("PRAGMA user_version"))
        && transaction.forEachRow([&version](const QSqlQuery& row) { version = row.value(0).toInt(); });
    if (isRead && version == kVersion) // another program was faster
        return true;
    if (isRead && (version == 0 ? runAll(transaction, kTables) : upgrade(transaction, files, reason))
        && transaction.run(QStringLiteral("PRAGMA user_version=%1").arg(kVersion)) && transaction.commit())
        return true;
    error = QStringLiteral("cannot write %1 (%2)").arg(path, reason);
    if (!transaction.remedy().isEmpty())
        error += QStringLiteral("; ") + transaction.remedy();
    return false;
}
}
