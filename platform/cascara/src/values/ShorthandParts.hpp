#pragma once

#include "values/Shorthand.hpp"

// What the shorthands share.

namespace Cascara
{
[[nodiscard]] bool isWord(const Facet::StyleTerm& term, const char* word);
[[nodiscard]] bool isDelimiter(const Facet::StyleTerm& term, char delimiter);
[[nodiscard]] bool isMath(const Facet::StyleTerm& term);
[[nodiscard]] bool isColor(const Facet::StyleValue& part);
/// A number, a length, or what computes one.
[[nodiscard]] bool isLength(const Facet::StyleTerm& term);
/// A term, or a function with its arguments. Moves past it.
[[nodiscard]] Facet::StyleValue readPart(const Facet::StyleValue& value, int& position);
/// Fills the part of that name; false when it has a value.
[[nodiscard]] bool give(std::vector<Shorthand::Part>& parts, const char* attribute, Facet::StyleValue value);
}
