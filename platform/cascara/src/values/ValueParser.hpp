#pragma once

#include "syntax/Token.hpp"

#include <Facet/StyleValue.hpp>

namespace Cascara
{
/// Makes the terms of a declaration's value from its tokens. `mm` becomes `px`, and what `calc()` and the like compute of known
/// numbers becomes one number.
class ValueParser
{
public:
    /// Relative url()s are resolved against `baseDirectory` where that is not empty.
    ValueParser(const Tokens& tokens, const QString& baseDirectory) : m_tokens(tokens), m_baseDirectory(baseDirectory) {}

    /// Of the tokens `first` to `end` (exclusive). False when something in there cannot be part of a value.
    [[nodiscard]] bool parse(int first, int end, Facet::StyleValue& result);
    [[nodiscard]] const StyleSheetError& error() const noexcept { return m_error; }

    /// What `mm` means in values that are parsed from then on; 0.55 mm for a pixel before.
    static void setPixelPitch(double mmPerPixel) noexcept { s_mmPerPixel = mmPerPixel; }
    [[nodiscard]] static double pixelPitch() noexcept { return s_mmPerPixel; }

    /// A file name of a style sheet in `baseDirectory`; addresses with a scheme and absolute names stay as they are.
    [[nodiscard]] static QString resolve(const QString& url, const QString& baseDirectory);

private:
    bool parseTerms(int& position, int end, bool inFunction, Facet::StyleValue& result);
    bool parseFunction(int& position, int end, Facet::StyleValue& result);
    bool parseDelimiter(int position, bool inFunction, Facet::StyleTerm& term);
    [[nodiscard]] bool isBlank(int position) const;
    [[nodiscard]] QString sourceOf(int first, int end) const;
    bool fail(const Token& where, const QString& text);

    const Tokens& m_tokens;
    QString m_baseDirectory;
    int m_depth = 0;
    int m_mathDepth = 0; ///< functions around that compute
    StyleSheetError m_error;

    inline static double s_mmPerPixel = 0.55;
};
}
