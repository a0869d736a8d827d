#pragma once

#include <Facet/StyleValue.hpp>

#include <QString>

namespace Cascara
{
/// The words that every attribute takes as its value.
enum class WideKeyword { None, Inherit, Initial, Unset };

[[nodiscard]] inline WideKeyword wideKeyword(const QString& word)
{
    const auto is = [&word](const char* keyword) { return word.compare(QLatin1String(keyword), Qt::CaseInsensitive) == 0; };
    return is("inherit") ? WideKeyword::Inherit
        : is("initial")  ? WideKeyword::Initial
        : is("unset")    ? WideKeyword::Unset
                         : WideKeyword::None;
}

/// Of a value that is one of the words.
[[nodiscard]] inline WideKeyword wideKeyword(const Facet::StyleValue& value)
{
    const bool isWord = value.terms.size() == 1 && value.terms.first().kind == Facet::StyleTerm::Kind::Ident;
    return isWord ? wideKeyword(value.terms.first().text) : WideKeyword::None;
}
}
