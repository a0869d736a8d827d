#pragma once

#include <Vecta/Rect.hpp>
#include <Vecta/Transform.hpp>
#include <Vecta/Vector2T.hpp>

namespace Trellis
{
class Widget;
struct WidgetLayer;

/// What the ancestors of a widget do to it, by the layout as it stands, and what DamageTracker does about them anyway. Valid
/// until one of them changes.
struct Surroundings
{
    static constexpr Vecta::Rect kEverywhere{-1e7f, -1e7f, 2e7f, 2e7f};
    enum class Covered {
        Queued, ///< by what waits to be accounted for
        All     ///< by the parent in any case
    };

    Vecta::Transform toScene; ///< from the parent
    Vecta::Rect clip = kEverywhere;
    bool isVisible = true;
    bool isUpright = true;        ///< on the screen, and unscaled
    bool isCovered = false;       ///< all that is in them, where it was and where it is, is drawn anew…
    bool isRepainted = false;     ///< …and so it is in the picture
    WidgetLayer* layer = nullptr; ///< that holds the pixels, if one does
    Vecta::Vector2f corner;       ///< of its widget in the scene

    [[nodiscard]] static Surroundings of(const Widget& widget);
    /// Of the children of `parent`, whose own these are.
    [[nodiscard]] Surroundings within(const Widget& parent, Covered covered) const;
};

/// Neither turned nor scaled.
[[nodiscard]] bool isUnscaled(const Vecta::Transform& transform);
/// The size of a pixel of the screen on the table.
[[nodiscard]] Vecta::Vector2f screenPixel();
/// What something covers in the scene; a smooth one, whose edges colour the pixels beside them, a little more.
[[nodiscard]] Vecta::Rect sceneArea(const Vecta::Transform& toScene, const Vecta::Rect& area, bool isSmooth);
}
