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
    /// Lets `draw` paint into the kept pixels, then shows the changed ones.
    virtual void paint(const QRegion& damage, const std::function<void(QPainter&)>& draw) = 0;
};

[[nodiscard]] std::unique_ptr<WindowSurface> makeRasterSurface(QWindow& window);
/// Null when no context can be made for the window, or its driver cannot copy pictures to the screen.
[[nodiscard]] std::unique_ptr<WindowSurface> makeGlSurface(QWindow& window);
}
