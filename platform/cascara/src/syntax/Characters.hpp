#pragma once

#include <QChar>

/// The kinds of characters that CSS Syntax Module Level 3 distinguishes.
namespace Cascara
{
/// Stands for a character that cannot be represented.
constexpr char16_t kReplacement = 0xFFFD;

inline bool isDigit(QChar c)
{
    return c >= QLatin1Char('0') && c <= QLatin1Char('9');
}
inline bool isHexDigit(QChar c)
{
    return isDigit(c) || (c >= QLatin1Char('a') && c <= QLatin1Char('f')) || (c >= QLatin1Char('A') && c <= QLatin1Char('F'));
}
inline bool isNameStart(QChar c)
{
    return (c >= QLatin1Char('a') && c <= QLatin1Char('z')) || (c >= QLatin1Char('A') && c <= QLatin1Char('Z'))
        || c == QLatin1Char('_') || c.unicode() >= 0x80;
}
inline bool isNameCharacter(QChar c)
{
    return isNameStart(c) || isDigit(c) || c == QLatin1Char('-');
}
inline bool isBlank(QChar c)
{
    return c == QLatin1Char(' ') || c == QLatin1Char('\t') || c == QLatin1Char('\n');
}
}
