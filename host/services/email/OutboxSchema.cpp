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
void runAll(SqliteTransaction& transaction, const char* const (&statements)[kCount])
{
    for (const char* statement : statements)
        transaction.run(statement);
}

/// A message of version 1.
struct Parts
{
    qint64 id = 0;
    MailComposer::Letter letter;
    QString folder; ///< with the copies "0", "1", ...; empty without attachments
};

std::vector<Parts> readAll(SqliteTransaction& transaction)
{
    std::vector<Parts> all;
    transaction.run("SELECT id, message_id, created, sender_address, sender_name, subject, text, html, folder "
                    "FROM messages ORDER BY id",
                    {}, [&all](const QSqlQuery& row) {
                        const auto text = [&row](int column) { return row.value(column).toString(); };
                        all.push_back(
                            {row.value(0).toLongLong(),
                             {text(1), row.value(2).toLongLong(), {text(3), text(4)}, text(5), {}, text(6), text(7), {}},
                             text(8)});
                    });
    return all;
}

void readLists(SqliteTransaction& transaction, const OutboxFiles& files, Parts& parts)
{
    MailComposer::Letter& letter = parts.letter;
    transaction.run("SELECT address, name, type FROM recipients WHERE message = ? ORDER BY position", {parts.id},
                    [&letter](const QSqlQuery& row) {
                        letter.recipients.push_back({{row.value(0).toString(), row.value(1).toString()},
                                                     Tavola::EmailMessage::RecipientType(row.value(2).toInt())});
                    });
    transaction.run("SELECT name, mime_type FROM files WHERE message = ? ORDER BY position", {parts.id},
                    [&](const QSqlQuery& row) {
                        auto copy = std::make_shared<QFile>(
                            QStringLiteral("%1/%2").arg(files.path(parts.folder), QString::number(letter.attachments.size())));
                        // One that cannot be opened is found out when it is composed.
                        static_cast<void>(copy->open(QIODevice::ReadOnly));
                        letter.attachments.push_back({row.value(0).toString(), copy, row.value(1).toString()});
                    });
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
    return transaction.run("UPDATE messages SET state = ?, last_error = ? WHERE id = ?",
                           {int(OutboxMessage::State::Failed), words, parts.id});
}

bool compose(SqliteTransaction& transaction, const OutboxFiles& files, Parts& parts, QString& error)
{
    using Kind = MailComposer::Result::Kind;
    readLists(transaction, files, parts);
    if (!transaction)
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
        return transaction.run("UPDATE messages SET file = ?, size = ? WHERE id = ?", {file, composed.sizeBytes, parts.id});
    error = composed.words;
    return false;
}

bool upgrade(SqliteTransaction& transaction, const OutboxFiles& files, QString& error)
{
    runAll(transaction, kNewColumns);
    for (Parts& parts : readAll(transaction)) {
        if (!compose(transaction, files, parts, error))
            return false;
        parts.letter.attachments.clear(); // closes the files
    }
    runAll(transaction, kComposed);
    return bool(transaction);
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
        constexpr int kBusy = 5; // another program is writing, so the file can be written
        // BEGIN IMMEDIATE alone begins reading a file that is read-only.
        const bool isWritable =
            query.exec(QStringLiteral("BEGIN IMMEDIATE")) && query.exec(QStringLiteral("PRAGMA user_version=%1").arg(version));
        const QSqlError fault = query.lastError();
        query.exec(QStringLiteral("ROLLBACK"));
        if (!isWritable && (fault.nativeErrorCode().toInt() & 0xFF) != kBusy) {
            error = QStringLiteral("cannot write %1 (%2); %3").arg(path, fault.text(), sqliteRemedy(fault));
            return false;
        }
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
    SqliteTransaction transaction(path, SqliteTransaction::Kind::Write,
                                  [&reason](const QString& words, const QString&) { reason = words; });
    transaction.run("PRAGMA user_version", {}, [&version](const QSqlQuery& row) { version = row.value(0).toInt(); });
    if (transaction && version == kVersion) // another program was faster
        return true;
    if (version == 0)
        runAll(transaction, kTables);
    if (version == 0 || upgrade(transaction, files, reason)) {
        transaction.run(QStringLiteral("PRAGMA user_version=%1").arg(kVersion));
        if (transaction.commit())
            return true;
    }
    error = QStringLiteral("cannot write %1 (%2)").arg(path, reason);
    if (!transaction.remedy().isEmpty())
        error += QStringLiteral("; ") + transaction.remedy();
    return false;
}
}
