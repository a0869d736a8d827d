#pragma once

#include "PainterState.hpp"

namespace Lantern
{
struct Style;

/// Fills what can be seen of a box when that touches neither its edge nor a corner: the pixels are those of the whole box,
/// without outlines to be computed. Returns false, and draws nothing, for any other box.
[[nodiscard]] bool fillBoxInterior(PainterContext::Private& context, const Vecta::Rect& rect, float cornerRadius,
                                   const Style& style);
}
