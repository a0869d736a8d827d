#pragma once

#include "drawing/DamageAreas.hpp"
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
/// `collect` damages the area where each of them was last seen and the one where it is now. A frame without changes
/// allocates nothing.
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
    void groupChanged(const Widget& child);
    void forget(Widget& widget, WidgetLayer* layer);
    static constexpr Vecta::Rect kEverywhere{-1e7f, -1e7f, 2e7f, 2e7f};
    /// What the ancestors of a widget do to it.
    struct Above
    {
        Vecta::Transform toScene;
        Vecta::Rect clip = kEverywhere;
        bool isVisible = true;
        bool isRepainted = false;     ///< what the kept picture shows of it is out of date
        bool isCovered = false;       ///< the areas cover what is in it already, where it was and where it is
        WidgetLayer* layer = nullptr; ///< that holds its pixels, if one does
        Vecta::Vector2f placeBefore;  ///< of the layer root around it when that was last accounted for
        Vecta::Vector2f placeNow;
    };
    static Above above(const Widget& widget);
    /// As above, and kept for the next one: many that change have the same parent.
    const Above& aboveSiblings(const Widget& widget);
    /// Something in the root, or the root itself: what it reaches over is accounted for at the end.
    void contentChanged(Widget& root);
    void accountFor(Widget& widget);
    void account(Widget& widget, const Above& above, Redraw extent);

    LayoutEngine& m_layout;
    LayerKeeper& m_layers;
    std::vector<Widget*> m_queue; ///< each has redrawQueued; a widget leaves the queue before it leaves the tree
    DamageAreas m_areas;
    // Used by collect only.
    std::vector<Widget*> m_changedRoots;        ///< whose layers are marked as changed
    const Widget* m_parentOfSiblings = nullptr; ///< of which m_aboveSiblings is known
    Above m_aboveSiblings;
};
}
