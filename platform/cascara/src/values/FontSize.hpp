#pragma once

#include <Facet/StyleValue.hpp>

#include <QByteArray>

namespace Cascara
{
/// The number of `font-size`.
[[nodiscard]] int fontSizeAttribute();
/// Whether the word is a size: `small`, `x-large`, `larger`.
[[nodiscard]] bool isFontSizeWord(const Facet::StyleTerm& term);
/// Whether the value of that attribute depends on a font size: lengths in `em`, and percentages and words of `font-size`.
[[nodiscard]] bool usesFontSize(const QByteArray& attribute, const Facet::StyleValue& value);
/// Puts pixels in place of what depends on the font size; for `font-size` that of the parent.
void resolveFontSize(const QByteArray& attribute, Facet::StyleValue& value, double fontSizePx);
}
