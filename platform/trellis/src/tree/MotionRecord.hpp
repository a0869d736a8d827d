#pragma once

#include "tree/RareAttributes.hpp"

#include <Facet/AttributeT.hpp>
#include <Vecta/Vector2T.hpp>

namespace Trellis
{
class Widget;

/// How fingers may move a widget.
struct Handling
{
    explicit Handling(Widget* host);
    Facet::AttributeT<bool> movable, rotatable, scalable, inertia;
    Facet::AttributeT<float> minScale, maxScale;
    [[nodiscard]] static bool isNamed(int nameNumber);
};

/// How fingers may move a widget, and its slide after a release, which MotionController writes.
struct MotionRecord
{
    RareAttributes<Handling> handling;
    bool moving = false;      ///< slides after a release
    Vecta::Vector2f velocity; ///< pixels of the parent per second

    /// Whether fingers change its place, direction or size.
    [[nodiscard]] bool followsFingers() const
    {
        return handling->movable.value() || handling->rotatable.value() || handling->scalable.value();
    }
};
}
