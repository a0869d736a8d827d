#pragma once

#include <QString>
#include <QStringList>

namespace Host
{
/// A line of a CSV file: its fields without quotes and without the blanks around them.
struct CsvLine
{
    [[nodiscard]] bool isBlank() const;
    [[nodiscard]] bool hasNul() const;

    int number = 0; ///< of the line in the file, from 1
    QStringList fields;
    bool openQuote = false; ///< a quote is opened in it and not closed; it has no fields
};

/// Splits a text into lines of fields (RFC 4180, with any line ends). A quote that is never closed costs its own line only. One
/// thread.
class CsvLines
{
public:
    /// Of a quoted field, in characters. A quote that is never closed takes no more than this to find out, in each line that has
    /// one.
    static constexpr int kLongestField = 4096;

    /// `text` must outlive this.
    explicit CsvLines(const QString& text) : m_text(text) {}

    /// False at the end of the text.
    bool next(CsvLine& line);

private:
    /// False when a quoted field has no end within its bound.
    bool split(CsvLine& line);
    /// Skips LF, CR LF or CR; false when there is none at the position.
    bool skipLineEnd();

    const QString& m_text;
    int m_at = 0;
    int m_line = 1;
};
}
