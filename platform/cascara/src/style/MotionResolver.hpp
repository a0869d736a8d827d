#pragma once

#include "motion/AnimationList.hpp"
#include "motion/TransitionList.hpp"
#include "sheet/StyleSheet.hpp"
#include "style/StyleNode.hpp"

#include <array>
#include <map>
#include <memory>
#include <vector>

namespace Cascara
{
/// Which declarations say something of a node's motion: the winner for each longhand, null for none.
using MotionDeclarations = std::array<const Declaration*, kMotionLonghandCount>;

/// Makes lists of what declarations say of motion. Nodes of which the same declarations hold share a list. Main thread only.
class MotionResolver
{
public:
    /// Null when nothing is said of transitions. What is wrong is reported, and counts as not said.
    [[nodiscard]] std::shared_ptr<const TransitionList> transitions(StyleNode& node, const MotionDeclarations& declarations);
    /// Null when no keyframes are named.
    [[nodiscard]] std::shared_ptr<const AnimationList> animations(StyleNode& node, const MotionDeclarations& declarations);
    /// Other declarations, or other keyframes, may be in force now: lists are made anew.
    void clear();

private:
    using Key = std::array<int, 8>; ///< serials of the declarations
    template <class List>
    using Cache = std::map<Key, std::shared_ptr<const List>>;
    template <class List>
    static std::shared_ptr<const List> resolve(StyleNode& node, const MotionDeclarations& declarations, int first, int end,
                                               Cache<List>& cache);

    Cache<TransitionList> m_transitions;
    Cache<AnimationList> m_animations;
};
}
