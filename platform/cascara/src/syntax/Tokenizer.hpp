#pragma once

#include "syntax/Token.hpp"

namespace Cascara
{
/// Cuts a style sheet into tokens as CSS Syntax Module Level 3 says. Never fails: what is broken becomes a BadString,
/// a BadUrl or a Delim token, which the parser refuses where it stands.
class Tokenizer
{
public:
    [[nodiscard]] static Tokens run(const QString& text);

private:
    explicit Tokenizer(QString source);

    [[nodiscard]] QChar peek(int ahead = 0) const;
    [[nodiscard]] bool startsEscape(int ahead) const;
    [[nodiscard]] bool startsName(int ahead) const;
    [[nodiscard]] bool startsNumber(int ahead) const;
    void advance(int count = 1);

    void skipComments();
    QString readEscape();
    QString readName();
    void readToken(Token& token);
    void readString(Token& token, QChar quote);
    void readNumber(Token& token);
    void readNameLike(Token& token);
    void readUrl(Token& token);
    void readBadUrlRest();
    void error(const Token& at, const char* text);

    Tokens m_tokens;
    int m_position = 0;
    int m_line = 1;
    int m_lineStart = 0;
};
}
