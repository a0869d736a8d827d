#pragma once

#include <Vecta/Rect.hpp>

#include <vector>

namespace Vecta
{
struct Transform;
}

namespace Trellis
{
class Widget;

/// Collects the areas of the scene that must be drawn anew. Widgets announce themselves when they change; once a frame,
/// after the layout, `collect` damages the area where each of them was last seen and the one where it is now. One for the
/// process, owned by the application; without it the announcements do nothing. A frame without announcements allocates nothing.
class DamageTracker
{
public:
    enum class Extent {
        Widget, ///< the widget's own look or size
        Subtree ///< what is in it moved, faded, came or went along
    };

    /// Areas outside `scene` count for nothing. All of it is damaged at first.
    explicit DamageTracker(const Vecta::Rect& scene);
    ~DamageTracker();
    DamageTracker(const DamageTracker&) = delete;
    DamageTracker& operator=(const DamageTracker&) = delete;

    /// The widget will look different. Ignored for widgets outside the application's tree.
    static void widgetChanged(Widget& widget, Extent extent);
    /// The widget and all that is in it leaves the tree: where it was is damaged at once, and it is forgotten.
    /// To be called while `widget` and its children are whole.
    static void widgetLeaves(Widget& widget);

    /// Turns the announcements into areas. The layout is taken as it is.
    void collect();
    /// Few rectangles (at most kMostAreas), which may overlap.
    [[nodiscard]] const std::vector<Vecta::Rect>& areas() const noexcept { return m_areas; }
    void addArea(const Vecta::Rect& area);
    /// Forgets the areas; announcements go on waiting.
    void clear() noexcept { m_areas.clear(); }
    /// Neither areas nor announcements are waiting.
    [[nodiscard]] bool isEmpty() const noexcept { return m_queue.empty() && m_areas.empty(); }
    /// Another scene, damaged as a whole.
    void setScene(const Vecta::Rect& scene);

    static constexpr std::size_t kMostAreas = 12;

private:
    void account(Widget& widget, const Vecta::Transform& toScene, const Vecta::Rect& clip, bool visible, Extent extent);
    void forget(Widget& widget);

    std::vector<Widget*> m_queue; ///< each has redrawQueued; a widget leaves the queue before it leaves the tree
    std::vector<Vecta::Rect> m_areas;
    Vecta::Rect m_scene;
};
}
