#pragma once

#include <functional>
#include <memory>

class QPainter;
class QRegion;
class QWindow;

namespace Lantern
{
/// Where a window's pixels are kept between two paints.
class WindowSurface
{
public:
    virtual ~WindowSurface() = default;
    /// Paints an area of the kept pixels anew.
    using Draw = std::function<void(QPainter&, const QRegion& area)>;

    /// Lets `draw` paint into the kept pixels, then shows the changed ones. The area is the damage, or somewhat more where that
    /// is cheaper.
    virtual void paint(const QRegion& damage, const Draw& draw) = 0;
};

[[nodiscard]] std::unique_ptr<WindowSurface> makeRasterSurface(QWindow& window);
/// Null when no context can be made for the window, or its driver cannot copy pictures to the screen.
[[nodiscard]] std::unique_ptr<WindowSurface> makeGlSurface(QWindow& window);
}
