#pragma once

#include <cstdarg>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Bedrock
{
/// A half-open range of bytes of a log line.
struct ByteRange
{
    std::size_t begin;
    std::size_t end;
};

/// What of a log line comes from the arguments of its format, in order; the rest are the program's own words.
using InsertedText = std::vector<ByteRange>;

/// Of the line that vsnprintf() makes of these. The arguments are used up.
[[nodiscard]] InsertedText insertedText(const char* format, va_list arguments, const std::string& line);

namespace PersonalTexts
{
/// As shortened() of PersonalTexts.hpp, but what stands in the program's own words altogether stays.
[[nodiscard]] std::string shortened(std::string_view line, const InsertedText& inserted);
}

/// As withoutSecrets() of LogText.hpp.
[[nodiscard]] std::string withoutSecrets(std::string_view line, const InsertedText& inserted);
}
