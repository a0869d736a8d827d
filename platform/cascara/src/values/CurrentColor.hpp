#pragma once

#include "values/WideKeyword.hpp"

#include <Bedrock/Color.hpp>
#include <Facet/StyleValue.hpp>

#include <QByteArray>

namespace Cascara
{
/// The number of `color`.
[[nodiscard]] int colorAttribute();
/// The word `currentcolor`.
[[nodiscard]] bool isCurrentColor(const Facet::StyleTerm& term);
/// Whether the value of that attribute depends on `color`: the word stands for a colour in it.
[[nodiscard]] bool usesCurrentColor(const QByteArray& attribute, const Facet::StyleValue& value);
/// Puts that colour in place of the word.
void resolveCurrentColor(Facet::StyleValue& value, const Bedrock::Color& color);
/// As wideKeyword; of `color` the word is `inherit`.
[[nodiscard]] WideKeyword wideKeywordOf(const QByteArray& attribute, const Facet::StyleValue& value);
}
