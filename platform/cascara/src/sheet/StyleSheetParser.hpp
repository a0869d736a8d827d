#pragma once

#include "sheet/SheetReader.hpp"

#include <memory>
#include <utility>

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
    StyleSheetParser(Tokens tokens, const QString& baseDirectory, StyleSheet& sheet)
        : m_reader(std::move(tokens), baseDirectory, sheet)
    {
    }

    [[nodiscard]] const Token& token(int index) const { return m_reader.token(index); }
    [[nodiscard]] Token::Kind kind() const { return m_reader.kind(); }

    void parseSheet();
    void parseNext();
    void parseMedia(const Token& at);
    void parseAtRule();
    bool parseImport(int first, int end, const Token& at);
    void parseRule();

    SheetReader m_reader;
    std::shared_ptr<const MediaScope> m_media; ///< around the rule at hand
    int m_mediaDepth = 0;
};
}
