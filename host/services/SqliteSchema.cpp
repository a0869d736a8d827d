#include "SqliteSchema.hpp"

#include "SqliteConnection.hpp"
#include "SqliteTransaction.hpp"

#include <Bedrock/SqliteRemedy.hpp>

namespace Host
{
bool SqliteSchema::prepare(const QString& path, QString& error) const
{
    const auto refuse = [&error](const QString& what, const QString& reason, const QString& remedy) {
        error = QStringLiteral("%1 (%2); %3").arg(what, reason, remedy);
        return false;
    };
    const auto isCurrent = [&](int found) {
        if (found > version)
            error = path + QStringLiteral(" was made by a newer version of this program; use that one");
        return found == version;
    };
    if (const auto none = Bedrock::whyNoDatabase(path))
        return refuse(path + QStringLiteral(" cannot be used as ") + purpose, none->reason, none->remedy);
    SqliteConnection connection(path);
    if (!connection.isOpen())
        return refuse(QStringLiteral("cannot open ") + path, connection.error(), connection.remedy());
    QSqlQuery query(connection.database());
    const bool isDatabase = query.exec(QStringLiteral("PRAGMA user_version")) && query.next();
    const int found = isDatabase ? query.value(0).toInt() : 0;
    query.finish();
    if (!isDatabase || (found < version && !SqliteConnection::keepWriteAheadLog(query)))
        return refuse(path + QStringLiteral(" cannot be used as ") + purpose, query.lastError().text(),
                      sqliteRemedy(query.lastError()));
    query.finish();

    const QString cannotWrite = QStringLiteral("cannot write ") + path;
    if (found >= version) {
        // BEGIN IMMEDIATE alone begins reading a file that is read-only.
        const bool isWritable =
            query.exec(QStringLiteral("BEGIN IMMEDIATE")) && query.exec(QStringLiteral("PRAGMA user_version=%1").arg(found));
        const QSqlError fault = query.lastError();
        const bool isReadable = whenLocked == WhenLocked::Open && SqliteConnection::isBusy(fault);
        query.exec(QStringLiteral("ROLLBACK"));
        return isCurrent(found) && (isWritable || isReadable || refuse(cannotWrite, fault.text(), sqliteRemedy(fault)));
    }
    SqliteTransaction transaction(path, SqliteTransaction::Kind::Write,
                                  [&](const QString& reason, const QString& remedy) { refuse(cannotWrite, reason, remedy); });
    int now = found; // another program may have been faster
    transaction.run("PRAGMA user_version", {}, [&now](const QSqlQuery& row) { now = row.value(0).toInt(); });
    if (transaction && now >= version)
        return isCurrent(now);
    QString fault;
    if (transaction && !change(transaction, now, fault) && !fault.isEmpty()) {
        error = path + QLatin1Char(' ') + fault;
        return false;
    }
    transaction.run(QStringLiteral("PRAGMA user_version=%1").arg(version));
    return transaction.commit();
}
}
