#include "CsvLines.hpp"

#include <algorithm>
#include <utility>

namespace Host
{
namespace
{
QString rightTrimmed(QString text)
{
    while (!text.isEmpty() && text.back().isSpace())
        text.chop(1);
    return text;
}
}

bool CsvLine::isBlank() const
{
    return !openQuote && fields.size() == 1 && fields[0].trimmed().isEmpty();
}

bool CsvLine::hasNul() const
{
    return std::any_of(fields.begin(), fields.end(), [](const QString& field) { return field.contains(QChar(0)); });
}

bool CsvLines::next(CsvLine& line)
{
    if (m_at >= m_text.size())
        return false;
    const int start = m_at;
    line = CsvLine();
    line.number = m_line;
    if (!split(line)) {
        // A quote that is never closed would swallow all lines below: only its own line is skipped.
        line.openQuote = true;
        m_at = start;
        m_line = line.number;
        while (m_at < m_text.size() && !skipLineEnd())
            ++m_at;
    }
    return true;
}

bool CsvLines::split(CsvLine& line)
{
    QString field;
    bool quoted = false;
    int kept = 0; // characters that were quoted, whose blanks belong to the field
    const auto finish = [&] {
        QString after = field.mid(kept);
        field.truncate(kept);
        // Blanks around a field are dropped, also those between a closing quote and the comma.
        line.fields << (kept > 0 ? field + rightTrimmed(std::move(after)) : after.trimmed());
        field.clear();
        kept = 0;
    };
    while (m_at < m_text.size()) {
        if (quoted && field.size() > kLongestField)
            return false;
        if (skipLineEnd()) {
            if (!quoted)
                break;
            field += QLatin1Char('\n');
            continue;
        }
        const QChar c = m_text[m_at++];
        if (quoted) {
            if (c != QLatin1Char('"'))
                field += c;
            else if (m_at < m_text.size() && m_text[m_at] == QLatin1Char('"'))
                field += m_text[m_at++];
            else {
                quoted = false;
                kept = field.size();
            }
        } else if (c == QLatin1Char('"') && kept == 0 && field.trimmed().isEmpty()) {
            field.clear();
            quoted = true;
        } else if (c == QLatin1Char(',')) {
            finish();
        } else {
            field += c;
        }
    }
    finish();
    return !quoted;
}

bool CsvLines::skipLineEnd()
{
    const QChar c = m_text[m_at];
    if (c != QLatin1Char('\n') && c != QLatin1Char('\r'))
        return false;
    ++m_at;
    if (c == QLatin1Char('\r') && m_at < m_text.size() && m_text[m_at] == QLatin1Char('\n'))
        ++m_at;
    ++m_line;
    return true;
}
}
