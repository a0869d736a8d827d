#include "values/VariableReferences.hpp"

#include <Facet/NameTable.hpp>

#include <algorithm>

namespace Cascara
{
using TokenKind = Token::Kind;

namespace
{
/// The index of the parenthesis that closes the function at `function`, or `end`.
int closingOf(const Tokens& tokens, int function, int end)
{
    int open = 0;
    for (int i = function; i < end; ++i) {
        const TokenKind kind = tokens.list[std::size_t(i)].kind;
        if (kind == TokenKind::Function || kind == TokenKind::OpenRound)
            ++open;
        else if (kind == TokenKind::CloseRound && --open == 0)
            return i;
    }
    return end;
}
}

bool isReference(const Token& token)
{
    return token.kind == TokenKind::Function && token.text.compare(QLatin1String("var"), Qt::CaseInsensitive) == 0;
}

VariableReference referenceAt(const Tokens& tokens, int function, int end)
{
    VariableReference result{function + 1, -1, closingOf(tokens, function, end)};
    const auto skipBlanks = [&](int i) {
        while (i < result.close && tokens.list[std::size_t(i)].kind == TokenKind::Whitespace)
            ++i;
        return i;
    };
    result.name = skipBlanks(result.name);
    const int comma = skipBlanks(result.name + 1);
    if (comma < result.close && tokens.list[std::size_t(comma)].kind == TokenKind::Comma)
        result.fallback = comma + 1;
    return result;
}

int variableNumber(const Token& name)
{
    return Facet::NameTable::instance().number(name.text.toUtf8());
}

Tokens cutOut(const Tokens& tokens, int first, int end)
{
    Tokens result;
    const int start = tokens.list[std::size_t(first)].start;
    const int length = first < end ? tokens.list[std::size_t(end) - 1].end - start : 0;
    result.source = tokens.source.mid(start, length);
    result.list.assign(tokens.list.begin() + first, tokens.list.begin() + end);
    Token last = tokens.list[std::size_t(end)];
    last.kind = TokenKind::End;
    last.start = last.end = start + length;
    result.list.push_back(last);
    for (Token& token : result.list) {
        token.start -= start;
        token.end -= start;
    }
    return result;
}

bool namesVariables(const Tokens& tokens, int first, int end)
{
    return std::any_of(tokens.list.begin() + first, tokens.list.begin() + end, isReference);
}

void collectVariables(const Tokens& tokens, std::vector<int>& names)
{
    const int end = int(tokens.list.size()) - 1;
    for (int i = 0; i < end; ++i)
        if (isReference(tokens.list[std::size_t(i)]))
            names.push_back(variableNumber(tokens.list[std::size_t(referenceAt(tokens, i, end).name)]));
}

QStringList requiredVariables(const Tokens& tokens)
{
    QStringList names;
    const int end = int(tokens.list.size()) - 1;
    for (int i = 0; i < end; ++i) {
        if (!isReference(tokens.list[std::size_t(i)]))
            continue;
        const VariableReference reference = referenceAt(tokens, i, end);
        if (reference.fallback < 0)
            names << tokens.list[std::size_t(reference.name)].text;
        i = reference.close;
    }
    return names;
}

bool checkVariableTokens(const Tokens& tokens, int first, int end, StyleSheetError& error)
{
    const auto fail = [&error](const Token& where, const QString& text) {
        error = {where.line, where.column, text};
        return false;
    };
    struct Open
    {
        TokenKind closing;
        bool isReference;
    };
    std::vector<Open> open;
    for (int i = first; i < end; ++i) {
        const Token& token = tokens.list[std::size_t(i)];
        const bool isMark = token.kind == TokenKind::Delim && token.text == QLatin1String("!");
        if ((isMark || token.kind == TokenKind::Semicolon) && (open.empty() || open.back().isReference))
            return fail(token, QStringLiteral("unexpected '%1'").arg(token.text));
        switch (token.kind) {
        case TokenKind::BadString: return fail(token, QStringLiteral("the text is not closed on its line"));
        case TokenKind::BadUrl: return fail(token, QStringLiteral("the url() is malformed: put its address in quotes"));
        case TokenKind::OpenCurly: open.push_back({TokenKind::CloseCurly, false}); break;
        case TokenKind::OpenSquare: open.push_back({TokenKind::CloseSquare, false}); break;
        case TokenKind::OpenRound:
        case TokenKind::Function: open.push_back({TokenKind::CloseRound, isReference(token)}); break;
        case TokenKind::CloseCurly:
        case TokenKind::CloseSquare:
        case TokenKind::CloseRound:
            if (open.empty() || open.back().closing != token.kind)
                return fail(token, QStringLiteral("unexpected '%1'").arg(tokens.textBetween(i, i + 1)));
            open.pop_back();
            break;
        default: break;
        }
        if (int(open.size()) > kDeepestNesting)
            return fail(token, QStringLiteral("functions are nested too deeply: at most %1").arg(kDeepestNesting));
        if (!isReference(token))
            continue;
        const VariableReference reference = referenceAt(tokens, i, end);
        const Token& name = tokens.list[std::size_t(reference.name)];
        if (reference.name >= reference.close || name.kind != TokenKind::Ident || name.text.size() < 3
            || !name.text.startsWith(QLatin1String("--")))
            return fail(name, QStringLiteral("expected the name of a variable, such as '--name', in 'var()'"));
        int after = reference.name + 1;
        while (after < reference.close && tokens.list[std::size_t(after)].kind == TokenKind::Whitespace)
            ++after;
        if (after < reference.close && reference.fallback < 0)
            return fail(tokens.list[std::size_t(after)], QStringLiteral("expected ',' or ')' in 'var()'"));
    }
    return true;
}
}
