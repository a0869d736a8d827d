#pragma once

#include <Vecta/Rect.hpp>
#include <Vecta/Transform.hpp>
#include <Vecta/Vector2T.hpp>

#include <QString>

#include <array>
#include <optional>

class QRegion;

namespace Host
{
/// How the layout of a table fills a screen of another size.
enum class ScreenFit {
    Scale,   ///< the layout keeps its size; one factor for both axes, centred, with bars at two edges
    Stretch, ///< a factor for each axis where the two differ by `ScreenView::kMostStretch` at most; otherwise as Scale
    Relayout ///< the layout gets the screen's size
};

/// The way between the layout of a table, in table pixels, and the screen that shows it, in the screen's pixels. A value.
class ScreenView
{
public:
    static constexpr float kMostStretch = 0.02f;

    /// "scale", "stretch", "relayout"; nothing for another text.
    [[nodiscard]] static std::optional<ScreenFit> fitOf(const QString& name);

    /// Sizes without an area are shown as they are.
    ScreenView(ScreenFit fit, Vecta::Vector2f layoutPx, Vecta::Vector2f screenPx);
    /// A layout that is shown as it is.
    ScreenView(Vecta::Vector2f layoutPx) : ScreenView(ScreenFit::Relayout, layoutPx, layoutPx) {}

    /// The table's size.
    [[nodiscard]] Vecta::Vector2f layout() const noexcept { return m_layout; }
    /// The part of the screen that shows the layout.
    [[nodiscard]] const Vecta::Rect& shown() const noexcept { return m_shown; }
    [[nodiscard]] Vecta::Transform toScreen() const;
    /// Screen pixels that show the area, rounded outwards.
    [[nodiscard]] QRegion toScreen(const QRegion& area) const;
    [[nodiscard]] Vecta::Vector2f toLayout(Vecta::Vector2f screenPoint) const;
    /// Whether the point of the screen lies in no bar.
    [[nodiscard]] bool isOnLayout(Vecta::Vector2f screenPoint) const { return m_shown.contains(screenPoint); }
    /// The whole screen in table pixels: larger than the layout where there are bars.
    [[nodiscard]] Vecta::Rect screenInLayout() const;
    /// The two bars as parts of the screen, from 0 to 1; empty rectangles where there are none.
    [[nodiscard]] std::array<Vecta::Rect, 2> bars() const;

private:
    Vecta::Vector2f m_layout;
    Vecta::Vector2f m_screen;
    Vecta::Rect m_shown;
};
}
