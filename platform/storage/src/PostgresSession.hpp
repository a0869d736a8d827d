#pragma once

#include <QByteArray>
#include <QString>

#include <libpq-fe.h>

class QSqlDriver;

namespace Storage
{
/// What Qt's driver does not offer of its connection to PostgreSQL: its socket and its true state, notifications, and several
/// statements in one round trip with the outcome of the last one. Borrows the driver.
class PostgresSession
{
public:
    explicit PostgresSession(const QSqlDriver& driver) : m_driver(driver) {}

    /// The state that libpq saw at the last reading or writing. The driver's isOpen() stays true.
    [[nodiscard]] bool isLost() const;
    /// -1: not connected.
    [[nodiscard]] int descriptor() const;

    struct Answer
    {
        bool isGood = false;
        QByteArray value;   ///< first column of the last statement's first row
        QByteArray command; ///< what the last statement did: "COMMIT", or "ROLLBACK" where a statement had failed before
        QByteArray state;   ///< SQLSTATE of an error; empty when the connection was lost
        QString error;
    };
    /// Runs statements joined by ";" until one fails.
    [[nodiscard]] Answer execute(const QByteArray& statements) const;
    /// Reads what has arrived. False when the connection is lost. `hasOthers`: a notification of another connection was there.
    [[nodiscard]] bool readNotifications(bool& hasOthers) const;
    /// Ends both directions of the socket: calls that wait for the server fail. Any thread, while such a call is under way.
    void shutDown() const;

private:
    /// Null before the driver has connected.
    [[nodiscard]] PGconn* connection() const;

    const QSqlDriver& m_driver;
};
}
