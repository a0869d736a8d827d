#pragma once

#include <Bedrock/Export.hpp>

#include <QByteArray>
#include <QString>

#include <optional>

namespace Bedrock
{
/// All bytes of a file that people write. Nothing, with the reason in `error`, when it cannot be read, is no ordinary file (a
/// pipe could make the program wait for ever) or has more than `mostMiB` MiB: no more than those are read. Any thread; blocks.
[[nodiscard]] TAVOLA_EXPORT std::optional<QByteArray> readBoundedFile(const QString& path, int mostMiB, QString& error);
}
