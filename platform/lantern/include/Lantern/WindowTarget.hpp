#pragma once

#include <Lantern/PaintTarget.hpp>

#include <QString>

#include <memory>

class QWindow;

namespace Lantern
{
class WindowListener;

/// How a window is opened.
struct WindowOptions
{
    enum class Drawing {
        Raster,
        OpenGl ///< where a context can be made, else raster with an info line
    };

    QSize size{1280, 720};
    QString title;
    bool isFullScreen = false; ///< `size` is then the screen's
    Drawing drawing = Drawing::Raster;
};

/// A window that shows the table. What was painted stays until it is painted over, so that only damage need be drawn.
class TAVOLA_EXPORT WindowTarget final : public PaintTarget
{
public:
    /// Opens the window. `listener` may be null; not owned, must outlive the target.
    WindowTarget(const WindowOptions& options, WindowListener* listener);
    ~WindowTarget() override;
    WindowTarget(const WindowTarget&) = delete;
    WindowTarget& operator=(const WindowTarget&) = delete;

    [[nodiscard]] QSize size() const override;
    /// Does nothing while the window cannot be seen; `windowExposed` reports when it can again.
    void paint(const QRegion& damage, const std::function<void(RenderContext&)>& draw) override;
    /// What is in use, not what was asked for.
    [[nodiscard]] WindowOptions::Drawing drawing() const noexcept;
    /// For tools and tests. Owned by the target.
    [[nodiscard]] QWindow& window() const noexcept;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
}
