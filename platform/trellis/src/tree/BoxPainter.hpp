#pragma once

#include <Vecta/Vector2T.hpp>

namespace Lantern
{
class RenderContext;
}

namespace Trellis
{
struct DrawingRecord;

/// Draws what every widget can show, from the bottom to the top: shadows around it, its colour, pictures and gradients, inset
/// shadows, and a border inside of its edge. What cannot be seen is not drawn.
void paintBox(Lantern::RenderContext& context, Vecta::Vector2f size, const DrawingRecord& drawing);
}
