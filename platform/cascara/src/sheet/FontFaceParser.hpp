#pragma once

#include "sheet/SheetReader.hpp"

namespace Cascara
{
/// Reads the block of an `@font-face` rule.
class FontFaceParser
{
public:
    /// `reader` must outlive the parser; its sheet receives the face and the mistakes.
    explicit FontFaceParser(SheetReader& reader) : m_tokens(reader.tokens()), m_sheet(reader.sheet()) {}

    /// The block is between the tokens `first` and `end`, braces included. Adds a font face to the sheet if it has a family and a
    /// file.
    void parse(const Token& at, int first, int end);

private:
    void parseDescriptor(FontFace& face, int first, int end);
    [[nodiscard]] bool read(const QString& name, const Facet::StyleValue& value, FontFace& face) const;

    const Tokens& m_tokens;
    StyleSheet& m_sheet;
};
}
