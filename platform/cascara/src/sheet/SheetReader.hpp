#pragma once

#include "sheet/StyleSheet.hpp"
#include "syntax/Token.hpp"

#include <QString>

#include <utility>
#include <vector>

namespace Cascara
{
/// The tokens of a sheet and how far they are read; the parsers of its parts share it. Main thread only.
class SheetReader
{
public:
    /// `baseDirectory` is that of relative file names; the sheet receives the errors.
    SheetReader(Tokens tokens, QString baseDirectory, StyleSheet& sheet)
        : m_tokens(std::move(tokens)), m_baseDirectory(std::move(baseDirectory)), m_sheet(sheet)
    {
    }

    [[nodiscard]] const Tokens& tokens() const noexcept { return m_tokens; }
    [[nodiscard]] const QString& baseDirectory() const noexcept { return m_baseDirectory; }
    [[nodiscard]] StyleSheet& sheet() const noexcept { return m_sheet; }
    [[nodiscard]] const Token& token(int index) const { return m_tokens.list[std::size_t(index)]; }
    /// Of the token at hand.
    [[nodiscard]] Token::Kind kind() const { return token(position).kind; }

    /// Moves past the component at hand: a token, or a block or function with all it holds.
    void skipComponent()
    {
        using Kind = Token::Kind;
        std::vector<Kind> closing;
        do {
            switch (kind()) {
            case Kind::End: return;
            case Kind::OpenCurly: closing.push_back(Kind::CloseCurly); break;
            case Kind::OpenSquare: closing.push_back(Kind::CloseSquare); break;
            case Kind::OpenRound:
            case Kind::Function: closing.push_back(Kind::CloseRound); break;
            default:
                if (!closing.empty() && kind() == closing.back())
                    closing.pop_back();
                break;
            }
            ++position;
        } while (!closing.empty());
    }

    void error(const Token& where, const QString& text) { m_sheet.errors.push_back({where.line, where.column, text}); }

    int position = 0;

private:
    Tokens m_tokens;
    QString m_baseDirectory;
    StyleSheet& m_sheet;
};
}
