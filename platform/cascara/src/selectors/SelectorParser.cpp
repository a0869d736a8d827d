#include "selectors/SelectorParser.hpp"

#include <Facet/NameTable.hpp>
#include <Facet/NearestWord.hpp>

#include <algorithm>
#include <utility>

namespace Cascara
{
namespace
{
using Kind = Token::Kind;

Feature feature(Feature::Kind kind, const QString& name)
{
    return {kind, Facet::NameTable::instance().number(name.toUtf8())};
}

bool isSame(const QString& text, const char* word)
{
    return text.compare(QLatin1String(word), Qt::CaseInsensitive) == 0;
}
}

const Token& SelectorParser::token() const
{
    return m_tokens.list[std::size_t(m_position)];
}

bool SelectorParser::atDelim(char c) const
{
    return at(Kind::Delim) && token().text == QLatin1Char(c);
}

bool SelectorParser::startsCompound() const
{
    return at(Kind::Ident) || at(Kind::Hash) || at(Kind::Colon) || at(Kind::OpenSquare) || atDelim('*') || atDelim('.');
}

/// Also at the end of a list in parentheses, in which a selector may stand.
bool SelectorParser::isAtSelectorEnd() const
{
    return isAtEnd() || at(Kind::Comma) || (m_depth > 0 && at(Kind::CloseRound));
}

bool SelectorParser::skipBlanks()
{
    const int before = m_position;
    while (at(Kind::Whitespace))
        ++m_position;
    return m_position > before;
}

/// To the comma or parenthesis that ends an argument of `:is()`.
void SelectorParser::skipArgument()
{
    int open = 0;
    for (; !isAtEnd(); ++m_position) {
        if (open == 0 && (at(Kind::Comma) || at(Kind::CloseRound)))
            return;
        if (at(Kind::OpenRound) || at(Kind::Function) || at(Kind::OpenSquare))
            ++open;
        else if (open > 0 && (at(Kind::CloseRound) || at(Kind::CloseSquare)))
            --open;
    }
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
        if (int(result.parts.size()) == kMostSelectorParts)
            return fail(QStringLiteral("a selector has more than %1 parts").arg(kMostSelectorParts));
        if (!parseCompound(part.compound))
            return false;
        result.specificity += part.compound.specificity();
        result.parts.push_back(std::move(part));
        last = m_position;
        const bool blanks = skipBlanks();
        if (isAtSelectorEnd())
            break;
        if (blanks && startsCompound())
            combinator = Combinator::Descendant;
        else if (!parseCombinator(combinator))
            return false;
    }
    // What was read before a compound joins it with the one to its left.
    std::reverse(result.parts.begin(), result.parts.end());
    result.text = m_tokens.textBetween(first, last);
    return true;
}

bool SelectorParser::parseCombinator(Combinator& result)
{
    if (atDelim('>'))
        result = Combinator::Child;
    else if (atDelim('+'))
        result = Combinator::NextSibling;
    else if (atDelim('~'))
        result = Combinator::LaterSibling;
    else
        return fail(QStringLiteral("unexpected '%1' in a selector").arg(m_tokens.textBetween(m_position, m_position + 1)));
    ++m_position;
    skipBlanks();
    return true;
}

bool SelectorParser::parseCompound(Compound& result)
{
    if (!startsCompound()) {
        if (isAtEnd() || at(Kind::Comma) || at(Kind::CloseRound))
            return fail(QStringLiteral("expected a selector"));
        return fail(QStringLiteral("expected a selector, got '%1'").arg(m_tokens.textBetween(m_position, m_position + 1)));
    }
    if (at(Kind::Ident)) {
        addName(result, Feature::Kind::Type);
        ++m_position;
    } else if (atDelim('*')) {
        ++m_position;
    }
    while (!isAtEnd()) {
        if (at(Kind::Hash)) {
            if (!token().isName)
                return fail(QStringLiteral("'#%1' is no id: an id does not begin with a digit").arg(token().text));
            result.features.push_back(feature(Feature::Kind::Id, token().text));
            ++m_position;
        } else if (atDelim('.')) {
            ++m_position;
            if (!at(Kind::Ident))
                return fail(QStringLiteral("expected a class name after '.'"));
            result.features.push_back(feature(Feature::Kind::Class, token().text));
            ++m_position;
        } else if (at(Kind::Colon)) {
            if (!parsePseudo(result))
                return false;
        } else if (at(Kind::OpenSquare)) {
            if (!parseAttribute(result))
                return false;
        } else {
            break;
        }
    }
    return true;
}

/// The type stands first in its compound.
void SelectorParser::addName(Compound& compound, Feature::Kind kind)
{
    const Feature named = feature(kind, token().text);
    const bool hasType = !compound.features.empty() && compound.features.front().kind == Feature::Kind::Type;
    m_names.push_back({named, hasType ? compound.features.front().name : 0, token().line, token().column});
    compound.features.push_back(named);
}

bool SelectorParser::parseAttribute(Compound& result)
{
    ++m_position; // [
    skipBlanks();
    if (!at(Kind::Ident))
        return fail(QStringLiteral("expected an attribute name after '['"));
    AttributeTest test;
    test.name = Facet::NameTable::instance().number(token().text.toUtf8());
    ++m_position;
    skipBlanks();
    if (!at(Kind::CloseSquare) && !parseComparison(test))
        return false;
    if (!at(Kind::CloseSquare))
        return fail(QStringLiteral("expected ']'"));
    ++m_position;
    result.attributes.push_back(std::move(test));
    return true;
}

bool SelectorParser::parseComparison(AttributeTest& result)
{
    using Comparison = AttributeTest::Comparison;
    static const std::pair<char, Comparison> kMarks[] = {{'~', Comparison::HasWord},
                                                         {'|', Comparison::HasPrefixWord},
                                                         {'^', Comparison::StartsWith},
                                                         {'$', Comparison::EndsWith},
                                                         {'*', Comparison::Contains}};
    const int mark = m_position;
    result.comparison = Comparison::Equals;
    for (const auto& [character, comparison] : kMarks) {
        if (!atDelim(character))
            continue;
        result.comparison = comparison;
        ++m_position;
        break;
    }
    if (!atDelim('=')) {
        m_position = mark;
        return fail(QStringLiteral("expected ']', '=', '~=', '|=', '^=', '$=' or '*=' after the attribute name"));
    }
    ++m_position;
    skipBlanks();
    if (!at(Kind::Ident) && !at(Kind::String))
        return fail(QStringLiteral("expected a name or a text in quotes after '='"));
    result.value = token().text;
    ++m_position;
    skipBlanks();
    if (at(Kind::Ident)) {
        if (isSame(token().text, "i"))
            result.caseSensitivity = Qt::CaseInsensitive;
        else if (!isSame(token().text, "s"))
            return fail(QStringLiteral("expected 'i', 's' or ']' after the value"));
        ++m_position;
        skipBlanks();
    }
    return true;
}

bool SelectorParser::parsePseudo(Compound& result)
{
    ++m_position; // the colon
    if (at(Kind::Ident)) {
        if (isSame(token().text, "first-child"))
            result.positions.push_back({Feature::First});
        else if (isSame(token().text, "last-child"))
            result.positions.push_back({Feature::Last});
        else
            addName(result, Feature::Kind::PseudoClass);
        ++m_position;
        return true;
    }
    if (at(Kind::Function))
        return parsePseudoFunction(result);
    if (at(Kind::Colon))
        return fail(QStringLiteral("pseudo-elements are not supported"));
    return fail(QStringLiteral("expected a pseudo-class name after ':'"));
}

bool SelectorParser::parsePseudoFunction(Compound& result)
{
    const bool isNegation = isSame(token().text, "not");
    if (isSame(token().text, "nth-child"))
        return parseNth(result);
    if (isSame(token().text, "lang"))
        return parseLanguage(result);
    if (!isNegation && !isSame(token().text, "is"))
        return fail(QStringLiteral("the pseudo-class ':%1()' is not supported").arg(token().text)
                    + Facet::didYouMean(
                        token().text.toLower(),
                        {QStringLiteral("is"), QStringLiteral("lang"), QStringLiteral("not"), QStringLiteral("nth-child")}));
    if (m_depth >= kDeepestNesting)
        return fail(QStringLiteral(":%1() is nested too deeply: at most %2").arg(token().text.toLower()).arg(kDeepestNesting));
    ++m_depth;
    const bool ok = parseAlternatives(result, isNegation);
    --m_depth;
    return ok;
}

/// A mistake in the list of `:not()` costs the rule; one in the list of `:is()` costs that selector of the list.
bool SelectorParser::parseAlternatives(Compound& result, bool isNegation)
{
    ++m_position; // the function
    Alternatives list;
    list.isNegation = isNegation;
    skipBlanks();
    if (!isNegation && at(Kind::CloseRound)) { // matches nothing
        ++m_position;
        result.alternatives.push_back(std::move(list));
        return true;
    }
    for (;;) {
        skipBlanks();
        const int first = m_position;
        Selector selector;
        if (parseSelector(selector)) {
            list.selectors.push_back(std::move(selector));
        } else if (isNegation) {
            return false;
        } else {
            m_error.text += QStringLiteral("; it is left out of ':is()'");
            m_listErrors.push_back(m_error);
            m_position = first;
            skipArgument();
        }
        if (at(Kind::CloseRound)) {
            ++m_position;
            result.alternatives.push_back(std::move(list));
            return true;
        }
        if (!at(Kind::Comma))
            return fail(QStringLiteral("expected ',' or ')'"));
        ++m_position;
    }
}

bool SelectorParser::parseNth(Compound& result)
{
    const int first = ++m_position;
    while (!isAtEnd() && !at(Kind::CloseRound))
        ++m_position;
    const auto test = isAtEnd() ? std::nullopt : PositionTest::nth(m_tokens.textBetween(first, m_position));
    if (!test) {
        m_position = first;
        return fail(QStringLiteral("expected 'odd', 'even', a number or a form like '2n+1' in ':nth-child()'"));
    }
    ++m_position;
    result.positions.push_back(*test);
    return true;
}

/// `:lang(pt-BR)` holds for a node with the pseudo-class "lang(pt-br)", which the code sets, and for what is in it.
bool SelectorParser::parseLanguage(Compound& result)
{
    ++m_position; // the function
    skipBlanks();
    const bool isTag = (at(Kind::Ident) || at(Kind::String)) && !token().text.isEmpty();
    const QString tag = isTag ? token().text.toLower() : QString();
    m_position += isTag;
    skipBlanks();
    if (!isTag || !at(Kind::CloseRound))
        return fail(QStringLiteral("expected one language, as in ':lang(de)'"));
    ++m_position;
    result.features.push_back(feature(Feature::Kind::Language, QStringLiteral("lang(%1)").arg(tag)));
    return true;
}
}
