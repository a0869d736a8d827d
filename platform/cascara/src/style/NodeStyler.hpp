#pragma once

#include "style/Candidate.hpp"
#include "style/MotionResolver.hpp"
#include "style/StyleNode.hpp"

#include <vector>

namespace Cascara
{
/// Gives one node the values that its declarations say. Lives for one restyling of the node; main thread only.
/// Writing attributes calls listeners, which may restyle the same node or destroy it: then this one gives up.
class NodeStyler
{
public:
    /// `candidates` are ordered by attribute, the winner of each first. `motion` is null when nothing is said of motion.
    NodeStyler(StyleNode& node, const std::vector<Candidate>& candidates, const MotionDeclarations* motion);

    /// Withdraws what nothing says any more and writes what the candidates and the nodes above say.
    void apply();
    /// Attributes that `apply` wrote or withdrew and that some declaration `inherit` takes from a parent.
    [[nodiscard]] const std::vector<int>& changedForChildren() const noexcept { return m_changedForChildren; }

private:
    [[nodiscard]] bool isCurrent() const { return m_node.owner && m_node.restyling == m_restyling; }
    bool readMotion();
    bool withdraw();
    [[nodiscard]] bool isGiven(int attribute) const;
    void attributeIsMissing(const Candidate* first, const Candidate* end);
    [[nodiscard]] bool isUnmadeReset(const Declaration& declaration);
    bool applyAttribute(const Candidate* first, const Candidate* end);
    bool applyInherited(const InheritedValue& inherited);
    void takeFromParent(Facet::Attribute& attribute, const Declaration& declaration);
    /// Writes a value. False, with the reason in `error`, when it does not fit; then nothing has changed.
    bool write(Facet::Attribute& attribute, int serial, const Facet::StyleValue& value, QString& error);
    void clear(Facet::Attribute& attribute);
    void changed(int attribute);
    /// Lets `change` set or clear the style value of the attribute, which may then move there in steps. It returns false when it
    /// has changed nothing.
    template <class Change>
    void changeValue(Facet::Attribute& attribute, Change change);

    StyleNode& m_node;
    const std::vector<Candidate>& m_candidates;
    const unsigned m_restyling;
    const MotionDeclarations* m_motion;
    std::shared_ptr<const TransitionList> m_transitions; ///< null when nothing may move
    std::vector<int> m_changedForChildren;
};
}
