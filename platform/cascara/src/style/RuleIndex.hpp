#pragma once

#include "selectors/FeatureSet.hpp"
#include "selectors/NodeFeatures.hpp"
#include "selectors/Selector.hpp"
#include "sheet/StyleSheet.hpp"

#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

namespace Cascara
{
/// All rules, found by the most selective feature of their rightmost compound, so that a node is tried only against
/// selectors that it has a chance to match.
class RuleIndex
{
public:
    struct Entry
    {
        const Selector* selector;
        const Rule* rule;
        int order; ///< of the rule among all
        FeatureSet neededAbove;
    };

    /// Replaces what there is. The sheets must outlive the index or the next call.
    void build(const std::vector<std::unique_ptr<StyleSheet>>& sheets);

    /// Calls `visit(const Entry&)` for each selector whose rightmost compound `node` might match.
    template <class Visit>
    void forEachCandidate(const NodeFeatures& node, Visit visit) const;
    /// As above without those that want features above `node` which no node there has.
    template <class Visit>
    void forEachPossible(const NodeFeatures& node, Visit visit) const;

private:
    using Bucket = std::vector<Entry>;
    using Buckets = std::unordered_map<int, Bucket>;

    [[nodiscard]] Bucket& bucketFor(const Compound& compound);

    Buckets m_byId;
    Buckets m_byClass;
    Buckets m_byPseudoClass;
    Buckets m_byType;
    Bucket m_others;
};

template <class Visit>
void RuleIndex::forEachCandidate(const NodeFeatures& node, Visit visit) const
{
    const auto visitBucket = [&visit](const Buckets& buckets, int name) {
        const auto found = buckets.find(name);
        if (found != buckets.end())
            for (const Entry& entry : found->second)
                visit(entry);
    };
    visitBucket(m_byId, node.id);
    for (const int name : node.classes)
        visitBucket(m_byClass, name);
    for (const int name : node.pseudoClasses)
        visitBucket(m_byPseudoClass, name);
    visitBucket(m_byType, node.type);
    for (const Entry& entry : m_others)
        visit(entry);
}

template <class Visit>
void RuleIndex::forEachPossible(const NodeFeatures& node, Visit visit) const
{
    // Most rules for descendants fail above the node: what is there is gathered once, not searched by each of them.
    std::optional<FeatureSet> above;
    forEachCandidate(node, [&](const Entry& entry) {
        if (!entry.neededAbove.isEmpty()) {
            if (!above)
                above = FeatureSet::above(node);
            if (!above->mayContainAll(entry.neededAbove))
                return;
        }
        visit(entry);
    });
}
}
