#include "style/InvalidationIndex.hpp"

#include <algorithm>

namespace Cascara
{
namespace
{
bool isSame(const Compound& a, const Compound& b)
{
    const auto listsAreSame = [](const std::vector<Compound>& x, const std::vector<Compound>& y) {
        return std::equal(x.begin(), x.end(), y.begin(), y.end(), isSame);
    };
    return a.features == b.features
        && std::equal(a.negations.begin(), a.negations.end(), b.negations.begin(), b.negations.end(), listsAreSame);
}
}

void InvalidationIndex::build(const std::vector<std::unique_ptr<StyleSheet>>& sheets)
{
    m_rightmost.clear();
    m_below.clear();
    for (const auto& sheet : sheets)
        for (const auto& rule : sheet->rules)
            for (const Selector& selector : rule->selectors)
                add(selector);
}

void InvalidationIndex::add(const Selector& selector)
{
    std::vector<Feature> features;
    selector.parts.front().compound.collectFeatures(features);
    m_rightmost.insert(features.begin(), features.end());

    const Compound* rightmost = &selector.parts.front().compound;
    bool onlyChildren = true;
    for (std::size_t i = 1; i < selector.parts.size(); ++i) {
        onlyChildren = onlyChildren && selector.parts[i - 1].toLeft == Combinator::Child;
        const Reach reach{&selector.parts[i].compound, rightmost, onlyChildren ? int(i) : 0};
        features.clear();
        selector.parts[i].compound.collectFeatures(features);
        for (const Feature feature : features) {
            auto& list = m_below[feature];
            const bool isKnown = std::any_of(list.begin(), list.end(), [&reach](const Reach& other) {
                return other.depth == reach.depth && isSame(*other.changed, *reach.changed)
                    && isSame(*other.rightmost, *reach.rightmost);
            });
            if (!isKnown)
                list.push_back(reach);
        }
    }
}

const std::vector<InvalidationIndex::Reach>* InvalidationIndex::reachBelow(Feature feature) const
{
    const auto found = m_below.find(feature);
    return found == m_below.end() ? nullptr : &found->second;
}
}
