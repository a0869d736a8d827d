#include "json/JsonText.hpp"

#include <QChar>

#include <algorithm>

namespace Tavola
{
QString jsonPosition(const QByteArray& text, int parserOffset)
{
    // The parser stops after the character that it could not read and the blanks that follow.
    int place = std::clamp(parserOffset, 0, text.size()) - 1;
    while (place > 0 && QChar::isSpace(uchar(text.at(place))))
        --place;
    place = std::max(place, 0);
    const int line = 1 + static_cast<int>(std::count(text.begin(), text.begin() + place, '\n'));
    const int column = place - (place > 0 ? text.lastIndexOf('\n', place - 1) : -1);
    return QStringLiteral("%1:%2").arg(line).arg(column);
}
}
