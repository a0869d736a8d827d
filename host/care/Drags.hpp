#pragma once

#include <Bedrock/IntrusivePtr.hpp>
#include <Bedrock/IntrusiveWeakPtr.hpp>
#include <Vecta/Vector2T.hpp>

#include <vector>

namespace Trellis
{
class GrabManager;
class Widget;
}

namespace Host
{
/// A widget that fingers hold, and drag once it has moved.
struct Drag
{
    Bedrock::IntrusivePtr<Trellis::Widget> widget;
    Vecta::Vector2f start;  ///< its location when a finger came
    Vecta::Vector2f finger; ///< the place of the last finger that held it, in table pixels
    bool isDragging = false;
    bool isHeld = true; ///< false in the frame in which the last finger left
    /// Siblings that lay above it before a finger raised it, from the bottom to the top.
    std::vector<Bedrock::IntrusiveWeakPtr<Trellis::Widget>> covering;
};

/// Whether fingers may move the widget, by its attribute "movable".
[[nodiscard]] bool isMovable(const Trellis::Widget& widget);

/// The movable widgets that fingers hold, as they are in each frame: content of the table, and what lies inside of other widgets,
/// such as tiles. Main thread only.
class Drags
{
public:
    /// Once a frame, after the input. `content` is the layer of the table's content.
    void update(const Trellis::Widget& content, const Trellis::GrabManager& grabManager);
    /// In this frame; one that has ended is there for one frame more.
    [[nodiscard]] const std::vector<Drag>& all() const noexcept { return m_drags; }

private:
    void note(const Trellis::Widget& content, Trellis::Widget& hit, Vecta::Vector2f finger);

    std::vector<Drag> m_drags;
    std::vector<Bedrock::IntrusiveWeakPtr<Trellis::Widget>> m_order; ///< of the content, in the frame before
};
}
