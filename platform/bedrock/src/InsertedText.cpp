#include "InsertedText.hpp"

#include <cstdio>
#include <cstring>
#include <random>

namespace Bedrock
{
namespace
{
/// Stands around what is inserted. Random, so that no text from outside has it in it.
struct Marks
{
    Marks()
    {
        std::random_device random;
        for (std::string* mark : {&begin, &end})
            for (int i = 0; i < 16; ++i)
                *mark += "0123456789abcdef"[random() % 16];
    }
    std::string begin = "\x01";
    std::string end = "\x02";
};

/// The format with marks around each conversion.
std::string markedFormat(const char* format, const Marks& marks)
{
    std::string result;
    while (*format != '\0') {
        if (format[0] != '%' || format[1] == '%') {
            const std::size_t length = format[0] == '%' ? 2 : 1;
            result.append(format, length);
            format += length;
            continue;
        }
        std::size_t length = 1 + std::strcspn(format + 1, "diouxXeEfFgGaAcsp");
        length += format[length] == '\0' ? 0 : 1;
        result += marks.begin + std::string(format, length) + marks.end;
        format += length;
    }
    return result;
}

/// Takes the marks out of the line.
InsertedText takeMarks(std::string& line, const Marks& marks)
{
    InsertedText inserted;
    for (std::size_t begin = line.find(marks.begin); begin != std::string::npos; begin = line.find(marks.begin, begin)) {
        line.erase(begin, marks.begin.size());
        const std::size_t end = line.find(marks.end, begin);
        if (end == std::string::npos)
            break;
        line.erase(end, marks.end.size());
        inserted.push_back({begin, end});
        begin = end;
    }
    return inserted;
}
}

InsertedText insertedText(const char* format, va_list arguments, const std::string& line)
{
    static const Marks marks;
    const std::string marked = markedFormat(format, marks);
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, marked.c_str(), arguments);
    std::string text(length > 0 ? std::size_t(length) + 1 : 0, '\0');
    if (length > 0)
        std::vsnprintf(text.data(), text.size(), marked.c_str(), again);
    va_end(again);
    text.resize(length > 0 ? std::size_t(length) : 0);
    InsertedText inserted = takeMarks(text, marks);
    // In doubt all of it.
    return text == line ? inserted : InsertedText{{0, line.size()}};
}
}
