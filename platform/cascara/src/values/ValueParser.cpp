#include "values/ValueParser.hpp"

#include "values/ValueSuggestion.hpp"

#include <Facet/StyleMath.hpp>

#include <QDir>
#include <QUrl>

namespace Cascara
{
using Facet::StyleTerm;

bool ValueParser::parse(int first, int end, Facet::StyleValue& result)
{
    int position = first;
    if (!parseTerms(position, end, false, result))
        return false;
    result.source = sourceOf(first, end);
    return true;
}

/// Comments are no tokens; two tokens that only a comment separates stay two.
QString ValueParser::sourceOf(int first, int end) const
{
    QString source;
    for (int i = first; i < end; ++i) {
        const Token& token = m_tokens.list[std::size_t(i)];
        if (i > first && token.kind != Token::Kind::Whitespace) {
            const Token& before = m_tokens.list[std::size_t(i) - 1];
            if (before.kind != Token::Kind::Whitespace && token.start != before.end)
                source += QLatin1Char(' ');
        }
        source += m_tokens.source.midRef(token.start, token.end - token.start);
    }
    return source.trimmed();
}

bool ValueParser::fail(const Token& where, const QString& text)
{
    m_error = {where.line, where.column, text};
    return false;
}

bool ValueParser::parseTerms(int& position, int end, bool inFunction, Facet::StyleValue& result)
{
    for (; position < end; ++position) {
        const Token& token = m_tokens.list[std::size_t(position)];
        StyleTerm term;
        term.text = token.text;
        term.number = token.number;
        switch (token.kind) {
        case Token::Kind::Whitespace: continue;
        case Token::Kind::Ident: term.kind = StyleTerm::Kind::Ident; break;
        case Token::Kind::String: term.kind = StyleTerm::Kind::String; break;
        case Token::Kind::Url:
            term.kind = StyleTerm::Kind::Url;
            term.text = resolve(token.text, m_baseDirectory);
            break;
        case Token::Kind::Hash: term.kind = StyleTerm::Kind::Hash; break;
        case Token::Kind::Number: term.kind = StyleTerm::Kind::Number; break;
        case Token::Kind::Percentage: term.kind = StyleTerm::Kind::Percentage; break;
        case Token::Kind::Dimension:
            term.kind = StyleTerm::Kind::Dimension;
            term.unit = token.unit.toLower().toUtf8();
            if (term.unit == "mm") {
                term.unit = "px";
                term.number /= s_mmPerPixel;
            }
            break;
        case Token::Kind::Comma: term.kind = StyleTerm::Kind::Delimiter; break;
        case Token::Kind::Function:
            if (!parseFunction(position, end, result))
                return false;
            continue;
        case Token::Kind::OpenRound:
            if (m_mathDepth == 0)
                return fail(token, QStringLiteral("unexpected '('"));
            if (!parseFunction(position, end, result))
                return false;
            continue;
        case Token::Kind::CloseRound:
            if (inFunction)
                return true;
            return fail(token, QStringLiteral("unexpected ')'"));
        case Token::Kind::BadString: return fail(token, QStringLiteral("the text is not closed on its line"));
        case Token::Kind::BadUrl: return fail(token, QStringLiteral("the url() is malformed: put its address in quotes"));
        case Token::Kind::Delim:
            if (parseDelimiter(position, inFunction, term))
                break;
            Q_FALLTHROUGH();
        default: return fail(token, QStringLiteral("unexpected '%1'").arg(m_tokens.textBetween(position, position + 1)));
        }
        result.terms.push_back(term);
    }
    return true;
}

bool ValueParser::isBlank(int position) const
{
    return m_tokens.list[std::size_t(position)].kind == Token::Kind::Whitespace;
}

/// False for what may not stand there.
bool ValueParser::parseDelimiter(int position, bool inFunction, StyleTerm& term)
{
    term.kind = StyleTerm::Kind::Delimiter;
    const QString& text = m_tokens.list[std::size_t(position)].text;
    const bool isMinus = text == QLatin1String("-");
    if (m_mathDepth > 0) {
        // Without blanks a sign belongs to the number that follows.
        const bool isSpaced = isBlank(position - 1) && isBlank(position + 1);
        return text == QLatin1String("*") || text == QLatin1String("/") || ((isMinus || text == QLatin1String("+")) && isSpaced);
    }
    // A hyphen alone is part of a run of numbers: "10-".
    return text == QLatin1String("/") || (isMinus && !inFunction);
}

bool ValueParser::parseFunction(int& position, int end, Facet::StyleValue& result)
{
    const Token& function = m_tokens.list[std::size_t(position)];
    if (m_depth >= kDeepestNesting)
        return fail(function, QStringLiteral("functions are nested too deeply: at most %1").arg(kDeepestNesting));
    const int index = result.terms.size();
    StyleTerm term;
    term.kind = StyleTerm::Kind::Function;
    term.text = function.kind == Token::Kind::Function ? function.text : QString();
    result.terms.push_back(term);
    ++position;
    // A parenthesis left open is closed by the end of the declaration's block, as everywhere in CSS.
    const bool isMath = m_mathDepth > 0 || Facet::StyleMath::isFunction(function.text);
    ++m_depth;
    m_mathDepth += isMath ? 1 : 0;
    const bool terms = parseTerms(position, end, true, result);
    m_mathDepth -= isMath ? 1 : 0;
    --m_depth;
    if (!terms) {
        // What may stand in it is known of no other function.
        const QString suggestion = isMath ? QString() : functionSuggestion(function.text);
        return suggestion.isEmpty()
            ? false
            : fail(function, QStringLiteral("there is no function '%1'%2").arg(function.text, suggestion));
    }
    if (function.text.compare(QLatin1String("url"), Qt::CaseInsensitive) == 0) {
        if (result.terms.size() != index + 2 || result.terms[index + 1].kind != StyleTerm::Kind::String)
            return fail(function, QStringLiteral("the url() is malformed: expected one quoted text"));
        result.terms.removeAt(index);
        result.terms[index].kind = StyleTerm::Kind::Url;
        result.terms[index].text = resolve(result.terms[index].text, m_baseDirectory);
        return true;
    }
    result.terms[index].number = result.terms.size() - index - 1;
    QString fault;
    if (isMath && m_mathDepth == 0 && !Facet::StyleMath::fold(result.terms, index, fault))
        return fail(function, fault);
    return true;
}

QString ValueParser::resolve(const QString& url, const QString& baseDirectory)
{
    if (url.isEmpty() || baseDirectory.isEmpty() || url.startsWith(QLatin1Char('#')) || QDir::isAbsolutePath(url)
        || !QUrl(url).scheme().isEmpty())
        return url;
    return QDir::cleanPath(baseDirectory + QLatin1Char('/') + url);
}
}
