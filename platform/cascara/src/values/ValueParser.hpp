#pragma once

#include "syntax/Token.hpp"

#include <Facet/StyleValue.hpp>

namespace Cascara
{
/// Makes the terms of a declaration's value from its tokens.
class ValueParser
{
public:
    /// Relative url()s are resolved against `baseDirectory` where that is not empty.
    ValueParser(const Tokens& tokens, const QString& baseDirectory) : m_tokens(tokens), m_baseDirectory(baseDirectory) {}

    /// Of the tokens `first` to `end` (exclusive). False when something in there cannot be part of a value.
    [[nodiscard]] bool parse(int first, int end, Facet::StyleValue& result);
    [[nodiscard]] const StyleSheetError& error() const noexcept { return m_error; }

    /// A file name of a style sheet in `baseDirectory`; addresses with a scheme and absolute names stay as they are.
    [[nodiscard]] static QString resolve(const QString& url, const QString& baseDirectory);

private:
    bool parseTerms(int& position, int end, bool inFunction, Facet::StyleValue& result);
    bool parseFunction(int& position, int end, Facet::StyleValue& result);
    [[nodiscard]] QString sourceOf(int first, int end) const;
    bool fail(const Token& where, const QString& text);

    const Tokens& m_tokens;
    QString m_baseDirectory;
    int m_depth = 0;
    StyleSheetError m_error;
};
}
