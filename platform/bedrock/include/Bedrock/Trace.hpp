#pragma once

#include <Bedrock/Export.hpp>

#include <functional>
#include <string>

namespace Bedrock::Trace
{
enum class Level { Info, Warning, Error };

/// Log a line, printf style; texts are UTF-8. Any thread; lines of several threads never mix.
/// Form: class (and function), " # ", what failed, the detail.
TAVOLA_EXPORT void info(const char* format, ...) __attribute__((format(printf, 1, 2)));
TAVOLA_EXPORT void warning(const char* format, ...) __attribute__((format(printf, 1, 2)));
TAVOLA_EXPORT void error(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// Receives every line, without line end, on the thread that logged it. Must not log itself.
using Sink = std::function<void(Level, const std::string&)>;

/// Replaces the sink (null: "LEVEL text" lines on standard error, the default) and returns the one before, which is not
/// called any more. Any thread.
TAVOLA_EXPORT Sink setSink(Sink sink);

/// Writes "LEVEL text" on standard error, in one piece: what a sink calls whose lines also go there. The text leaves the
/// program here, so secrets in it are shortened and control characters written out (LogText.hpp). A standard error that is closed
/// or full costs the line, nothing else, where SIGPIPE is ignored as the programs do. Any thread.
TAVOLA_EXPORT void writeToStandardError(Level level, const std::string& text);

/// "info", "warning" or "error".
[[nodiscard]] TAVOLA_EXPORT const char* levelName(Level level) noexcept;
}
