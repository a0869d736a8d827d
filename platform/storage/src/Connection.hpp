#pragma once

#include "Storage/Address.hpp"
#include "Storage/Failure.hpp"
#include "Storage/Schema.hpp"
#include "Storage/Store.hpp"

#include <QHash>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>

#include <chrono>
#include <memory>

namespace Storage
{
/// What went wrong last on a connection.
struct Fault
{
    enum class Kind {
        Statement, ///< the statement or its values: the connection works
        Passing,   ///< the same transaction may work the next time
        Lost       ///< the connection: to be closed and opened again
    };
    Kind kind = Kind::Statement;
    QString reason;
    QString remedy;
    bool spoilsConnection = false; ///< a Statement fault after which the connection should be opened again

    [[nodiscard]] Failure failure() const
    {
        return {kind == Kind::Statement ? Failure::Kind::Refused : Failure::Kind::Away, reason, remedy};
    }
};

/// A connection to a database, opened once; another one is made after it was lost. Made, used and destroyed on one thread, except
/// for interrupt(). Keeps prepared statements, since preparing them costs a round trip.
class Connection
{
public:
    /// `listens`: whether readChanges() will be called.
    static std::unique_ptr<Connection> make(const Address& address, std::chrono::milliseconds deadline, bool listens);
    virtual ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// Connects and brings the tables up to date. On failure, with a fault, `sentence` says why, for the operator.
    [[nodiscard]] virtual bool open(const Schema& schema, QString& sentence) = 0;

    /// These end with a fault when they return false.
    [[nodiscard]] virtual bool begin(Store::Kind kind) = 0;
    /// `hasChanged`: whether other connections have something to read.
    [[nodiscard]] virtual bool commit(Store::Kind kind, bool hasChanged) = 0;
    void rollBack();
    [[nodiscard]] QSqlQuery* prepared(const QString& statement);
    /// Runs a statement without values or rows.
    [[nodiscard]] virtual bool execute(const QString& statement) = 0;
    /// The value as the database can keep it.
    [[nodiscard]] virtual QVariant storable(const QVariant& value) const;

    void noteFault(const QSqlError& error) { m_fault = faultOf(error); }
    [[nodiscard]] const Fault& fault() const noexcept { return m_fault; }

    /// The number of the transaction that was begun last, under which the server knows its end. Empty where a failed commit has
    /// changed nothing for certain.
    [[nodiscard]] virtual QString transactionNumber() const { return {}; }
    enum class Ending { Committed, Undone };
    /// How an earlier transaction ended. Inside a transaction of Kind::Write, which waits for that one. False with a fault.
    [[nodiscard]] virtual bool askEnding(const QString& number, Ending& ending);

    /// Readable when the server has sent something; -1: never.
    [[nodiscard]] virtual int descriptor() const { return -1; }
    /// Whether other connections have changed something since the last call. Does not wait. False with a fault.
    [[nodiscard]] virtual bool readChanges(bool& hasChanged) = 0;
    /// Asks the server for a sign of life, which finds a connection that was lost without a sign. False with a fault.
    [[nodiscard]] virtual bool probe() { return true; }
    /// How often to probe and to read changes although nothing came.
    [[nodiscard]] virtual std::chrono::milliseconds checkEvery() const = 0;
    /// Ends a call that waits for the server, which then fails as Lost. Any thread, while a call is under way.
    virtual void interrupt() {}

protected:
    Connection(const QString& driver, const Address& address);
    [[nodiscard]] virtual Fault faultOf(const QSqlError& error) const = 0;
    void setFault(Fault fault) { m_fault = std::move(fault); }
    /// Runs those statements of the schema that tables of version `found` lack.
    [[nodiscard]] bool runStatements(const Schema& schema, int found);
    /// Returns false, with fault and sentence.
    bool refuseNewer(const QString& place, QString& sentence);
    [[nodiscard]] QSqlDatabase& database() noexcept { return m_database; }
    [[nodiscard]] const QSqlDatabase& database() const noexcept { return m_database; }
    [[nodiscard]] const Address& address() const noexcept { return m_address; }

private:
    Address m_address;
    QString m_name;
    QSqlDatabase m_database;
    QHash<QString, std::shared_ptr<QSqlQuery>> m_prepared;
    Fault m_fault;
};
}
