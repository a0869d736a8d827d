#include "PostgresConnection.hpp"

#include <Bedrock/BoundedFile.hpp>

#include <QSqlDriver>
#include <QStringList>
#include <QVariant>

#include <algorithm>
#include <iterator>

namespace Storage
{
namespace
{
/// libpq allows no less.
constexpr int kConnectSeconds = 2;

QString quoted(QString value)
{
    return QLatin1Char('\'')
        + value.replace(QLatin1Char('\\'), QLatin1String("\\\\")).replace(QLatin1Char('\''), QLatin1String("\\'"))
        + QLatin1Char('\'');
}

QString connectOptions(const Address& address)
{
    // A network that swallows packets is noticed by the system within about ten seconds.
    QStringList options{QStringLiteral("connect_timeout=%1").arg(kConnectSeconds),
                        QStringLiteral("keepalives_idle=5"),
                        QStringLiteral("keepalives_interval=2"),
                        QStringLiteral("keepalives_count=3"),
                        QStringLiteral("tcp_user_timeout=10000"),
                        QStringLiteral("application_name=tavola")};
    if (!address.sslMode.isEmpty())
        options << QStringLiteral("sslmode=") + quoted(address.sslMode);
    if (!address.sslRootCertificate.isEmpty())
        options << QStringLiteral("sslrootcert=") + quoted(address.sslRootCertificate);
    return options.join(QLatin1Char(';'));
}

QByteArray lockOf(const QByteArray& name)
{
    return "SELECT pg_advisory_xact_lock(hashtextextended('" + name + "', 0))";
}

QString remedyOf(const QByteArray& state)
{
    if (state.startsWith("53"))
        return QStringLiteral("make room on the database server");
    if (state == "42501")
        return QStringLiteral("give the user of the database the right to do it");
    return QStringLiteral("see the log of the database server");
}
}

PostgresConnection::PostgresConnection(const Address& address, std::chrono::milliseconds deadline, bool listens)
    : Connection(QStringLiteral("QPSQL"), address), m_deadline(deadline), m_listens(listens), m_session(*database().driver())
{
}

bool PostgresConnection::open(const Schema& schema, QString& sentence)
{
    m_channel = "tavola_" + schema.name.toLatin1();
    const auto refuse = [&] {
        sentence = QStringLiteral("%1 cannot be used as %2 (%3); %4")
                       .arg(address().shown(), schema.purpose, fault().reason, fault().remedy);
        return false;
    };
    if (!connect() || !prepareSession())
        return refuse();
    if (prepareTables(schema, sentence))
        return true;
    return sentence.isEmpty() ? refuse() : false;
}

bool PostgresConnection::connect()
{
    QSqlDatabase& wanted = database();
    wanted.setHostName(address().host);
    wanted.setPort(address().port);
    wanted.setDatabaseName(address().database);
    wanted.setUserName(address().user);
    wanted.setConnectOptions(connectOptions(address()));
    if (!address().passwordFile.isEmpty()) {
        QString error;
        const auto read = Bedrock::readBoundedFile(address().passwordFile, 1, error);
        if (!read) {
            setFault({Fault::Kind::Lost,
                      QStringLiteral("the password cannot be read from %1: %2").arg(address().passwordFile, error),
                      QStringLiteral("let this user read it")});
            return false;
        }
        wanted.setPassword(QString::fromUtf8(read->left(read->indexOf('\n')).trimmed()));
    }
    if (wanted.open())
        return true;
    const QSqlError error = wanted.lastError();
    const QString words = (error.databaseText().isEmpty() ? error.text() : error.databaseText()).simplified();
    setFault({Fault::Kind::Lost, words,
              QStringLiteral("see whether the server runs, and whether address, user and password are right")});
    return false;
}

bool PostgresConnection::prepareSession()
{
    const QByteArray limit = QByteArray::number(static_cast<qlonglong>(m_deadline.count()));
    // A program that stands still in a transaction must not keep its lock. What is acknowledged is on the server's disk, also
    // where its settings say otherwise.
    QByteArray statements = "SET statement_timeout=" + limit + "; SET lock_timeout=" + limit
        + "; SET idle_in_transaction_session_timeout=" + limit
        + "; SELECT set_config('synchronous_commit', CASE current_setting('synchronous_commit') WHEN 'off' THEN 'on'"
          " ELSE current_setting('synchronous_commit') END, false)";
    // Before anything is read, so that no change falls in between.
    if (m_listens)
        statements += "; LISTEN " + m_channel;
    return run(statements);
}

bool PostgresConnection::prepareTables(const Schema& schema, QString& sentence)
{
    // One lock for all schemas: the table of their versions is made once. The next transaction must not take it for its own.
    if (!run("BEGIN; " + lockOf("tavola_schema")))
        return false;
    if (change(schema, sentence) && run("COMMIT"))
        return true;
    rollBack();
    return false;
}

bool PostgresConnection::change(const Schema& schema, QString& sentence)
{
    QByteArray isThere;
    if (!run("SELECT to_regclass('tavola_schema') IS NOT NULL", &isThere))
        return false;
    if (isThere != "t" && !run("CREATE TABLE tavola_schema (name TEXT PRIMARY KEY, version INTEGER NOT NULL)"))
        return false;
    QByteArray found;
    const QByteArray name = schema.name.toLatin1();
    if (!run("SELECT version FROM tavola_schema WHERE name = '" + name + "'", &found))
        return false;
    const int version = found.toInt();
    if (version > schema.version())
        return refuseNewer(QStringLiteral("%1 in %2").arg(schema.purpose, address().shown()), sentence);
    const QByteArray newest = QByteArray::number(schema.version());
    return version == schema.version()
        || (runStatements(schema, version)
            && run("INSERT INTO tavola_schema VALUES ('" + name + "', " + newest
                   + ") ON CONFLICT (name) DO UPDATE SET version = " + newest));
}

bool PostgresConnection::begin(Store::Kind kind)
{
    if (kind == Store::Kind::Read)
        return run("BEGIN ISOLATION LEVEL REPEATABLE READ READ ONLY");
    QByteArray number;
    const bool hasBegun = run("BEGIN; " + lockOf(m_channel) + "; SELECT pg_current_xact_id()", &number);
    m_number = QString::fromLatin1(number);
    return hasBegun;
}

bool PostgresConnection::commit(Store::Kind kind, bool hasChanged)
{
    const bool isTold = kind == Store::Kind::Write && hasChanged;
    const auto answer = m_session.execute(isTold ? "NOTIFY " + m_channel + "; COMMIT" : QByteArray("COMMIT"));
    if (answer.isGood && answer.command == "COMMIT")
        return true;
    setFault(faultOfState(answer.state, answer.isGood ? QStringLiteral("the server rolled the transaction back") : answer.error));
    return false;
}

bool PostgresConnection::askEnding(const QString& number, Ending& ending)
{
    QByteArray status;
    if (!run("SELECT pg_xact_status('" + number.toLatin1() + "'::xid8)", &status))
        return false;
    ending = status == "committed" ? Ending::Committed : Ending::Undone;
    return true;
}

QVariant PostgresConnection::storable(const QVariant& value) const
{
    const QVariant known = Connection::storable(value);
    if (known.type() != QVariant::String || !known.toString().contains(QChar::Null))
        return known;
    // PostgreSQL keeps every character but this one.
    return known.toString().replace(QChar::Null, QChar::ReplacementCharacter);
}

bool PostgresConnection::execute(const QString& statement)
{
    return run(statement.toUtf8());
}

bool PostgresConnection::run(const QByteArray& statements, QByteArray* value)
{
    const auto answer = m_session.execute(statements);
    if (!answer.isGood)
        setFault(faultOfState(answer.state, answer.error));
    if (value)
        *value = answer.value;
    return answer.isGood;
}

bool PostgresConnection::readChanges(bool& hasChanged)
{
    if (m_session.readNotifications(hasChanged))
        return true;
    setFault(faultOfState({}, {}));
    return false;
}

bool PostgresConnection::probe()
{
    return run("SELECT 1");
}

Fault PostgresConnection::faultOf(const QSqlError& error) const
{
    const QString words = error.databaseText().isEmpty() ? error.text() : error.databaseText();
    return faultOfState(error.nativeErrorCode().toLatin1(), words.simplified());
}

Fault PostgresConnection::faultOfState(const QByteArray& state, const QString& text) const
{
    // 57P: the server shuts down; 53300: it has no place; 25P03: it ended a transaction that stood still; 25006: it is a copy.
    static const QByteArray kEnding[] = {"08", "57P", "53300", "25P03", "25006"};
    // Another transaction was in the way, or the server was slow.
    static const QByteArray kPassing[] = {"40001", "40P01", "55P03", "57014"};
    const auto begins = [&state](const QByteArray& start) { return state.startsWith(start); };
    const bool isLost = m_session.isLost() || std::any_of(std::begin(kEnding), std::end(kEnding), begins);
    const QString words = text.isEmpty() ? QStringLiteral("the connection to the server was lost") : text;
    if (isLost)
        return {Fault::Kind::Lost, words, QStringLiteral("see whether the database server runs and this machine reaches it")};
    if (std::any_of(std::begin(kPassing), std::end(kPassing), begins))
        return {Fault::Kind::Passing, words, QStringLiteral("see what keeps the database server busy")};
    return {Fault::Kind::Statement, words, remedyOf(state)};
}
}
