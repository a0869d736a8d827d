#include "OutboxSchema.hpp"

#include "../SqliteTransaction.hpp"
#include "MailComposer.hpp"
#include "MailText.hpp"
#include "Outbox.hpp"

#include <Bedrock/Trace.hpp>

#include <QFile>

#include <memory>
#include <vector>

namespace Host
{
namespace
{
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

/// A message of version 1.
struct Parts
{
    qint64 id = 0;
    QString folder; ///< of the copies "0", "1", ...; empty without attachments
    MailComposer::Letter letter;
};

bool compose(SqliteTransaction& transaction, const Outbox& outbox, Parts parts, QString& error)
{
    MailComposer::Letter& letter = parts.letter;
    QStringList names;
    transaction.run("SELECT address, name, type FROM recipients WHERE message = ? ORDER BY position", {parts.id},
                    [&](const QSqlQuery& row) {
                        names << row.value(0).toString();
                        letter.recipients.push_back(
                            {{names.last(), row.value(1).toString()}, Tavola::EmailMessage::RecipientType(row.value(2).toInt())});
                    });
    transaction.run("SELECT name, mime_type FROM files WHERE message = ? ORDER BY position", {parts.id},
                    [&](const QSqlQuery& row) {
                        auto copy = std::make_shared<QFile>(
                            outbox.path(parts.folder + QLatin1Char('/') + QString::number(letter.attachments.size())));
                        static_cast<void>(copy->open(QIODevice::ReadOnly)); // a copy that is closed cannot be composed
                        letter.attachments.push_back({row.value(0).toString(), copy, row.value(1).toString()});
                    });
    if (!transaction)
        return false;
    const QString file = Outbox::newFile();
    MailComposer::Result composed;
    QString lost;
    if (letter.attachments.empty() && !parts.folder.isEmpty())
        lost = QStringLiteral("the outbox has lost the list of its files");
    else
        composed = MailComposer::compose(letter, outbox.path(file));
    if (composed.kind == MailComposer::Result::Kind::DiskFault) {
        error = QStringLiteral("cannot be brought up to date (%1)").arg(composed.words);
        return false;
    }
    if (composed.kind == MailComposer::Result::Kind::Unreadable)
        lost = QStringLiteral("the outbox has lost its copy of ")
            + MailText::oneLine(letter.attachments[composed.attachment].fileName);
    if (lost.isEmpty())
        return transaction.run("UPDATE messages SET file = ?, size = ? WHERE id = ?", {file, composed.sizeBytes, parts.id});
    Bedrock::Trace::warning("OutboxService # Message %lld to %s was refused (%s); it stays in the outbox as failed",
                            static_cast<long long>(parts.id), names.join(QStringLiteral(", ")).toUtf8().constData(),
                            lost.toUtf8().constData());
    return transaction.run("UPDATE messages SET state = ?, last_error = ? WHERE id = ?",
                           {int(OutboxMessage::State::Failed), lost, parts.id});
}
}

bool OutboxSchema::change(SqliteTransaction& transaction, int found, Outbox& outbox, QString& error)
{
    const auto runAll = [&transaction](const auto& statements) {
        for (const char* statement : statements)
            transaction.run(statement);
        return bool(transaction);
    };
    if (found == 0)
        return runAll(kTables);
    if (!outbox.lock()) {
        error = QStringLiteral("was made by an earlier version of this program, which still uses it; end that one");
        return false;
    }
    std::vector<Parts> all;
    runAll(kNewColumns);
    transaction.run("SELECT id, folder, message_id, created, sender_address, sender_name, subject, text, html FROM messages", {},
                    [&all](const QSqlQuery& row) {
                        const auto text = [&row](int column) { return row.value(column).toString(); };
                        all.push_back(
                            {row.value(0).toLongLong(),
                             text(1),
                             {text(2), row.value(3).toLongLong(), {text(4), text(5)}, text(6), {}, text(7), text(8), {}}});
                    });
    for (Parts& parts : all)
        if (!compose(transaction, outbox, std::move(parts), error))
            return false;
    return runAll(kComposed);
}
}
