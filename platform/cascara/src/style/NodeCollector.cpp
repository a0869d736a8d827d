#include "style/NodeCollector.hpp"

#include <algorithm>

namespace Cascara
{
namespace
{
using Reach = InvalidationIndex::Reach;

const StyleNode& styleNode(const NodeFeatures& node)
{
    return static_cast<const StyleNode&>(node);
}

bool includes(int reached, int distance)
{
    return reached == distance || (reached == Reach::kAny && distance > 0);
}
}

unsigned NodeCollector::begin(Nodes& nodes)
{
    m_nodes = &nodes;
    return ++m_collection;
}

void NodeCollector::addNode(const StyleNode& node)
{
    const auto& shared = StyleNode::shared(*node.owner);
    if (shared->collection == m_collection)
        return;
    shared->collection = m_collection;
    m_nodes->push_back(shared);
}

void NodeCollector::addSubtree(const Styleable& root)
{
    addNode(StyleNode::of(root));
    for (const Styleable* child : root.styleChildren())
        addSubtree(*child);
}

void NodeCollector::addReached(const StyleNode& changed, const Feature* first, const Feature* end)
{
    m_reaches.clear();
    // Before the change or after it; what else the compound tests is left to the matching.
    const auto couldMatch = [&](const Compound& compound) {
        return std::all_of(compound.features.begin(), compound.features.end(),
                           [&](Feature feature) { return changed.has(feature) || std::find(first, end, feature) != end; });
    };
    for (const Feature* feature = first; feature != end; ++feature) {
        if (m_index.reachesSelf(*feature))
            addNode(changed);
        if (const auto* others = m_index.reachOthers(*feature))
            for (const auto& reach : *others)
                if (couldMatch(*reach.changed) && couldMatch(*reach.around))
                    m_reaches.push_back(reach);
    }
    if (!m_reaches.empty())
        addReachedSiblings(changed);
}

/// The node itself stands for its siblings at distance 0.
void NodeCollector::addReachedSiblings(const StyleNode& changed)
{
    const bool goesOn = std::any_of(m_reaches.begin(), m_reaches.end(), [](const Reach& r) { return r.siblings == Reach::kAny; });
    const auto furthest = std::max_element(m_reaches.begin(), m_reaches.end(),
                                           [](const Reach& a, const Reach& b) { return a.siblings < b.siblings; });
    int distance = 0;
    for (const NodeFeatures* node = &changed; node && (goesOn || distance <= furthest->siblings); node = node->next, ++distance) {
        int deepest = 0;
        for (const Reach& reach : m_reaches)
            if (includes(reach.siblings, distance))
                deepest = reach.levels == Reach::kAny || deepest == Reach::kAny ? Reach::kAny : std::max(deepest, reach.levels);
        if (distance > 0)
            addIfReached(styleNode(*node), distance, 0);
        if (deepest != 0)
            addBelow(*styleNode(*node).owner, distance, 1, deepest);
    }
}

void NodeCollector::addBelow(const Styleable& styleable, int siblings, int level, int deepest)
{
    for (const Styleable* child : styleable.styleChildren()) {
        addIfReached(StyleNode::of(*child), siblings, level);
        if (deepest == Reach::kAny || level < deepest)
            addBelow(*child, siblings, level + 1, deepest);
    }
}

void NodeCollector::addIfReached(const StyleNode& node, int siblings, int level)
{
    const bool isReached = std::any_of(m_reaches.begin(), m_reaches.end(), [&](const Reach& reach) {
        return includes(reach.siblings, siblings) && includes(reach.levels, level) && reach.rightmost->couldMatch(node);
    });
    if (isReached)
        addNode(node);
}

void NodeCollector::addAfterRemoval(const NodeFeatures* previous, const NodeFeatures* next)
{
    using Kind = Feature::Kind;
    if (!m_index.testsPositions())
        return;
    if (!next) {
        const Feature last{Kind::Position, Feature::Last};
        if (previous)
            addReached(styleNode(*previous), &last, &last + 1);
        return;
    }
    const Feature adjacent[] = {{Kind::Position, Feature::Adjacent}, {Kind::Position, Feature::First}};
    addReached(styleNode(*next), adjacent, adjacent + (previous ? 1 : 2));
    const Feature later[] = {{Kind::Position, Feature::Count}, {Kind::Position, Feature::Preceding}};
    if (m_index.isTested(later[0]) || m_index.isTested(later[1]))
        for (; next; next = next->next)
            addReached(styleNode(*next), later, later + 2);
}

void NodeCollector::addAfterInsertion(const NodeFeatures& added)
{
    if (added.previous)
        addAfterRemoval(added.previous, nullptr);
}
}
