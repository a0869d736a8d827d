#include "selectors/Selector.hpp"

#include "selectors/NodeFeatures.hpp"

#include <QRegularExpression>

#include <algorithm>

namespace Cascara
{
namespace
{
bool isBlank(QChar c)
{
    return c == QLatin1Char(' ') || (c >= QLatin1Char('\t') && c <= QLatin1Char('\r') && c != QLatin1Char('\v'));
}

bool hasWord(const QString& text, const QString& word, Qt::CaseSensitivity caseSensitivity)
{
    if (word.isEmpty() || std::any_of(word.begin(), word.end(), isBlank))
        return false;
    for (int from = text.indexOf(word, 0, caseSensitivity); from >= 0; from = text.indexOf(word, from + 1, caseSensitivity)) {
        const int end = from + word.size();
        if ((from == 0 || isBlank(text.at(from - 1))) && (end == text.size() || isBlank(text.at(end))))
            return true;
    }
    return false;
}

/// Digits of any number; far more siblings than there can be mean as many as there can be.
int bounded(const QString& digits)
{
    constexpr int kMostSiblings = 100000000;
    bool fits = false;
    const int number = digits.toInt(&fits);
    const int most = digits.startsWith(QLatin1Char('-')) ? -kMostSiblings : kMostSiblings;
    return fits ? std::clamp(number, -kMostSiblings, kMostSiblings) : most;
}
}

bool AttributeTest::matches(const NodeFeatures& node) const
{
    QString text;
    if (!node.readAttribute(name, text))
        return false;
    // An empty value is part of every text; CSS lets it match none.
    switch (comparison) {
    case Comparison::Exists: return true;
    case Comparison::Equals: return text.compare(value, caseSensitivity) == 0;
    case Comparison::HasWord: return hasWord(text, value, caseSensitivity);
    case Comparison::HasPrefixWord:
        return text.startsWith(value, caseSensitivity)
            && (text.size() == value.size() || text.at(value.size()) == QLatin1Char('-'));
    case Comparison::StartsWith: return !value.isEmpty() && text.startsWith(value, caseSensitivity);
    case Comparison::EndsWith: return !value.isEmpty() && text.endsWith(value, caseSensitivity);
    case Comparison::Contains: return !value.isEmpty() && text.contains(value, caseSensitivity);
    }
    return false;
}

std::optional<PositionTest> PositionTest::nth(const QString& text)
{
    static const QRegularExpression kForm(QStringLiteral("^(?:([+-]?\\d*)n(?:\\s*([+-])\\s*(\\d+))?|([+-]?\\d+))$"),
                                          QRegularExpression::CaseInsensitiveOption);
    const auto isWord = [&text](const char* word) { return text.compare(QLatin1String(word), Qt::CaseInsensitive) == 0; };
    PositionTest test;
    if (isWord("odd") || isWord("even")) {
        test.step = 2;
        test.offset = isWord("odd") ? 1 : 0;
        return test;
    }
    const QRegularExpressionMatch match = kForm.match(text);
    if (!match.hasMatch())
        return std::nullopt;
    if (!match.captured(4).isEmpty()) {
        test.offset = bounded(match.captured(4));
        return test;
    }
    const QString step = match.captured(1);
    const bool isSign = step.isEmpty() || step == QLatin1String("+") || step == QLatin1String("-");
    test.step = bounded(isSign ? step + QLatin1Char('1') : step);
    if (!match.captured(3).isEmpty())
        test.offset = bounded(match.captured(2) + match.captured(3));
    return test;
}

bool PositionTest::matches(const NodeFeatures& node) const
{
    if (node.place == 0)
        return false;
    switch (position) {
    case Feature::First: return node.place == 1;
    case Feature::Last: return node.next == nullptr;
    default: break;
    }
    const int distance = node.place - offset;
    return step == 0 ? distance == 0 : distance % step == 0 && distance / step >= 0;
}

bool operator==(const Alternatives& a, const Alternatives& b)
{
    const auto partsAreSame = [](const Selector::Part& x, const Selector::Part& y) {
        return x.toLeft == y.toLeft && x.compound == y.compound;
    };
    return a.isNegation == b.isNegation
        && std::equal(a.selectors.begin(), a.selectors.end(), b.selectors.begin(), b.selectors.end(),
                      [&](const Selector& x, const Selector& y) {
                          return std::equal(x.parts.begin(), x.parts.end(), y.parts.begin(), y.parts.end(), partsAreSame);
                      });
}

bool operator==(const Compound& a, const Compound& b)
{
    return a.features == b.features && a.attributes == b.attributes && a.positions == b.positions
        && a.alternatives == b.alternatives;
}

namespace
{
bool isLanguage(Feature feature)
{
    return feature.kind == Feature::Kind::Language;
}

/// All features but the language, which may be that of a node above.
bool hasAllOwn(const Compound& compound, const NodeFeatures& node)
{
    return std::all_of(compound.features.begin(), compound.features.end(),
                       [&node](Feature f) { return isLanguage(f) || node.has(f); })
        && std::all_of(compound.attributes.begin(), compound.attributes.end(),
                       [&node](const auto& test) { return test.matches(node); });
}

bool hasAll(const Compound& compound, const NodeFeatures& node)
{
    return hasAllOwn(compound, node) && std::all_of(compound.features.begin(), compound.features.end(), [&node](Feature f) {
               return !isLanguage(f) || node.has(f);
           });
}
}

bool Compound::matches(const NodeFeatures& node) const
{
    return hasAll(*this, node)
        && std::all_of(positions.begin(), positions.end(), [&node](const PositionTest& test) { return test.matches(node); })
        && std::all_of(alternatives.begin(), alternatives.end(), [&node](const Alternatives& list) {
               const bool any = std::any_of(list.selectors.begin(), list.selectors.end(),
                                            [&node](const Selector& selector) { return selector.matches(node); });
               return any != list.isNegation;
           });
}

bool Compound::couldMatch(const NodeFeatures& node) const
{
    return hasAllOwn(*this, node) && std::all_of(alternatives.begin(), alternatives.end(), [&node](const Alternatives& list) {
               if (list.isNegation)
                   return std::none_of(list.selectors.begin(), list.selectors.end(), [&node](const Selector& selector) {
                       return selector.parts.size() == 1 && selector.parts.front().compound.matchesAnywhere(node);
                   });
               return std::any_of(list.selectors.begin(), list.selectors.end(),
                                  [&node](const Selector& selector) { return selector.parts.front().compound.couldMatch(node); });
           });
}

bool Compound::matchesAnywhere(const NodeFeatures& node) const
{
    return positions.empty() && std::none_of(features.begin(), features.end(), isLanguage) && hasAllOwn(*this, node)
        && std::all_of(alternatives.begin(), alternatives.end(), [&node](const Alternatives& list) {
               if (list.isNegation)
                   return std::none_of(list.selectors.begin(), list.selectors.end(), [&node](const Selector& selector) {
                       return selector.parts.front().compound.couldMatch(node);
                   });
               return std::any_of(list.selectors.begin(), list.selectors.end(), [&node](const Selector& selector) {
                   return selector.parts.size() == 1 && selector.parts.front().compound.matchesAnywhere(node);
               });
           });
}

Specificity Compound::specificity() const
{
    Specificity sum;
    for (const Feature feature : features) {
        switch (feature.kind) {
        case Feature::Kind::Id: ++sum.ids; break;
        case Feature::Kind::Type: ++sum.types; break;
        default: ++sum.classes; break;
        }
    }
    sum.classes += int(attributes.size() + positions.size());
    for (const Alternatives& list : alternatives) {
        Specificity highest;
        for (const Selector& selector : list.selectors)
            highest = std::max(highest, selector.specificity);
        sum += highest;
    }
    return sum;
}

void Compound::collectFeatures(std::vector<Feature>& result) const
{
    result.insert(result.end(), features.begin(), features.end());
    for (const AttributeTest& test : attributes)
        result.push_back({Feature::Kind::Attribute, test.name});
    for (const PositionTest& test : positions)
        result.push_back({Feature::Kind::Position, test.position});
}

namespace
{
bool matchesFrom(const Selector& selector, std::size_t part, const NodeFeatures& node)
{
    if (!selector.parts[part].compound.matches(node))
        return false;
    if (part + 1 == selector.parts.size())
        return true;
    const Combinator combinator = selector.parts[part].toLeft;
    const bool goesUp = combinator == Combinator::Descendant || combinator == Combinator::Child;
    const bool goesOn = combinator == Combinator::Descendant || combinator == Combinator::LaterSibling;
    for (const NodeFeatures* left = goesUp ? node.parent : node.previous; left; left = goesUp ? left->parent : left->previous) {
        if (matchesFrom(selector, part + 1, *left))
            return true;
        if (!goesOn)
            return false;
    }
    return false;
}
}

bool Selector::matches(const NodeFeatures& node) const
{
    return matchesFrom(*this, 0, node);
}
}
