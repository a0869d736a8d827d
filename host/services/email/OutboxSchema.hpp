#pragma once

#include <QString>

namespace Host
{
class Outbox;
class SqliteTransaction;

namespace OutboxSchema
{
constexpr int kVersion = 3;

/// Makes the tables. Version 1 kept a message in parts, its texts in the database, copies of its files in a folder: for the
/// holder of the outbox's lock, which this takes, each is composed into a finished file. One that has lost parts becomes failed,
/// with a warning. Version 2 kept nothing of collections. False, with the reason in `error` unless it is the transaction's, when
/// that cannot be done. Blocks.
[[nodiscard]] bool change(SqliteTransaction& transaction, int found, Outbox& outbox, QString& error);
}
}
