#include "syntax/Tokenizer.hpp"

#include "syntax/Characters.hpp"

#include <algorithm>
#include <utility>

namespace Cascara
{
namespace
{
/// One kind of line end, and no NUL, which marks the end here.
QString preprocess(QString text)
{
    text.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    text.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    text.replace(QLatin1Char('\f'), QLatin1Char('\n'));
    text.replace(QChar(0), QChar(kReplacement));
    if (text.startsWith(QChar(QChar::ByteOrderMark)))
        text.remove(0, 1);
    return text;
}
}

Tokenizer::Tokenizer(QString source)
{
    m_tokens.source = std::move(source);
    // A token of a usual sheet has three characters, its blanks counted.
    constexpr int kUsualCharacters = 3, kMostReserved = 1 << 16;
    m_tokens.list.reserve(std::size_t(std::min(m_tokens.source.size() / kUsualCharacters, kMostReserved)));
}

Tokens Tokenizer::run(const QString& text)
{
    Tokenizer tokenizer(preprocess(text));
    do {
        tokenizer.skipComments();
        Token token;
        token.start = tokenizer.m_position;
        token.line = tokenizer.m_line;
        token.column = tokenizer.m_position - tokenizer.m_lineStart + 1;
        tokenizer.readToken(token);
        token.end = tokenizer.m_position;
        tokenizer.m_tokens.list.push_back(std::move(token));
    } while (tokenizer.m_tokens.list.back().kind != Token::Kind::End);
    return std::move(tokenizer.m_tokens);
}

QChar Tokenizer::peek(int ahead) const
{
    const int index = m_position + ahead;
    return index < m_tokens.source.size() ? m_tokens.source[index] : QChar(0);
}

bool Tokenizer::startsEscape(int ahead) const
{
    return peek(ahead) == QLatin1Char('\\') && peek(ahead + 1) != QLatin1Char('\n');
}

bool Tokenizer::startsName(int ahead) const
{
    if (peek(ahead) == QLatin1Char('-'))
        return isNameStart(peek(ahead + 1)) || peek(ahead + 1) == QLatin1Char('-') || startsEscape(ahead + 1);
    return isNameStart(peek(ahead)) || startsEscape(ahead);
}

bool Tokenizer::startsNumber(int ahead) const
{
    if (peek(ahead) == QLatin1Char('+') || peek(ahead) == QLatin1Char('-'))
        ++ahead;
    return isDigit(peek(ahead)) || (peek(ahead) == QLatin1Char('.') && isDigit(peek(ahead + 1)));
}

void Tokenizer::advance(int count)
{
    for (; count > 0 && m_position < m_tokens.source.size(); --count) {
        if (m_tokens.source[m_position++] == QLatin1Char('\n')) {
            ++m_line;
            m_lineStart = m_position;
        }
    }
}

void Tokenizer::skipComments()
{
    while (peek() == QLatin1Char('/') && peek(1) == QLatin1Char('*')) {
        Token start;
        start.line = m_line;
        start.column = m_position - m_lineStart + 1;
        const int end = m_tokens.source.indexOf(QLatin1String("*/"), m_position + 2);
        if (end < 0) {
            error(start, "the comment is not closed; the rest of the file is taken as comment");
            advance(m_tokens.source.size() - m_position);
            return;
        }
        advance(end + 2 - m_position);
    }
}

void Tokenizer::error(const Token& at, const char* text)
{
    m_tokens.errors.push_back({at.line, at.column, QString::fromUtf8(text)});
}

/// The position is after the backslash.
QString Tokenizer::readEscape()
{
    if (m_position >= m_tokens.source.size())
        return QString(QChar(kReplacement));
    if (!isHexDigit(peek())) {
        const QChar c = peek();
        advance();
        return QString(c);
    }
    int digits = 0;
    uint code = 0;
    while (digits < 6 && isHexDigit(peek())) {
        code = code * 16 + uint(QString(peek()).toInt(nullptr, 16));
        advance();
        ++digits;
    }
    if (isBlank(peek()))
        advance();
    if (code == 0 || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))
        code = kReplacement;
    return QString::fromUcs4(&code, 1);
}

QString Tokenizer::readName()
{
    QString name;
    for (;;) {
        if (isNameCharacter(peek())) {
            name += peek();
            advance();
        } else if (startsEscape(0)) {
            advance();
            name += readEscape();
        } else {
            return name;
        }
    }
}

void Tokenizer::readToken(Token& token)
{
    using Kind = Token::Kind;
    if (m_position >= m_tokens.source.size()) {
        token.kind = Kind::End;
        return;
    }
    const QChar c = peek();
    if (isBlank(c)) {
        token.kind = Kind::Whitespace;
        while (isBlank(peek()))
            advance();
        return;
    }
    if (c == QLatin1Char('"') || c == QLatin1Char('\'')) {
        readString(token, c);
        return;
    }
    if (startsNumber(0)) {
        readNumber(token);
        return;
    }
    if (c == QLatin1Char('-') && peek(1) == QLatin1Char('-') && peek(2) == QLatin1Char('>')) {
        token.kind = Kind::Cdc;
        advance(3);
        return;
    }
    if (startsName(0)) {
        readNameLike(token);
        return;
    }
    if (c == QLatin1Char('#') && (isNameCharacter(peek(1)) || startsEscape(1))) {
        token.kind = Kind::Hash;
        token.isName = startsName(1);
        advance();
        token.text = readName();
        return;
    }
    if (c == QLatin1Char('@') && startsName(1)) {
        token.kind = Kind::AtKeyword;
        advance();
        token.text = readName();
        return;
    }
    if (c == QLatin1Char('<') && m_tokens.source.midRef(m_position, 4) == QLatin1String("<!--")) {
        token.kind = Kind::Cdo;
        advance(4);
        return;
    }
    switch (c.unicode()) {
    case ':': token.kind = Kind::Colon; break;
    case ';': token.kind = Kind::Semicolon; break;
    case ',': token.kind = Kind::Comma; break;
    case '[': token.kind = Kind::OpenSquare; break;
    case ']': token.kind = Kind::CloseSquare; break;
    case '(': token.kind = Kind::OpenRound; break;
    case ')': token.kind = Kind::CloseRound; break;
    case '{': token.kind = Kind::OpenCurly; break;
    case '}': token.kind = Kind::CloseCurly; break;
    default: token.kind = Kind::Delim; break;
    }
    token.text = QString(c);
    advance();
}

void Tokenizer::readString(Token& token, QChar quote)
{
    token.kind = Token::Kind::String;
    advance();
    for (;;) {
        if (m_position >= m_tokens.source.size()) {
            error(token, "the text is not closed; it ends with the file");
            return;
        }
        const QChar c = peek();
        if (c == quote) {
            advance();
            return;
        }
        if (c == QLatin1Char('\n')) {
            token.kind = Token::Kind::BadString;
            return;
        }
        advance();
        if (c != QLatin1Char('\\')) {
            token.text += c;
        } else if (peek() == QLatin1Char('\n')) {
            advance(); // a line continued
        } else if (m_position < m_tokens.source.size()) {
            token.text += readEscape();
        }
    }
}

void Tokenizer::readNumber(Token& token)
{
    const int start = m_position;
    if (!isDigit(peek()) && peek() != QLatin1Char('.'))
        advance();
    while (isDigit(peek()))
        advance();
    if (peek() == QLatin1Char('.') && isDigit(peek(1))) {
        advance();
        while (isDigit(peek()))
            advance();
    }
    if (peek().toLower() == QLatin1Char('e')) {
        const int sign = peek(1) == QLatin1Char('+') || peek(1) == QLatin1Char('-') ? 1 : 0;
        if (isDigit(peek(1 + sign))) {
            advance(1 + sign);
            while (isDigit(peek()))
                advance();
        }
    }
    token.number = m_tokens.source.mid(start, m_position - start).toDouble();
    token.kind = Token::Kind::Number;
    if (startsName(0)) {
        token.kind = Token::Kind::Dimension;
        token.unit = readName();
    } else if (peek() == QLatin1Char('%')) {
        token.kind = Token::Kind::Percentage;
        advance();
    }
    token.text = m_tokens.source.mid(start, m_position - start);
}

void Tokenizer::readNameLike(Token& token)
{
    token.kind = Token::Kind::Ident;
    token.text = readName();
    if (peek() != QLatin1Char('('))
        return;
    advance();
    token.kind = Token::Kind::Function;
    if (token.text.compare(QLatin1String("url"), Qt::CaseInsensitive) != 0)
        return;
    int blanks = 0;
    while (isBlank(peek(blanks)))
        ++blanks;
    if (peek(blanks) == QLatin1Char('"') || peek(blanks) == QLatin1Char('\''))
        return; // url("...") is a function of a text
    advance(blanks);
    readUrl(token);
}

/// The position is after the parenthesis of url( and its blanks.
void Tokenizer::readUrl(Token& token)
{
    token.kind = Token::Kind::Url;
    token.text.clear();
    for (;;) {
        if (m_position >= m_tokens.source.size()) {
            error(token, "the url() is not closed; it ends with the file");
            return;
        }
        const QChar c = peek();
        if (c == QLatin1Char(')')) {
            advance();
            return;
        }
        if (isBlank(c)) {
            while (isBlank(peek()))
                advance();
            if (peek() != QLatin1Char(')') && m_position < m_tokens.source.size()) {
                token.kind = Token::Kind::BadUrl;
                readBadUrlRest();
                return;
            }
            continue;
        }
        if (startsEscape(0)) {
            advance();
            token.text += readEscape();
            continue;
        }
        if (c == QLatin1Char('"') || c == QLatin1Char('\'') || c == QLatin1Char('(') || c == QLatin1Char('\\')
            || c.unicode() < 0x20) {
            token.kind = Token::Kind::BadUrl;
            readBadUrlRest();
            return;
        }
        token.text += c;
        advance();
    }
}

void Tokenizer::readBadUrlRest()
{
    while (m_position < m_tokens.source.size()) {
        if (peek() == QLatin1Char(')')) {
            advance();
            return;
        }
        if (startsEscape(0))
            advance();
        advance();
    }
}
}
