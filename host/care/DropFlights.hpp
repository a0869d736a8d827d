#pragma once

#include <vector>

namespace Trellis
{
class Widget;
}

namespace Host
{
struct Drag;

/// Shows an accepted drop in the frame in which the finger leaves: a picture of the content flies from the finger to its
/// tile, and the content itself lies below everything that covered it before it was dragged, and below what took it.
/// Main thread only.
class DropFlights
{
public:
    /// Once a frame, after the input. `content` is the layer of the table's content, `overlay` one above it; null: nothing flies.
    static void update(Trellis::Widget& content, Trellis::Widget* overlay, const std::vector<Drag>& drags);
};
}
