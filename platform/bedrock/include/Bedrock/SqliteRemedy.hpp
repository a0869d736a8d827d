#pragma once

#include <Bedrock/Export.hpp>

#include <QString>

#include <optional>

namespace Bedrock
{
/// Why a path cannot be that of a database, and what an operator can do about it: parts of a sentence.
struct NoDatabase
{
    QString reason;
    QString remedy;
};

/// Nothing for a file, and for a path at which there is nothing yet. SQLite itself takes a folder, a pipe or a link that leads
/// round in a circle for a fault of the disk. Any thread.
[[nodiscard]] TAVOLA_EXPORT std::optional<NoDatabase> whyNoDatabase(const QString& path);

/// What an operator can do about a result code of SQLite, primary or extended: a part of a sentence. Only a file that is damaged,
/// or is no database at all, is advised to be moved away; one that is locked, read-only or on a full disk holds what it held.
/// Any thread.
[[nodiscard]] TAVOLA_EXPORT QString sqliteRemedy(int resultCode);
}
