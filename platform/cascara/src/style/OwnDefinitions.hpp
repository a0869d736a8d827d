#pragma once

#include "style/Candidate.hpp"
#include "style/StyleNode.hpp"

#include <vector>

namespace Cascara
{
/// What style sheets define for a node and for those below it: variables, and values that children inherit. Lives for one
/// restyling of the node and calls no listeners. Main thread only.
class OwnDefinitions
{
public:
    /// `candidates` are ordered by attribute, the winner of each first.
    OwnDefinitions(StyleNode& node, const std::vector<Candidate>& candidates) : m_node(node), m_candidates(candidates) {}

    /// Writes the node's inheritance anew, from that of its parent and the candidates. Returns what changed, for the nodes below.
    [[nodiscard]] NodeInheritance::Changes update();

private:
    [[nodiscard]] std::vector<VariableDefinition> variables() const;
    template <class Filter>
    void addValues(std::vector<InheritedValue>& own, Filter filter);
    bool addValue(const Declaration& declaration, std::vector<InheritedValue>& own);

    StyleNode& m_node;
    const std::vector<Candidate>& m_candidates;
};
}
