#pragma once

#include "sheet/SheetReader.hpp"

namespace Cascara
{
/// Reads the declarations of a block. A mistake costs one declaration. Main thread only.
class DeclarationParser
{
public:
    /// Which rules declarations are for: those of a keyframe say how things stand at one moment of an animation.
    enum class Block { Rule, Keyframe };

    DeclarationParser(SheetReader& reader, Block block) : m_reader(reader), m_block(block) {}

    /// Reads the block that opens at the token at hand, up to its end, into `rule`.
    void parseBlock(Rule& rule);

private:
    [[nodiscard]] const Token& token(int index) const { return m_reader.token(index); }
    void skipAtRule();
    void parseDeclaration(Rule& rule, int first, int end);
    /// Takes `!important` from the end of the tokens.
    [[nodiscard]] bool takeImportant(int first, int& end) const;
    bool parseValue(int first, int end, Declaration& declaration, StyleSheetError& wrong) const;
    bool fitsBlock(const QByteArray& attribute, QString& wrong) const;
    static void add(Rule& rule, const QByteArray& attribute, Declaration declaration);
    bool addShorthand(Rule& rule, const QByteArray& name, Declaration declaration, QString& expected) const;

    SheetReader& m_reader;
    Block m_block;
};
}
