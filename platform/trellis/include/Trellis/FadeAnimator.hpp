#pragma once

#include <Bedrock/Export.hpp>

namespace Trellis
{
class Widget;

/// Fades widgets by their opacity on the run-time layer. A new fade of a widget replaces a running one and starts from the
/// opacity that shows; a widget that fades out to be deleted receives no input any more, and is deleted once.
class TAVOLA_EXPORT FadeAnimator
{
public:
    /// From transparent (or from the present opacity, when another fade was running) to the styled opacity, in `seconds` of
    /// frame time after `delaySeconds`. At the end the run-time layer is cleared.
    static void fadeIn(Widget& widget, float seconds, float delaySeconds);
    /// To transparent; then takes the widget from its parent.
    static void fadeOutAndDelete(Widget& widget, float seconds, float delaySeconds);
    /// Whether the widget is on its way out.
    [[nodiscard]] static bool isFadingOut(const Widget& widget);
};
}
