#include "OutboxSchema.hpp"

#include "../SqliteTransaction.hpp"
#include "MailComposer.hpp"
#include "MailText.hpp"
#include "Outbox.hpp"

#include <Bedrock/Trace.hpp>

#include <QFile>

#include <memory>
#include <tuple>
#include <vector>

namespace Host
{
namespace
{
using MailComposer::Letter;

const char* const kTables[] = {
    "CREATE TABLE messages (id INTEGER PRIMARY KEY AUTOINCREMENT, message_id TEXT NOT NULL UNIQUE, created INTEGER NOT NULL, "
    "queued_since INTEGER NOT NULL, state INTEGER NOT NULL, attempts INTEGER NOT NULL, next_attempt INTEGER NOT NULL, "
    "last_error TEXT NOT NULL, sender_address TEXT NOT NULL, file TEXT NOT NULL, size INTEGER NOT NULL)",
    "CREATE TABLE recipients (message INTEGER NOT NULL REFERENCES messages(id) ON DELETE CASCADE, position INTEGER NOT NULL, "
    "address TEXT NOT NULL, outcome INTEGER NOT NULL, reply TEXT NOT NULL, PRIMARY KEY (message, position))"};
// What messages carry of collections, by keys of their stores; a card's code is kept as its decimal text.
const char* const kSentItems[] = {"CREATE TABLE sent_items (key TEXT PRIMARY KEY, card TEXT NOT NULL, message INTEGER NOT NULL, "
                                  "accepted INTEGER NOT NULL)"};
// From version 1. While the messages are composed, the folder with the copies of a message's files stands in `file`.
const char* const kBefore[] = {"ALTER TABLE messages RENAME COLUMN folder TO file",
                               "ALTER TABLE messages ADD COLUMN size INTEGER NOT NULL DEFAULT 0"};
const char* const kAfter[] = {"ALTER TABLE messages DROP COLUMN sender_name",
                              "ALTER TABLE messages DROP COLUMN subject",
                              "ALTER TABLE messages DROP COLUMN text",
                              "ALTER TABLE messages DROP COLUMN html",
                              "ALTER TABLE recipients DROP COLUMN name",
                              "ALTER TABLE recipients DROP COLUMN type",
                              "DROP TABLE files"};

/// Composes a message of version 1 from its letter and the copies of its files.
bool composeOld(SqliteTransaction& transaction, qint64 id, const QString& folder, Letter letter, const Outbox& outbox,
                QString& error)
{
    QStringList names;
    transaction.run("SELECT address, name, type FROM recipients WHERE message = ? ORDER BY position", {id},
                    [&](const QSqlQuery& row) {
                        names << row.value(0).toString();
                        const auto type = Tavola::EmailMessage::RecipientType(row.value(2).toInt());
                        letter.recipients.push_back({{names.last(), row.value(1).toString()}, type});
                    });
    transaction.run("SELECT name, mime_type FROM files WHERE message = ? ORDER BY position", {id}, [&](const QSqlQuery& row) {
        auto copy = std::make_shared<QFile>(outbox.path(QStringLiteral("%1/%2").arg(folder).arg(letter.attachments.size())));
        static_cast<void>(copy->open(QIODevice::ReadOnly)); // a copy that is closed cannot be composed
        letter.attachments.push_back({row.value(0).toString(), copy, row.value(1).toString()});
    });
    if (!transaction)
        return false;
    const QString file = Outbox::newFile();
    QString lost;
    if (letter.attachments.empty() && !folder.isEmpty()) {
        lost = QStringLiteral("the outbox has lost the list of its files");
    } else if (const auto sizeBytes = MailComposer::compose(letter, outbox.path(file))) {
        return transaction.run("UPDATE messages SET file = ?, size = ? WHERE id = ?", {file, *sizeBytes, id});
    } else if (const auto copy = sizeBytes.error().attachment) {
        lost = "the outbox has lost its copy of " + MailText::oneLine(letter.attachments[*copy].fileName);
    } else {
        error = QStringLiteral("cannot be brought up to date (%1)").arg(sizeBytes.error().words);
        return false;
    }
    Bedrock::Trace::warning("OutboxService # Message %lld to %s was refused (%s); it stays in the outbox as failed",
                            static_cast<long long>(id), qUtf8Printable(names.join(QStringLiteral(", "))), qUtf8Printable(lost));
    return transaction.run("UPDATE messages SET state = ?, last_error = ?, file = '' WHERE id = ?",
                           {int(OutboxMessage::State::Failed), lost, id});
}
}

bool OutboxSchema::change(SqliteTransaction& transaction, int found, Outbox& outbox, QString& error)
{
    const auto runAll = [&transaction](const auto& statements) {
        for (const char* statement : statements)
            transaction.run(statement);
        return bool(transaction);
    };
    runAll(kSentItems);
    if (found == 0)
        return runAll(kTables);
    if (found == 2)
        return bool(transaction);
    if (!outbox.lock()) {
        error = QStringLiteral("was made by an earlier version of this program, which still uses it; end that one");
        return false;
    }
    runAll(kBefore);
    std::vector<std::tuple<qint64, QString, Letter>> all;
    transaction.run("SELECT id, file, message_id, created, sender_address, sender_name, subject, text, html FROM messages", {},
                    [&all](const QSqlQuery& row) {
                        const auto text = [&row](int column) { return row.value(column).toString(); };
                        const qint64 createdMs = row.value(3).toLongLong();
                        all.emplace_back(row.value(0).toLongLong(), text(1),
                                         Letter{text(2), createdMs, {text(4), text(5)}, text(6), {}, text(7), text(8), {}});
                    });
    for (const auto& [id, folder, letter] : all)
        if (!composeOld(transaction, id, folder, letter, outbox, error))
            return false;
    return runAll(kAfter);
}
}
