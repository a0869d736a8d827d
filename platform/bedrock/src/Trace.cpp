#include "Bedrock/Trace.hpp"

#include "Bedrock/LogText.hpp"
#include "InsertedText.hpp"

#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <utility>

namespace Bedrock::Trace
{
namespace
{
struct State
{
    std::mutex mutex;
    Sink sink;
};

State& state()
{
    // Never destroyed: destructors of other libraries may log at process exit.
    static auto& instance = *new State;
    return instance;
}

std::string formatted(const char* format, va_list arguments)
{
    va_list again;
    va_copy(again, arguments);
    char buffer[512];
    const int length = std::vsnprintf(buffer, sizeof buffer, format, arguments);
    std::string text;
    if (length >= 0 && std::size_t(length) < sizeof buffer) {
        text.assign(buffer, std::size_t(length));
    } else if (length >= 0) {
        text.resize(std::size_t(length) + 1);
        std::vsnprintf(text.data(), text.size(), format, again);
        text.resize(std::size_t(length));
    } else {
        text = format;
    }
    va_end(again);
    return text;
}

/// A line that repeats a value of a file may be as long as the file.
std::string bounded(std::string line)
{
    constexpr std::size_t kLongestLine = 8192;
    if (line.size() <= kLongestLine)
        return line;
    std::size_t end = kLongestLine;
    while ((static_cast<unsigned char>(line[end]) & 0xC0) == 0x80)
        --end;
    return line.substr(0, end) + "\xE2\x80\xA6 (the line has " + std::to_string(line.size()) + " bytes)";
}

/// The line that this thread logs, for the time of its sink.
struct Current
{
    const std::string* text = nullptr;
    InsertedText inserted;
};

Current& current()
{
    static thread_local Current instance;
    return instance;
}

void log(Level level, const char* format, va_list arguments)
{
    va_list again;
    va_copy(again, arguments);
    const std::string text = formatted(format, arguments);
    current() = {&text, insertedText(format, again, text)};
    va_end(again);
    struct End
    {
        ~End() { current() = {}; }
    } const end;
    State& s = state();
    const std::lock_guard<std::mutex> guard(s.mutex);
    if (s.sink)
        s.sink(level, text);
    else
        writeToStandardError(level, text);
}
}

void info(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    log(Level::Info, format, arguments);
    va_end(arguments);
}

void warning(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    log(Level::Warning, format, arguments);
    va_end(arguments);
}

void error(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    log(Level::Error, format, arguments);
    va_end(arguments);
}

void writeToStandardError(Level level, const std::string& text)
{
    // A sink hands on the line that it was given; of any other text nothing is known.
    const Current& logged = current();
    const std::string shortened =
        logged.text && *logged.text == text ? withoutSecrets(text, logged.inserted) : withoutSecrets(text);
    const std::string line = std::string(levelName(level)) + ' ' + bounded(onOneLine(shortened)) + '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
}

Sink setSink(Sink sink)
{
    State& s = state();
    const std::lock_guard<std::mutex> guard(s.mutex);
    return std::exchange(s.sink, std::move(sink));
}

const char* levelName(Level level) noexcept
{
    switch (level) {
    case Level::Info: return "info";
    case Level::Warning: return "warning";
    case Level::Error: return "error";
    }
    return "error";
}
}
