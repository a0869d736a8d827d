#include "selectors/Selector.hpp"

#include "selectors/NodeFeatures.hpp"

#include <algorithm>

namespace Cascara
{
bool Compound::matches(const NodeFeatures& node) const
{
    for (const Feature feature : features)
        if (!node.has(feature))
            return false;
    for (const auto& negation : negations)
        for (const Compound& compound : negation)
            if (compound.matches(node))
                return false;
    return true;
}

Specificity Compound::specificity() const
{
    Specificity sum;
    for (const Feature feature : features) {
        switch (feature.kind) {
        case Feature::Kind::Id: ++sum.ids; break;
        case Feature::Kind::Class:
        case Feature::Kind::PseudoClass: ++sum.classes; break;
        case Feature::Kind::Type: ++sum.types; break;
        }
    }
    for (const auto& negation : negations) {
        Specificity highest;
        for (const Compound& compound : negation)
            highest = std::max(highest, compound.specificity());
        sum += highest;
    }
    return sum;
}

void Compound::collectFeatures(std::vector<Feature>& result) const
{
    result.insert(result.end(), features.begin(), features.end());
    for (const auto& negation : negations)
        for (const Compound& compound : negation)
            compound.collectFeatures(result);
}

namespace
{
bool matchesFrom(const Selector& selector, std::size_t part, const NodeFeatures& node)
{
    if (!selector.parts[part].compound.matches(node))
        return false;
    if (part + 1 == selector.parts.size())
        return true;
    const bool onlyParent = selector.parts[part].toLeft == Combinator::Child;
    for (const NodeFeatures* ancestor = node.parent; ancestor; ancestor = ancestor->parent) {
        if (matchesFrom(selector, part + 1, *ancestor))
            return true;
        if (onlyParent)
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
