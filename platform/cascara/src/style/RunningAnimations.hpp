#pragma once

#include "style/AnimatedNode.hpp"

#include <memory>
#include <vector>

namespace Cascara
{
/// The keyframe animations of all nodes. Main thread only; listeners to the values may change styles, and destroy nodes.
class RunningAnimations
{
public:
    /// After a node was matched anew: what its rules name, null for nothing. As AnimatedNode::setAnimations.
    void setAnimations(StyleNode& node, std::shared_ptr<const AnimationList> list, bool mayBegin);
    /// Begins what waits. Values at rest can be read until then. With `jumps` none takes any time.
    void begin(const LoadedSheets& sheets, bool jumps);
    /// Moves all on.
    void advance(double seconds, bool jumps);
    /// Whether the next frame, or the end of this one, changes values.
    [[nodiscard]] bool isMoving() const;
    /// `root` has left its parent or come to one: animations in it end, and begin anew when its nodes are next matched.
    void end(const Styleable& root);

    /// Whether an animation covers the attribute's style value.
    [[nodiscard]] bool covers(const StyleNode& node, int attribute) const;
    /// As AnimatedNode::restWritten and hold.
    void restWritten(StyleNode& node, Facet::Attribute& attribute);
    void hold(StyleNode& node, Facet::Attribute& attribute);

private:
    using Pointer = std::shared_ptr<AnimatedNode>; ///< one may end while it writes

    [[nodiscard]] Pointer find(const StyleNode& node) const;
    void removeDead();

    std::vector<Pointer> m_nodes;
    std::vector<Pointer> m_advanced; ///< those that a frame moves on; kept, so that running allocates nothing
    bool m_waits = false;
};
}
