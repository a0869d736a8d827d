#pragma once

#include "Connection.hpp"

#include <sys/types.h>

namespace Storage
{
/// A SQLite file with a write-ahead log. Every commit is on the disk when it returns. A file that another one has replaced, such
/// as a restored copy, is opened anew.
class SqliteFileConnection final : public Connection
{
public:
    SqliteFileConnection(const Address& address, std::chrono::milliseconds lockWait);

    [[nodiscard]] bool open(const Schema& schema, QString& sentence) override;
    [[nodiscard]] bool execute(const QString& statement) override;
    [[nodiscard]] bool begin(Store::Kind kind) override;
    [[nodiscard]] bool commit(Store::Kind kind, bool hasChanged) override;
    [[nodiscard]] bool readChanges(bool& hasChanged) override;
    [[nodiscard]] std::chrono::milliseconds checkEvery() const override { return std::chrono::milliseconds(500); }

protected:
    [[nodiscard]] Fault faultOf(const QSqlError& error) const override;

private:
    [[nodiscard]] bool prepareFile(const Schema& schema, QString& sentence);
    [[nodiscard]] bool change(const Schema& schema, QString& sentence);
    [[nodiscard]] bool keepWriteAheadLog();
    [[nodiscard]] bool isSameFile() const;
    /// One value of a statement's first row.
    [[nodiscard]] bool ask(const QString& statement, QVariant& value);
    [[nodiscard]] QString inBrackets(const QString& what) const;

    std::chrono::milliseconds m_lockWait;
    dev_t m_device = 0;
    ino_t m_inode = 0;
    qlonglong m_dataVersion = -1; ///< SQLite's count of others' commits
};
}
