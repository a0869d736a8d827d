#pragma once

#include <QString>

namespace Tavola
{
/// The beginning of a text file as it can be shown. A plain record.
struct TextFile
{
    enum class State {
        Whole,
        Cut,       ///< the file has more than was asked for
        NoText,    ///< a picture, a document, a program; `text` is empty
        Unreadable ///< `text` is empty
    };

    State state = State::Whole;
    QString text;
    qint64 shownBytes = 0;
    qint64 fileBytes = 0;
    QString complaint; ///< what is wrong with the file, and the remedy, for the log; empty when nothing is

    /// Reads up to `mostBytes` bytes: UTF-8, or UTF-8, UTF-16 or UTF-32 with a byte order mark. Bytes that are none of that
    /// become U+FFFD. Any thread; blocks.
    [[nodiscard]] static TextFile read(const QString& path, qint64 mostBytes);
    /// A size in KiB, rounded up, as digits.
    [[nodiscard]] static QString kibibytes(qint64 bytes);
};
}
