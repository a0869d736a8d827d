#include "style/RuleIndex.hpp"

namespace Cascara
{
void RuleIndex::build(const std::vector<std::unique_ptr<StyleSheet>>& sheets)
{
    m_byId.clear();
    m_byClass.clear();
    m_byPseudoClass.clear();
    m_byType.clear();
    m_others.clear();
    int order = 0;
    for (const auto& sheet : sheets) {
        for (const auto& rule : sheet->rules) {
            for (const Selector& selector : rule->selectorsInForce())
                bucketFor(selector.parts.front().compound)
                    .push_back({&selector, rule.get(), order, FeatureSet::neededAbove(selector)});
            ++order;
        }
    }
}

RuleIndex::Bucket& RuleIndex::bucketFor(const Compound& compound)
{
    // Few nodes have an id in common, more a class; a pseudo-class is off most of the time, and types are shared by many.
    const auto find = [&compound](Feature::Kind kind) -> const Feature* {
        for (const Feature& feature : compound.features)
            if (feature.kind == kind)
                return &feature;
        return nullptr;
    };
    if (const Feature* id = find(Feature::Kind::Id))
        return m_byId[id->name];
    if (const Feature* cssClass = find(Feature::Kind::Class))
        return m_byClass[cssClass->name];
    if (const Feature* pseudoClass = find(Feature::Kind::PseudoClass))
        return m_byPseudoClass[pseudoClass->name];
    if (const Feature* type = find(Feature::Kind::Type))
        return m_byType[type->name];
    return m_others;
}
}
