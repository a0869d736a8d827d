#include "SqliteFileConnection.hpp"

#include <Bedrock/SqliteRemedy.hpp>

#include <QFile>
#include <QVariant>

#include <sys/stat.h>

namespace Storage
{
namespace
{
constexpr int kBusy = 5;
constexpr int kDiskError = 10;
constexpr int kDamaged = 11;
constexpr int kNoDatabase = 26;
/// How often another connection may get hold of the file between the wait for its lock and the change of mode.
constexpr int kMostModeAttempts = 5;

bool isBusy(const QSqlError& error)
{
    return (error.nativeErrorCode().toInt() & 0xFF) == kBusy;
}
}

SqliteFileConnection::SqliteFileConnection(const Address& address, std::chrono::milliseconds lockWait)
    : Connection(QStringLiteral("QSQLITE"), address), m_lockWait(lockWait)
{
    database().setDatabaseName(address.file);
    database().setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=%1").arg(m_lockWait.count()));
}

QString SqliteFileConnection::inBrackets(const QString& what) const
{
    return QStringLiteral("%1 (%2); %3").arg(what, fault().reason, fault().remedy);
}

bool SqliteFileConnection::open(const Schema& schema, QString& sentence)
{
    if (const auto none = Bedrock::whyNoDatabase(address().file)) {
        setFault({Fault::Kind::Statement, none->reason, none->remedy});
        sentence = inBrackets(QStringLiteral("%1 cannot be used as %2").arg(address().file, schema.purpose));
        return false;
    }
    if (!database().open()) {
        noteFault(database().lastError());
        sentence = inBrackets(QStringLiteral("cannot open ") + address().file);
        return false;
    }
    struct stat status;
    if (::stat(QFile::encodeName(address().file).constData(), &status) == 0) {
        m_device = status.st_dev;
        m_inode = status.st_ino;
    }
    bool isIgnored = false; // changes count from here on
    return prepareFile(schema, sentence) && readChanges(isIgnored);
}

bool SqliteFileConnection::execute(const QString& statement)
{
    QSqlQuery query(database());
    if (query.exec(statement))
        return true;
    noteFault(query.lastError());
    return false;
}

bool SqliteFileConnection::ask(const QString& statement, QVariant& value)
{
    QSqlQuery query(database());
    if (!query.exec(statement)) {
        noteFault(query.lastError());
        return false;
    }
    value = query.next() ? query.value(0) : QVariant();
    return true;
}

bool SqliteFileConnection::prepareFile(const Schema& schema, QString& sentence)
{
    const auto refuse = [&](const QString& what) {
        sentence = inBrackets(what);
        return false;
    };
    // For a file that is no database the first statement that reads it fails with the best message.
    QVariant value;
    const bool isDatabase = ask(QStringLiteral("PRAGMA user_version"), value);
    const int found = value.toInt();
    if (!isDatabase || (found < schema.version() && !keepWriteAheadLog()))
        return refuse(QStringLiteral("%1 cannot be used as %2").arg(address().file, schema.purpose));
    const QString cannotWrite = QStringLiteral("cannot write ") + address().file;
    if (!execute(QStringLiteral("PRAGMA synchronous=FULL")) || !execute(QStringLiteral("PRAGMA foreign_keys=ON")))
        return refuse(cannotWrite);
    if (found > schema.version())
        return refuseNewer(address().file, sentence);
    // BEGIN IMMEDIATE alone begins reading a file that is read-only. Of two programs that start on one new file, one waits here.
    if (!execute(QStringLiteral("BEGIN IMMEDIATE")))
        return refuse(cannotWrite);
    if (change(schema, sentence))
        return true;
    if (sentence.isEmpty())
        (void)refuse(cannotWrite);
    rollBack();
    return false;
}

bool SqliteFileConnection::change(const Schema& schema, QString& sentence)
{
    QVariant value; // another program may have been faster
    if (!ask(QStringLiteral("PRAGMA user_version"), value))
        return false;
    if (value.toInt() > schema.version())
        return refuseNewer(address().file, sentence);
    const bool isCurrent = value.toInt() == schema.version();
    // A file that is up to date is written to and rolled back, to find out whether it can be written to.
    return runStatements(schema, value.toInt()) && execute(QStringLiteral("PRAGMA user_version=%1").arg(schema.version()))
        && execute(isCurrent ? QStringLiteral("ROLLBACK") : QStringLiteral("COMMIT"));
}

/// SQLite waits for a lock when a transaction begins, not when the mode is changed.
bool SqliteFileConnection::keepWriteAheadLog()
{
    for (int attempt = 1;; ++attempt) {
        QSqlQuery query(database());
        if (query.exec(QStringLiteral("PRAGMA journal_mode=WAL")))
            return true;
        noteFault(query.lastError());
        if (!isBusy(query.lastError()) || attempt == kMostModeAttempts || !execute(QStringLiteral("BEGIN IMMEDIATE")))
            return false;
        (void)execute(QStringLiteral("COMMIT"));
    }
}

bool SqliteFileConnection::isSameFile() const
{
    struct stat status;
    return ::stat(QFile::encodeName(address().file).constData(), &status) == 0 && status.st_dev == m_device
        && status.st_ino == m_inode;
}

bool SqliteFileConnection::begin(Store::Kind kind)
{
    if (!isSameFile()) {
        setFault({Fault::Kind::Lost, QStringLiteral("the file was replaced"),
                  QStringLiteral("end the program before a file is replaced or removed")});
        return false;
    }
    return execute(kind == Store::Kind::Write ? QStringLiteral("BEGIN IMMEDIATE") : QStringLiteral("BEGIN"));
}

bool SqliteFileConnection::commit(Store::Kind, bool)
{
    return execute(QStringLiteral("COMMIT"));
}

bool SqliteFileConnection::readChanges(bool& hasChanged)
{
    QVariant value;
    if (!ask(QStringLiteral("PRAGMA data_version"), value))
        return false;
    hasChanged = m_dataVersion >= 0 && value.toLongLong() != m_dataVersion;
    m_dataVersion = value.toLongLong();
    return true;
}

Fault SqliteFileConnection::faultOf(const QSqlError& error) const
{
    const int code = error.nativeErrorCode().toInt();
    // A disk that fails, damage, no database: a restored file has to be read from its beginning.
    const int primary = code & 0xFF;
    const bool spoils = primary == kDiskError || primary == kDamaged || primary == kNoDatabase;
    return {Fault::Kind::Statement, error.text().simplified(), Bedrock::sqliteRemedy(code), spoils};
}
}
