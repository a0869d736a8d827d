#include "text/Graphemes.hpp"

#include <QTextBoundaryFinder>

#include <algorithm>

namespace Trellis
{
QString asOneLine(const QString& text)
{
    QString line;
    line.reserve(text.size());
    for (int i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        const bool isLineEnd =
            c == QLatin1Char('\n') || c == QLatin1Char('\r') || c == QChar::LineSeparator || c == QChar::ParagraphSeparator;
        if (isLineEnd || c == QLatin1Char('\t')) {
            line += QLatin1Char(' ');
            if (c == QLatin1Char('\r') && i + 1 < text.size() && text.at(i + 1) == QLatin1Char('\n'))
                ++i;
        } else if (c.category() != QChar::Other_Control) {
            line += c;
        }
    }
    return line;
}

int borderBefore(const QString& text, int position)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    finder.setPosition(position);
    const int border = finder.toPreviousBoundary();
    return border < 0 ? 0 : border;
}

int borderAfter(const QString& text, int position)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    finder.setPosition(position);
    const int border = finder.toNextBoundary();
    return border < 0 ? text.size() : border;
}

int nearestBorder(const QString& text, int position)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    finder.setPosition(std::clamp(position, 0, int(text.size())));
    return finder.isAtBoundary() || position >= text.size() ? std::clamp(position, 0, int(text.size()))
                                                            : borderAfter(text, position);
}
}
