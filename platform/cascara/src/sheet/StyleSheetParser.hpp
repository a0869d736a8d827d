#pragma once

#include "sheet/StyleSheet.hpp"
#include "syntax/Token.hpp"

#include <memory>

namespace Cascara
{
/// Reads a style sheet as CSS Syntax Module Level 3 says. Always gives a sheet: what is wrong costs a declaration, a rule
/// or an at-rule, and stands in the sheet's `errors`.
class StyleSheetParser
{
public:
    [[nodiscard]] static std::unique_ptr<StyleSheet> parse(const QString& text, const QString& name,
                                                           const QString& baseDirectory);

private:
    StyleSheetParser(Tokens tokens, QString baseDirectory);

    [[nodiscard]] const Token& token(int index) const { return m_tokens.list[std::size_t(index)]; }
    [[nodiscard]] Token::Kind kind() const { return token(m_position).kind; }
    /// Moves past the component at hand: a token, or a block or function with all it holds.
    void skipComponent();
    void skipBlanks();

    void parseSheet();
    void parseMedia(const Token& at);
    void parseAtRule(bool inBlock);
    bool parseImport(int first, int end, const Token& at);
    void parseRule();
    void parseDeclarations(Rule* rule);
    void parseDeclaration(Rule* rule, int first, int end);
    static void add(Rule& rule, const QByteArray& attribute, Declaration declaration);
    static bool addShorthand(Rule& rule, const QByteArray& name, Declaration declaration, QString& expected);
    bool parseValue(int first, int end, Declaration& declaration, StyleSheetError& wrong);
    void error(const Token& where, const QString& text);

    Tokens m_tokens;
    QString m_baseDirectory;
    std::unique_ptr<StyleSheet> m_sheet;
    std::shared_ptr<const MediaScope> m_media; ///< around the rule at hand
    int m_mediaDepth = 0;
    int m_position = 0;
};
}
