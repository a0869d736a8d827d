#pragma once

#include <QString>

#include <vector>

namespace Cascara
{
/// Functions and conditions stand in one another to this depth and no further: each takes a piece of the parser's stack.
constexpr int kDeepestNesting = 32;

/// A token of CSS Syntax Module Level 3.
struct Token
{
    enum class Kind {
        Ident,
        Function,  ///< text is the name; the '(' belongs to the token
        AtKeyword, ///< text without '@'
        Hash,      ///< text without '#'
        String,
        BadString, ///< ended by the end of its line
        Url,
        BadUrl,
        Delim, ///< text is the one character
        Number,
        Percentage,
        Dimension,
        Whitespace,
        Cdo,
        Cdc,
        Colon,
        Semicolon,
        Comma,
        OpenSquare,
        CloseSquare,
        OpenRound,
        CloseRound,
        OpenCurly,
        CloseCurly,
        End
    };
    Kind kind = Kind::End;
    QString text; ///< escapes resolved
    QString unit; ///< of a Dimension
    double number = 0.0;
    bool isName = false; ///< of a Hash: could stand as an identifier
    int start = 0;       ///< in Tokens::source
    int end = 0;
    int line = 1;   ///< from 1
    int column = 1; ///< from 1, in UTF-16 units
};

/// A mistake in a style sheet. `text` says what is wrong and what happens next.
struct StyleSheetError
{
    int line = 1;
    int column = 1;
    QString text;
};

struct Tokens
{
    QString source;          ///< line ends made one
    std::vector<Token> list; ///< ends with an End token
    std::vector<StyleSheetError> errors;

    /// The source from one token to another (exclusive), blanks at the ends removed.
    [[nodiscard]] QString textBetween(int first, int end) const
    {
        if (first >= end)
            return {};
        const int start = list[std::size_t(first)].start;
        return source.mid(start, list[std::size_t(end - 1)].end - start).trimmed();
    }
};
}
