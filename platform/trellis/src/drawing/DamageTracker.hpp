#pragma once

#include "drawing/DamageAreas.hpp"
#include "drawing/Surroundings.hpp"
#include "tree/WidgetEngines.hpp"

#include <Vecta/Rect.hpp>
#include <Vecta/Transform.hpp>

#include <vector>

namespace Trellis
{
class LayerKeeper;
class LayoutEngine;
struct WidgetLayer;

/// Collects the areas of the scene that must be drawn anew. Changed widgets are queued; once a frame, after the layout,
/// `collect` damages the area where each of them was last seen and the one where it is now. What is inside of one that moved
/// is not visited: the reach of that one covers it. A frame without changes allocates nothing.
class DamageTracker
{
public:
    /// Areas outside `scene` count for nothing. All of it is damaged at first.
    DamageTracker(LayoutEngine& layout, LayerKeeper& layers, const Vecta::Rect& scene);
    DamageTracker(const DamageTracker&) = delete;
    DamageTracker& operator=(const DamageTracker&) = delete;

    /// The widget will look different. Ignored for widgets outside the application's tree.
    void widgetChanged(Widget& widget, Redraw extent);
    /// The widget and all that is in it leaves the tree: where it was is damaged at once, and it is forgotten.
    /// To be called while `widget` and its children are whole.
    void widgetLeaves(Widget& widget);

    /// What has stood still is drawn as one picture from now on. To be called once a frame, before `collect`, and never between
    /// taking the areas and drawing them.
    void keepPictures();
    /// Turns the queued changes into areas. The layout is used as it is.
    void collect();
    /// Few rectangles, which may overlap.
    [[nodiscard]] const std::vector<Vecta::Rect>& areas() const noexcept { return m_areas.all(); }
    /// Forgets the areas; queued changes go on waiting.
    void clear() noexcept { m_areas.clear(); }
    /// Neither areas nor changes are waiting, nor a widget to be kept as a picture.
    [[nodiscard]] bool isEmpty() const noexcept;
    /// Another scene, damaged as a whole.
    void setScene(const Vecta::Rect& scene);

private:
    /// How a widget that showed was drawn before its first change.
    struct Before
    {
        const Widget* widget = nullptr;
        Vecta::Rect reach; ///< of it and all that was in it, in its parent's coordinates; empty if it did not show
        bool isSmooth = false;
    };
    void groupChanged(const Widget& child);
    static bool isAccountedForByParent(const Widget& widget);
    void forget(Widget& widget, const Surroundings& above);
    /// Kept for the next one: many that change have the same parent.
    const Surroundings& aboveSiblings(const Widget& widget);
    static Vecta::Rect areaBefore(const Before& before, const Surroundings& above);
    void damage(const Surroundings& above, const Vecta::Rect& area);
    void damageBox(const Widget& widget, const Surroundings& above, const Vecta::Transform& toScene);
    /// Something in the root, or the root itself: what it reaches over is accounted for at the end.
    void contentChanged(Widget& root);
    void accountFor(Widget& widget, const Before& before);
    WidgetLayer* accountForRoot(Widget& root, const Surroundings& above, const Vecta::Transform& toScene, bool isWhole);
    void accountForRootsIn(const Widget& widget, const Surroundings& inside);
    static bool reportsSizes(const Widget& widget);
    static void reportSizes(Widget& widget);

    LayoutEngine& m_layout;
    LayerKeeper& m_layers;
    std::vector<Widget*> m_queue; ///< each has redrawQueued; a widget leaves the queue before it leaves the tree
    std::vector<Before> m_before; ///< of those in m_queue that showed, in its order
    DamageAreas m_areas;
    // Used by collect only.
    std::vector<Widget*> m_changedRoots;        ///< whose layers are marked as changed
    const Widget* m_parentOfSiblings = nullptr; ///< of which m_aboveSiblings is known
    Widget* m_rootAboveSiblings = nullptr;      ///< the layer root that they are in, if they are
    Surroundings m_aboveSiblings;
};
}
