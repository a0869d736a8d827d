#pragma once

#include "selectors/Selector.hpp"
#include "syntax/Token.hpp"

#include <vector>

namespace Cascara
{
/// Reads the list of selectors before a rule's block.
class SelectorParser
{
public:
    /// Of the tokens `first` to `end` (exclusive).
    SelectorParser(const Tokens& tokens, int first, int end) : m_tokens(tokens), m_position(first), m_end(end) {}

    /// False when any selector of the list is wrong; then `error()` says which and where.
    [[nodiscard]] bool parseList(std::vector<Selector>& result);
    [[nodiscard]] const StyleSheetError& error() const noexcept { return m_error; }
    /// The types and pseudo-classes that are named, in their order.
    [[nodiscard]] const std::vector<SelectorName>& names() const noexcept { return m_names; }
    /// Mistakes in lists of `:is()`, each of which costs one selector of such a list.
    [[nodiscard]] const std::vector<StyleSheetError>& listErrors() const noexcept { return m_listErrors; }

private:
    [[nodiscard]] bool isAtEnd() const { return m_position >= m_end; }
    [[nodiscard]] const Token& token() const;
    [[nodiscard]] bool at(Token::Kind kind) const { return !isAtEnd() && token().kind == kind; }
    [[nodiscard]] bool atDelim(char c) const;
    [[nodiscard]] bool startsCompound() const;
    [[nodiscard]] bool isAtSelectorEnd() const;
    bool skipBlanks();
    void skipArgument();

    bool parseSelector(Selector& result);
    bool parseCompound(Compound& result);
    bool parseCombinator(Combinator& result);
    bool parseAttribute(Compound& result);
    bool parseComparison(AttributeTest& result);
    bool parsePseudo(Compound& result);
    bool parsePseudoFunction(Compound& result);
    bool parseAlternatives(Compound& result, bool isNegation);
    bool parseNth(Compound& result);
    bool parseLanguage(Compound& result);
    void addName(Compound& compound, Feature::Kind kind);
    bool fail(const QString& text);

    const Tokens& m_tokens;
    int m_position;
    int m_end;
    int m_depth = 0;
    StyleSheetError m_error;
    std::vector<StyleSheetError> m_listErrors;
    std::vector<SelectorName> m_names;
};
}
