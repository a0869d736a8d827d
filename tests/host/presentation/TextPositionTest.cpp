#include "presentation/TextPosition.hpp"

#include <doctest/doctest.h>

using namespace Host;

TEST_CASE("text position: lines and columns count from one")
{
    struct Row
    {
        QByteArray text;
        int offset;
        int line;
        int column;
    };
    const Row rows[] = {
        {"", 0, 1, 1},      {"abc", 0, 1, 1},    {"abc", 2, 1, 3}, {"a\nbc", 2, 2, 1},
        {"a\nbc", 3, 2, 2}, {"a\r\nb", 3, 2, 1}, {"ab", 99, 1, 3}, {"\n\n\n", 3, 4, 1},
    };
    for (const Row& row : rows) {
        CAPTURE(row.text.toStdString());
        CAPTURE(row.offset);
        const TextPosition position = TextPosition::of(row.text, row.offset);
        CHECK(position.line == row.line);
        CHECK(position.column == row.column);
    }
}
