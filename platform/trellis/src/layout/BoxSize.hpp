#pragma once

#include <Vecta/Vector2T.hpp>

namespace Trellis
{
class Widget;

/// The room that a container gives its children. A height below zero is not known yet.
struct Room
{
    float width;
    float height;
    /// The container is as wide as its content: blocks do not fill it.
    bool shrinks;
};

/// Whether a size is only asked for, or is the one that counts: then the paddings in pixels, and what the size follows
/// from, are kept in the widget's record.
enum class Sizing { Measure, Final };

/// The size of the widget in that room, padding included. Calls Widget::contentSize where the size follows the content;
/// the last two results of that are kept.
[[nodiscard]] Vecta::Vector2f boxSize(Widget& widget, const Room& room, Sizing sizing);
}
