#pragma once

#include <Vecta/Transform.hpp>
#include <Vecta/Vector2T.hpp>

namespace Trellis
{
class Widget;

// Where widgets are drawn, by the layout as it stands. Children of a widget whose children are kept as pictures stand on
// whole pixels of the screen, kept or not, so that moving one changes none of its pixels. Everything else is drawn where it is.

/// Whether the widget is drawn on whole pixels, and may be kept as a picture.
[[nodiscard]] bool isLayerRoot(const Widget& widget);
/// `widget`, and all that it stands in, hold a widget whose children may be kept as pictures.
void markHoldsKept(Widget& widget);
[[nodiscard]] Vecta::Vector2f drawnCornerInParent(const Widget& widget);
[[nodiscard]] Vecta::Transform drawnTransformToParent(const Widget& widget);
[[nodiscard]] Vecta::Transform drawnTransformToScene(const Widget& widget);
/// Pixels of the screen that a pixel of the table takes in each direction.
[[nodiscard]] Vecta::Vector2f screenScale();
/// The same transform on to pixels of the screen, where the table's top left corner is (0, 0).
[[nodiscard]] Vecta::Transform onScreen(const Vecta::Transform& toScene);
/// The nearest layer root of the widget and its ancestors, or null.
[[nodiscard]] Widget* layerRootOf(Widget& widget);
}
