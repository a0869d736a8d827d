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
/// A letter of any script; halves of characters beyond U+FFFF, all of which are name characters, count as well.
inline bool isNonAsciiName(char16_t c)
{
    return c == 0xB7 || (c >= 0xC0 && c <= 0xD6) || (c >= 0xD8 && c <= 0xF6) || (c >= 0xF8 && c <= 0x37D)
        || (c >= 0x37F && c <= 0x1FFF) || c == 0x200C || c == 0x200D || c == 0x203F || c == 0x2040 || (c >= 0x2070 && c <= 0x218F)
        || (c >= 0x2C00 && c <= 0x2FEF) || (c >= 0x3001 && c <= 0xDFFF) || (c >= 0xF900 && c <= 0xFDCF)
        || (c >= 0xFDF0 && c <= 0xFFFD);
}
inline bool isNameStart(QChar c)
{
    return (c >= QLatin1Char('a') && c <= QLatin1Char('z')) || (c >= QLatin1Char('A') && c <= QLatin1Char('Z'))
        || c == QLatin1Char('_') || (c.unicode() >= 0x80 && isNonAsciiName(c.unicode()));
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
