#pragma once

#include <Bedrock/Export.hpp>

#include <QByteArray>
#include <QString>

#include <optional>

namespace Bedrock
{
/// All bytes of a file that people write. Nothing, with the reason in `error`, when it cannot be read or has more than `mostMiB`
/// MiB: no more than those are read, whatever the file is. Any thread; blocks.
[[nodiscard]] TAVOLA_EXPORT std::optional<QByteArray> readBoundedFile(const QString& path, int mostMiB, QString& error);
}
