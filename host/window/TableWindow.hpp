#pragma once

#include "input/MouseInput.hpp"
#include "presentation/ScreenView.hpp"

#include <Lantern/WindowListener.hpp>
#include <Lantern/WindowTarget.hpp>

#include <QRect>

#include <memory>
#include <optional>
#include <vector>

namespace Trellis
{
class Application;
}

namespace Host
{
/// Shows a table in a window and makes its mouse and keys input of the table. Main thread only.
class TableWindow final : public Lantern::WindowListener
{
public:
    /// `fit`: of the table, as large as it is now, to the window; nothing: Scale in full screen, else Relayout.
    TableWindow(Trellis::Application& application, const Lantern::WindowOptions& options, std::vector<unsigned long> cards,
                float cardRadiusPx, std::optional<ScreenFit> fit = std::nullopt);
    ~TableWindow() override;

    /// Draws what changed since the last call.
    void draw();
    [[nodiscard]] bool isClosed() const noexcept { return m_closed; }

private:
    void mouseEvent(QMouseEvent& event) override;
    void keyEvent(QKeyEvent& event) override;
    void wheelEvent(QWheelEvent& event) override;
    void windowResized(QSize size) override;
    void windowExposed() override;
    void windowClosed() override;

    void fitTo(QSize window);
    void toggleFullScreen();

    Trellis::Application& m_application;
    std::optional<ScreenFit> m_fit;
    ScreenView m_view;
    QRect m_windowed; ///< where the window stood before it filled the screen
    MouseInput m_mouse;
    std::unique_ptr<Lantern::WindowTarget> m_target;
    bool m_closed = false;
    bool m_everythingDamaged = true;
};
}
