#pragma once

#include <Bedrock/Export.hpp>

#include <QString>

namespace Bedrock
{
/// The path of a file that a style sheet, a presentation or an attribute names as a path or as a "file:" address. What is
/// neither, such as a web address, comes back as it is. Any thread.
[[nodiscard]] TAVOLA_EXPORT QString localPath(const QString& source);
}
