#pragma once

#include <Bedrock/IntrusivePtr.hpp>
#include <Bedrock/IntrusiveWeakPtr.hpp>

#include <vector>

namespace Trellis
{
class Widget;
}

namespace Host
{
struct Drag;

/// Shows what a drag does: the dragged widget has the pseudo-class "dragging", and content of the table a DragShadow below it;
/// what would take the widget, were it dropped there, has the class "would-take" on what holds its drop area; a tile that has
/// left its area is "outside", and what it was taken from is drawn above the rest. Drop listeners receive nothing from here. Main
/// thread only.
class DragSigns
{
public:
    /// Once a frame, after the input. `content` is the layer of the table's content.
    void update(Trellis::Widget& content, const std::vector<Drag>& drags);

    /// Whether a drop area would collect the widget, by the rule of what is collected and the attribute "accept-drops".
    [[nodiscard]] static bool wouldTake(const Trellis::Widget& area, const Trellis::Widget& dragged);

private:
    struct Shadow
    {
        Bedrock::IntrusivePtr<Trellis::Widget> shadow;
        Bedrock::IntrusiveWeakPtr<Trellis::Widget> dragged;
    };

    void showDragged(Trellis::Widget& content, const Drag& drag);
    void castShadow(Trellis::Widget& content, Trellis::Widget& dragged);
    void showTakers(const Trellis::Widget& content, const std::vector<Drag>& drags);

    std::vector<Shadow> m_shadows;
    std::vector<Bedrock::IntrusiveWeakPtr<Trellis::Widget>> m_takers; ///< have the class "would-take"
};
}
