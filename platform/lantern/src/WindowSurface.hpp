#pragma once

#include <functional>
#include <memory>

class QRegion;
class QWindow;

namespace Lantern
{
class PainterContext;

/// Where a window's pixels are kept between two paints.
class WindowSurface
{
public:
    virtual ~WindowSurface() = default;
    /// Paints an area of the kept pixels anew, in whole pixels of the screen.
    using Draw = std::function<void(PainterContext&)>;

    /// Lets `draw` paint into the kept pixels, then shows the changed ones. `damage`: in the window's coordinates, of which one
    /// may come to several pixels, or to part of one. The area is the damage, or somewhat more where that is cheaper.
    virtual void paint(const QRegion& damage, const Draw& draw) = 0;
};

[[nodiscard]] std::unique_ptr<WindowSurface> makeRasterSurface(QWindow& window);
/// Null when no context can be made for the window, or its driver cannot copy pictures to the screen.
[[nodiscard]] std::unique_ptr<WindowSurface> makeGlSurface(QWindow& window);
}
