#pragma once

#include <Trellis/GrabManager.hpp>
#include <Trellis/Widget.hpp>

#include <vector>

namespace Trellis
{
class WidgetInput;

/// Who holds what. Widgets are in the tree as long as they stand here.
struct GrabManager::Private
{
    struct Grab
    {
        std::int64_t id;
        Widget* holder;
    };

    explicit Private(Widget& rootWidget) : root(rootWidget) {}

    [[nodiscard]] Widget* holder(std::int64_t id) const;
    void set(std::int64_t id, Widget& holder);
    /// Nothing happens when nobody holds the object.
    void release(std::int64_t id);
    void releaseAllOf(const Widget& widget);

    void markerAppeared(GrabManager& self, const Tactile::Marker& marker);
    void markerLeft(GrabManager& self, const Tactile::Marker& marker);

    Widget& root;
    Tactile::Sample sample;
    std::vector<Tactile::Marker> lifted; ///< in this frame
    std::vector<Grab> grabs;
    WidgetInput* fingers = nullptr;
};
}
