#pragma once

#include <QString>

#include <functional>

namespace Host
{
class SqliteTransaction;

/// The tables that a program expects in a SQLite file, under a number that the file keeps.
struct SqliteSchema
{
    /// Makes tables of another number, 0 for a new file, into those of this one. False when a statement failed, or with what is
    /// wrong with the file in `error`: "is still in use".
    using Change = std::function<bool(SqliteTransaction& transaction, int found, QString& error)>;

    /// What becomes of a file whose tables are right, but which another program keeps locked for too long: it can be read.
    enum class WhenLocked { Refuse, Open };

    QString purpose; ///< of the file, for messages: "an outbox"
    int version = 1;
    Change change;
    WhenLocked whenLocked = WhenLocked::Refuse;

    /// Opens or makes the file, with a write-ahead log, and changes its tables where they are of a lower number: as a whole or
    /// not at all. False, with the reason and what to do about it in `error`, when it is something else, of a higher number, or
    /// cannot be written. Waits for another program's lock. Any thread.
    [[nodiscard]] bool prepare(const QString& path, QString& error) const;
};
}
