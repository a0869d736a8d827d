#pragma once

#include "motion/TransitionList.hpp"
#include "motion/ValueMixer.hpp"
#include "style/StyleNode.hpp"

#include <memory>
#include <vector>

namespace Cascara
{
/// The transitions under way. Each writes the style layer of one attribute of one node, frame by frame, and goes when it has come
/// to its end. Main thread only; listeners to the values may change styles, and destroy nodes.
class RunningTransitions
{
public:
    /// After the style layer of an attribute was written or cleared: begins the transition that the list (null: none) has for it
    /// from `before`, the text of the value that showed, ends the one under way where the list does not name the attribute, or
    /// leaves it alone when it has the same end. The node may be gone when this returns.
    void valueWritten(StyleNode& node, Facet::Attribute& attribute, const QString& before, const TransitionList* transitions);
    /// Those of the node that `transitions` (null: none) does not name any more jump to their ends.
    void keepOnly(StyleNode& node, const TransitionList* transitions);
    /// The one of the attribute, if there is one, jumps to its end.
    void finish(StyleNode& node, Facet::Attribute& attribute);

    /// Moves all on. With `finish` they come to their ends.
    void advance(double seconds, bool finish);
    /// Those of the attribute end; what shows becomes its run-time value.
    void hold(StyleNode& node, Facet::Attribute& attribute);
    [[nodiscard]] bool isMoving() const noexcept { return !m_running.empty(); }
    [[nodiscard]] bool moves(const StyleNode& node) const;

private:
    struct Running
    {
        std::shared_ptr<StyleNode> node; ///< null once it has ended
        int attribute;
        ValueMixer mixer;
        QString start;
        QString target;
        Facet::StyleValue targetValue;
        bool endsCleared; ///< the default, which shows without a style value
        Transition transition;
        double passedSeconds = 0.0;
        double reversingFactor = 1.0;

        [[nodiscard]] double progress() const;
        [[nodiscard]] bool hasEnded() const;
    };
    using Pointer = std::shared_ptr<Running>; ///< one may end while it writes

    [[nodiscard]] Pointer find(const StyleNode& node, int attribute) const;
    static void write(Running& running);
    static void finish(Running& running);
    void end(Running& running);
    void removeEnded();

    std::vector<Pointer> m_running;
    bool m_isAdvancing = false;
};
}
