#pragma once

#include <QString>

/// Places in a text between what is seen as one character. Positions are indices of UTF-16 units.
namespace Trellis
{
/// The text as one line without control characters: line ends and tabs become blanks.
[[nodiscard]] QString asOneLine(const QString& text);

/// The nearest border before `position`, or 0.
[[nodiscard]] int borderBefore(const QString& text, int position);
/// The nearest border after `position`, or the end of the text.
[[nodiscard]] int borderAfter(const QString& text, int position);
/// `position` where it is a border, else the next one after it.
[[nodiscard]] int nearestBorder(const QString& text, int position);
}
