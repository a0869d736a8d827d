#pragma once

#include <QString>

#include <functional>

namespace Host
{
class OutboxFiles;

/// The tables of an outbox, and the way from those of version 1. That kept a message in parts: its texts in the database, copies
/// of its attachments in a folder of its own.
namespace OutboxSchema
{
/// Makes the SQLite file, or brings one of version 1 up to date, which `lock` must allow: every message is composed into a
/// finished file; a message that lost parts becomes failed. All of them or none; the old copies become orphans. False, with
/// the reason in `error`, when the file is something else or of a newer version, or cannot be written. Blocks.
[[nodiscard]] bool prepare(const QString& path, const OutboxFiles& files, const std::function<bool()>& lock, QString& error);
}
}
