#pragma once

#include <Lantern/PictureStore.hpp>
#include <Vecta/Rect.hpp>
#include <Vecta/Transform.hpp>

#include <vector>

namespace Trellis
{
class Widget;
struct Outline;
struct WidgetLayer;

/// Decides which widgets are drawn as one kept picture: the children of the widgets that were named, as long as they are
/// neither turned nor scaled. The pictures have the scale of the screen. A widget is kept from the second frame on in which it
/// has the same direction and scale. It is drawn directly while it turns, grows or is hidden, and where it is upright, unscaled
/// and without children, shadows and pictures. Whether a widget is kept is state, and no matter of what is damaged: the same
/// pixels come of any damage. Main thread only.
class LayerKeeper
{
public:
    LayerKeeper() = default;
    LayerKeeper(const LayerKeeper&) = delete;
    LayerKeeper& operator=(const LayerKeeper&) = delete;

    /// The children of `parent` are kept from now on.
    static void keepChildrenOf(Widget& parent);

    /// To be called once a frame before the changes are accounted for: calls `changed` with the scene area of each widget
    /// that is drawn as a picture from now on.
    template <class Changed>
    void settle(Changed changed)
    {
        m_settling.swap(m_waiting);
        for (Widget* widget : m_settling)
            if (beginKeeping(*widget))
                changed(sceneReach(*widget));
        m_settling.clear();
    }
    /// The screen has another scale: nothing in `widget` is kept any more, and all that may be is placed anew.
    static void screenChanged(Widget& widget);
    /// A layer root was moved, turned or otherwise changed. `mayBeKept`: it is visible, and what is above it cuts
    /// nothing off, and moves it by whole pixels of the screen only. Makes its layer, and returns it if it is kept, else null;
    /// its place is still the one before.
    WidgetLayer* update(Widget& widget, const Vecta::Transform& toScene, bool mayBeKept);
    /// To be called once the changes in a layer root are accounted for: makes room for them in its picture, if it is kept. True
    /// when all of it must be drawn anew.
    static bool cover(Widget& root);
    /// The area of the scene that the widget is drawn in, with its edges.
    [[nodiscard]] static Vecta::Rect sceneReach(const Widget& widget);
    /// What shows in a layer root and of itself, around its place, by the direction and scale of the last `update`.
    [[nodiscard]] static Outline outline(const Widget& root, const WidgetLayer& layer);
    /// The widget leaves the tree.
    void drop(Widget& widget);
    /// A widget waits for the next frame.
    [[nodiscard]] bool isWaiting() const noexcept { return !m_waiting.empty(); }

    [[nodiscard]] Lantern::PictureStore& store() noexcept { return m_store; }
    [[nodiscard]] const Lantern::PictureStore& store() const noexcept { return m_store; }

private:
    static bool beginKeeping(Widget& widget);
    void wait(Widget& widget, WidgetLayer& layer);

    Lantern::PictureStore m_store;
    std::vector<Widget*> m_waiting;
    std::vector<Widget*> m_settling;
};
}
