#pragma once

#include "Connection.hpp"
#include "PostgresSession.hpp"

namespace Storage
{
/// A connection to PostgreSQL through Qt's driver. Writing transactions of one schema exclude each other by an advisory lock,
/// which ends with the transaction; the server itself ends those of a program that has stopped. A committed change notifies the
/// other connections.
class PostgresConnection final : public Connection
{
public:
    PostgresConnection(const Address& address, std::chrono::milliseconds deadline, bool listens);

    [[nodiscard]] bool open(const Schema& schema, QString& sentence) override;
    [[nodiscard]] bool execute(const QString& statement) override;
    [[nodiscard]] bool begin(Store::Kind kind) override;
    [[nodiscard]] bool commit(Store::Kind kind, bool hasChanged) override;
    [[nodiscard]] QString transactionNumber() const override { return m_number; }
    [[nodiscard]] bool askEnding(const QString& number, Ending& ending) override;
    [[nodiscard]] QVariant storable(const QVariant& value) const override;
    [[nodiscard]] int descriptor() const override { return m_session.descriptor(); }
    [[nodiscard]] bool readChanges(bool& hasChanged) override;
    [[nodiscard]] bool probe() override;
    [[nodiscard]] std::chrono::milliseconds checkEvery() const override { return std::chrono::seconds(3); }
    void interrupt() override { m_session.shutDown(); }

protected:
    [[nodiscard]] Fault faultOf(const QSqlError& error) const override;

private:
    [[nodiscard]] bool connect();
    [[nodiscard]] bool prepareSession();
    [[nodiscard]] bool prepareTables(const Schema& schema, QString& sentence);
    [[nodiscard]] bool change(const Schema& schema, QString& sentence);
    [[nodiscard]] bool run(const QByteArray& statements, QByteArray* value = nullptr);
    [[nodiscard]] Fault faultOfState(const QByteArray& state, const QString& text) const;

    std::chrono::milliseconds m_deadline;
    bool m_listens;
    PostgresSession m_session;
    QByteArray m_channel; ///< of notifications; also the name of the lock
    QString m_number;
};
}
