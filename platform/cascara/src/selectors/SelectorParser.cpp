#include "selectors/SelectorParser.hpp"

#include <Facet/NameTable.hpp>

#include <algorithm>
#include <utility>

namespace Cascara
{
namespace
{
Feature feature(Feature::Kind kind, const QString& name)
{
    return {kind, Facet::NameTable::instance().number(name.toUtf8())};
}
}

const Token& SelectorParser::token() const
{
    return m_tokens.list[std::size_t(m_position)];
}

bool SelectorParser::atDelim(char c) const
{
    return at(Token::Kind::Delim) && token().text == QLatin1Char(c);
}

bool SelectorParser::startsCompound() const
{
    return at(Token::Kind::Ident) || at(Token::Kind::Hash) || at(Token::Kind::Colon) || atDelim('*') || atDelim('.');
}

bool SelectorParser::skipBlanks()
{
    const int before = m_position;
    while (at(Token::Kind::Whitespace))
        ++m_position;
    return m_position > before;
}

bool SelectorParser::fail(const QString& text)
{
    // The End token stands after every list, so there is always a token to point at.
    const Token& where = token();
    m_error = {where.line, where.column, text};
    return false;
}

bool SelectorParser::parseList(std::vector<Selector>& result)
{
    for (;;) {
        skipBlanks();
        Selector selector;
        if (!parseSelector(selector))
            return false;
        result.push_back(std::move(selector));
        if (isAtEnd())
            return true;
        ++m_position; // the comma
    }
}

bool SelectorParser::parseSelector(Selector& result)
{
    const int first = m_position;
    int last = m_position;
    Combinator combinator = Combinator::Descendant;
    for (;;) {
        Selector::Part part;
        part.toLeft = combinator;
        if (!parseCompound(part.compound))
            return false;
        result.specificity += part.compound.specificity();
        result.parts.push_back(std::move(part));
        last = m_position;
        const bool blanks = skipBlanks();
        if (isAtEnd() || at(Token::Kind::Comma))
            break;
        if (atDelim('>')) {
            combinator = Combinator::Child;
            ++m_position;
            skipBlanks();
        } else if (blanks && startsCompound()) {
            combinator = Combinator::Descendant;
        } else if (atDelim('+') || atDelim('~')) {
            return fail(QStringLiteral("the combinator '%1' is not supported").arg(token().text));
        } else {
            return fail(QStringLiteral("unexpected '%1' in a selector").arg(m_tokens.textBetween(m_position, m_position + 1)));
        }
    }
    std::reverse(result.parts.begin(), result.parts.end());
    result.text = m_tokens.textBetween(first, last);
    return true;
}

bool SelectorParser::parseCompound(Compound& result)
{
    if (!startsCompound()) {
        if (isAtEnd() || at(Token::Kind::Comma) || at(Token::Kind::CloseRound))
            return fail(QStringLiteral("expected a selector"));
        if (at(Token::Kind::OpenSquare))
            return fail(QStringLiteral("attribute selectors are not supported"));
        return fail(QStringLiteral("expected a selector, got '%1'").arg(m_tokens.textBetween(m_position, m_position + 1)));
    }
    if (at(Token::Kind::Ident)) {
        result.features.push_back(feature(Feature::Kind::Type, token().text));
        ++m_position;
    } else if (atDelim('*')) {
        ++m_position;
    }
    while (!isAtEnd()) {
        if (at(Token::Kind::Hash)) {
            if (!token().isName)
                return fail(QStringLiteral("'#%1' is no id: an id does not begin with a digit").arg(token().text));
            result.features.push_back(feature(Feature::Kind::Id, token().text));
            ++m_position;
        } else if (atDelim('.')) {
            ++m_position;
            if (!at(Token::Kind::Ident))
                return fail(QStringLiteral("expected a class name after '.'"));
            result.features.push_back(feature(Feature::Kind::Class, token().text));
            ++m_position;
        } else if (at(Token::Kind::Colon)) {
            if (!parsePseudo(result))
                return false;
        } else if (at(Token::Kind::OpenSquare)) {
            return fail(QStringLiteral("attribute selectors are not supported"));
        } else {
            break;
        }
    }
    return true;
}

bool SelectorParser::parsePseudo(Compound& result)
{
    ++m_position; // the colon
    if (at(Token::Kind::Ident)) {
        result.features.push_back(feature(Feature::Kind::PseudoClass, token().text));
        ++m_position;
        return true;
    }
    if (at(Token::Kind::Function)) {
        if (token().text.compare(QLatin1String("not"), Qt::CaseInsensitive) == 0) {
            if (m_depth >= kDeepestNesting)
                return fail(QStringLiteral(":not() is nested too deeply: at most %1").arg(kDeepestNesting));
            ++m_depth;
            const bool negation = parseNegation(result);
            --m_depth;
            return negation;
        }
        return fail(QStringLiteral("the pseudo-class ':%1()' is not supported").arg(token().text));
    }
    if (at(Token::Kind::Colon))
        return fail(QStringLiteral("pseudo-elements are not supported"));
    return fail(QStringLiteral("expected a pseudo-class name after ':'"));
}

bool SelectorParser::parseNegation(Compound& result)
{
    ++m_position; // not(
    std::vector<Compound> list;
    for (;;) {
        skipBlanks();
        Compound compound;
        if (!parseCompound(compound))
            return false;
        list.push_back(std::move(compound));
        skipBlanks();
        if (at(Token::Kind::CloseRound)) {
            ++m_position;
            result.negations.push_back(std::move(list));
            return true;
        }
        if (!at(Token::Kind::Comma))
            return fail(QStringLiteral("expected ',' or ')': :not() takes a list of simple conditions on one node"));
        ++m_position;
    }
}
}
