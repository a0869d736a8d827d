#pragma once

#include "sheet/StyleSheet.hpp"
#include "style/StyleNode.hpp"

#include <vector>

namespace Cascara
{
/// A declaration that matches the node at hand.
struct Candidate
{
    const Declaration* declaration;
    int rank; ///< the higher wins
};

/// Gives one node the values that its declarations say. Lives for one restyling of the node; main thread only.
/// Writing attributes calls listeners, which may restyle the same node or destroy it: then this one gives up.
class NodeStyler
{
public:
    /// `candidates` are ordered by attribute, the winner of each first.
    NodeStyler(StyleNode& node, const std::vector<Candidate>& candidates);

    /// Defines the node's variables anew, from those of its parent and the candidates. Returns the names of those that
    /// changed, for the nodes below. Calls no listeners.
    [[nodiscard]] std::vector<int> updateVariables();
    /// Withdraws what no candidate says any more and writes what the candidates say.
    void apply();

private:
    [[nodiscard]] bool isCurrent() const { return m_node.owner && m_node.restyling == m_restyling; }
    bool withdraw();
    void attributeIsMissing(const Candidate* first, const Candidate* end);
    bool applyAttribute(const Candidate* first, const Candidate* end);
    /// Writes a value. False, with the reason in `error`, when it does not fit; then nothing has changed.
    bool write(Facet::Attribute& attribute, const Declaration& declaration, const Facet::StyleValue& value, QString& error);
    void writeSubstituted(Facet::Attribute& attribute, const Declaration& declaration);
    void clear(Facet::Attribute& attribute);

    StyleNode& m_node;
    const std::vector<Candidate>& m_candidates;
    const unsigned m_restyling;
};
}
