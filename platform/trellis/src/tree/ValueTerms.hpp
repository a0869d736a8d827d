#pragma once

#include <Facet/StyleValue.hpp>
#include <Trellis/Length.hpp>

#include <vector>

namespace Trellis
{
[[nodiscard]] inline bool isWord(const Facet::StyleTerm& term, const char* word)
{
    return term.kind == Facet::StyleTerm::Kind::Ident && term.text.compare(QLatin1String(word), Qt::CaseInsensitive) == 0;
}

/// Whether the value is that word.
[[nodiscard]] inline bool isWord(const Facet::StyleValue& value, const char* word)
{
    return value.terms.size() == 1 && isWord(value.terms.first(), word);
}

/// The entries of a list with commas, those inside of functions aside. Each is a list of parts: one term, or a function with its
/// arguments. An entry may be empty.
[[nodiscard]] std::vector<std::vector<Facet::StyleValue>> listEntries(const QVector<Facet::StyleTerm>& terms);
/// One or two of `left`, `center`, `right`, `top`, `bottom` and lengths. False when it is none.
[[nodiscard]] bool readPosition(const std::vector<Facet::StyleValue>& parts, Length& x, Length& y);
}
