#pragma once

#include <QByteArray>

#include <algorithm>

namespace Host
{
/// The position of a byte in a text, for messages. Line and column count from 1, the column in bytes.
struct TextPosition
{
    int line = 1;
    int column = 1;

    [[nodiscard]] static TextPosition of(const QByteArray& text, int offset)
    {
        TextPosition position;
        for (int i = 0; i < std::min(offset, text.size()); ++i) {
            if (text[i] == '\n') {
                ++position.line;
                position.column = 1;
            } else {
                ++position.column;
            }
        }
        return position;
    }
};
}
