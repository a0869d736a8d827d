#pragma once

#include <Bedrock/Export.hpp>

#include <QString>

namespace Bedrock
{
/// What an operator can do about a result code of SQLite, primary or extended: a part of a sentence. Only a file that is damaged,
/// or is no database at all, is advised to be moved away; one that is locked, read-only or on a full disk holds what it held.
/// Any thread.
[[nodiscard]] TAVOLA_EXPORT QString sqliteRemedy(int resultCode);
}
