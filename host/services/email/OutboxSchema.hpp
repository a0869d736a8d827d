#pragma once

#include <QString>

namespace Host
{
class Outbox;
class SqliteTransaction;

/// The tables of an outbox, and the way from those of version 1. That kept a message in parts: its texts in the database, copies
/// of its attachments in a folder of its own.
namespace OutboxSchema
{
constexpr int kVersion = 2;

/// Makes the tables; or, for the holder of the outbox's lock, which it takes, composes every message of version 1 into a
/// finished file. A message that has lost parts becomes failed, with a warning; the copies belong to no message any more.
/// False, with the reason in `error` unless it is the transaction's, when that cannot be done. Blocks.
[[nodiscard]] bool change(SqliteTransaction& transaction, int found, Outbox& outbox, QString& error);
}
}
