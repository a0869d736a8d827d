#pragma once

#include <Bedrock/Export.hpp>
#include <Bedrock/IntrusivePtr.hpp>
#include <Bedrock/IntrusiveWeakPtr.hpp>
#include <Bedrock/ReferenceCounted.hpp>
#include <Cascara/Styleable.hpp>
#include <Facet/Node.hpp>

namespace Trellis
{
class FrameInfo;
class Widget;

/// Something that works on one widget while it is attached: an animation, a tracker, a listener. A node with attributes of
/// its own; style sheets reach it as a child of its widget. Owned by the widget. Main thread only.
class TAVOLA_EXPORT Operator : public Bedrock::ReferenceCounted, public Facet::Node, public Cascara::Styleable
{
public:
    Operator();
    ~Operator() override;

    /// Called when the operator is attached, and when it is detached (also when the widget dies: it then is no more than a
    /// Widget, its subclass parts are gone).
    virtual void added(Widget& widget);
    virtual void removed(Widget& widget);
    /// Once a frame.
    virtual void update(Widget& widget, const FrameInfo& frame);

    /// Asks to be detached after this frame's update.
    void setDone() noexcept { m_done = true; }
    [[nodiscard]] bool isDone() const noexcept { return m_done; }

private:
    bool m_done = false;
};
}
