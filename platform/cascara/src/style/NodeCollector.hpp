#pragma once

#include "style/InvalidationIndex.hpp"
#include "style/StyleNode.hpp"

#include <memory>
#include <vector>

namespace Cascara
{
/// Collects the nodes that changes can reach, each once. Calls no listeners.
class NodeCollector
{
public:
    using Nodes = std::vector<std::shared_ptr<StyleNode>>;

    explicit NodeCollector(const InvalidationIndex& index) : m_index(index) {}

    /// Begins a list; the calls below add to it until the next call of `begin`. Returns the list's number, which its nodes get.
    unsigned begin(Nodes& nodes);
    void addNode(const StyleNode& node);
    void addSubtree(const Styleable& root);
    /// What `changed` reaches after it gained or lost the features `first` to `end` (exclusive).
    void addReached(const StyleNode& changed, const Feature* first, const Feature* end);
    /// What a change among siblings reaches: a node has gone from between `previous` and `next`, either of which may be null.
    void addAfterRemoval(const NodeFeatures* previous, const NodeFeatures* next);
    /// As above after `added` has become the last of its siblings, but for the nodes of its own subtree.
    void addAfterInsertion(const NodeFeatures& added);

private:
    void addReachedSiblings(const StyleNode& changed);
    void addBelow(const Styleable& styleable, int siblings, int level, int deepest);
    void addIfReached(const StyleNode& node, int siblings, int level);

    const InvalidationIndex& m_index;
    Nodes* m_nodes = nullptr;
    unsigned m_collection = 0;
    /// Of the change at hand; kept, so that a steady table allocates none.
    std::vector<InvalidationIndex::Reach> m_reaches;
};
}
