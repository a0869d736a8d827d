#include "values/ValueParser.hpp"

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
    using Kind = Token::Kind;
    for (; position < end; ++position) {
        const Token& token = m_tokens.list[std::size_t(position)];
        StyleTerm term;
        term.text = token.text;
        term.number = token.number;
        switch (token.kind) {
        case Kind::Whitespace: continue;
        case Kind::Ident: term.kind = StyleTerm::Kind::Ident; break;
        case Kind::String: term.kind = StyleTerm::Kind::String; break;
        case Kind::Url:
            term.kind = StyleTerm::Kind::Url;
            term.text = resolve(token.text, m_baseDirectory);
            break;
        case Kind::Hash: term.kind = StyleTerm::Kind::Hash; break;
        case Kind::Number: term.kind = StyleTerm::Kind::Number; break;
        case Kind::Percentage: term.kind = StyleTerm::Kind::Percentage; break;
        case Kind::Dimension:
            term.kind = StyleTerm::Kind::Dimension;
            term.unit = token.unit.toLower().toUtf8();
            break;
        case Kind::Comma: term.kind = StyleTerm::Kind::Delimiter; break;
        case Kind::Function:
            if (!parseFunction(position, end, result))
                return false;
            continue;
        case Kind::CloseRound:
            if (inFunction)
                return true;
            return fail(token, QStringLiteral("unexpected ')'"));
        case Kind::BadString: return fail(token, QStringLiteral("the text is not closed on its line"));
        case Kind::BadUrl: return fail(token, QStringLiteral("the url() is malformed: put its address in quotes"));
        case Kind::Delim:
            // A hyphen alone is part of a run of numbers: "10-".
            if (token.text == QLatin1String("/") || (token.text == QLatin1String("-") && !inFunction)) {
                term.kind = StyleTerm::Kind::Delimiter;
                break;
            }
            Q_FALLTHROUGH();
        default: return fail(token, QStringLiteral("unexpected '%1'").arg(m_tokens.textBetween(position, position + 1)));
        }
        result.terms.push_back(term);
    }
    return true;
}

bool ValueParser::parseFunction(int& position, int end, Facet::StyleValue& result)
{
    const Token& function = m_tokens.list[std::size_t(position)];
    if (m_depth >= kDeepestNesting)
        return fail(function, QStringLiteral("functions are nested too deeply: at most %1").arg(kDeepestNesting));
    const int index = result.terms.size();
    StyleTerm term;
    term.kind = StyleTerm::Kind::Function;
    term.text = function.text;
    result.terms.push_back(term);
    ++position;
    // A parenthesis left open is closed by the end of the declaration's block, as everywhere in CSS.
    ++m_depth;
    const bool terms = parseTerms(position, end, true, result);
    --m_depth;
    if (!terms)
        return false;
    if (function.text.compare(QLatin1String("url"), Qt::CaseInsensitive) == 0) {
        if (result.terms.size() != index + 2 || result.terms[index + 1].kind != StyleTerm::Kind::String)
            return fail(function, QStringLiteral("the url() is malformed: expected one quoted text"));
        result.terms.removeAt(index);
        result.terms[index].kind = StyleTerm::Kind::Url;
        result.terms[index].text = resolve(result.terms[index].text, m_baseDirectory);
        return true;
    }
    result.terms[index].number = result.terms.size() - index - 1;
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
