#include "window/TableWindow.hpp"

#include <Cascara/StyleEngine.hpp>
#include <Lantern/RenderContext.hpp>
#include <Trellis/Application.hpp>

#include <QKeyEvent>
#include <QMouseEvent>
#include <QRegion>
#include <QScreen>
#include <QWheelEvent>
#include <QWindow>

namespace Host
{
namespace
{
Vecta::Vector2f point(const QPointF& position)
{
    return {float(position.x()), float(position.y())};
}
}

TableWindow::TableWindow(Trellis::Application& application, const Lantern::WindowOptions& windowOptions,
                         std::vector<unsigned long> cards, float cardRadiusPx, std::optional<ScreenFit> fit)
    : m_application(application), m_fit(fit), m_view(application.size()), m_mouse(std::move(cards), cardRadiusPx)
{
    m_target = std::make_unique<Lantern::WindowTarget>(windowOptions, this);
    fitTo(m_target->size());
    m_application.addInputSource(m_mouse);
}

TableWindow::~TableWindow()
{
    m_application.removeInputSource(m_mouse);
}

void TableWindow::draw()
{
    QRegion damage = m_view.toScreen(m_application.collectDamage());
    if (m_everythingDamaged)
        damage = QRegion(QRect(QPoint(), m_target->size()));
    if (damage.isEmpty())
        return;
    m_target->paint(damage, [this](Lantern::RenderContext& context) {
        // What sticks out of the table shows on no bar.
        context.pushClip(m_view.shown());
        context.pushTransform(m_view.toScreen());
        m_application.render(context);
        context.pop();
        context.pop();
        m_everythingDamaged = false;
    });
}

void TableWindow::mouseEvent(QMouseEvent& event)
{
    const Vecta::Vector2f at = m_view.toLayout(point(event.localPos()));
    if (event.type() == QEvent::MouseButtonPress && event.button() == Qt::LeftButton) {
        if (m_view.isOnLayout(point(event.localPos())))
            m_mouse.press(at, event.modifiers().testFlag(Qt::ShiftModifier));
    } else if (event.type() == QEvent::MouseButtonRelease && event.button() == Qt::LeftButton)
        m_mouse.release(at);
    else if (event.type() == QEvent::MouseMove)
        m_mouse.move(at);
}

void TableWindow::keyEvent(QKeyEvent& event)
{
    const bool pressed = event.type() == QEvent::KeyPress;
    if (m_application.focusWidget()) {
        if (pressed)
            m_application.keyPressed(event);
        return;
    }
    if (event.key() >= Qt::Key_1 && event.key() <= Qt::Key_9 && !event.isAutoRepeat())
        m_mouse.setHeldDigit(pressed ? event.key() - Qt::Key_0 : 0);
    else if (pressed && event.key() == Qt::Key_F11)
        toggleFullScreen();
    else if (pressed && event.key() == Qt::Key_Escape)
        m_closed = true;
}

void TableWindow::wheelEvent(QWheelEvent& event)
{
    m_mouse.wheel(m_view.toLayout(point(event.position())), float(event.angleDelta().y()) / 120.f);
}

void TableWindow::windowResized(QSize size)
{
    fitTo(size);
}

void TableWindow::fitTo(QSize window)
{
    const bool isFullScreen = m_target && m_target->window().windowState() == Qt::WindowFullScreen;
    const ScreenFit fit = m_fit.value_or(isFullScreen ? ScreenFit::Scale : ScreenFit::Relayout);
    m_view = ScreenView(fit, m_view.layout(), {float(window.width()), float(window.height())});
    m_application.resize(m_view.layout());
    const Vecta::Transform toScreen = m_view.toScreen();
    const float ratio = m_target ? float(m_target->window().devicePixelRatio()) : 1.f;
    m_application.setScreenScale({toScreen.m11 * ratio, toScreen.m22 * ratio});
    Cascara::Media media = Cascara::StyleEngine::instance().media();
    media.widthPx = m_view.layout().x;
    media.heightPx = m_view.layout().y;
    Cascara::StyleEngine::instance().setMedia(media);
    m_everythingDamaged = true;
}

void TableWindow::toggleFullScreen()
{
    // Without a window manager the state alone changes no size.
    QWindow& window = m_target->window();
    if (window.windowState() == Qt::WindowFullScreen) {
        window.setWindowState(Qt::WindowNoState);
        if (m_windowed.isValid())
            window.setGeometry(m_windowed);
        return;
    }
    m_windowed = window.geometry();
    window.setWindowState(Qt::WindowFullScreen);
    if (const QScreen* const screen = window.screen())
        window.setGeometry(screen->geometry());
}

void TableWindow::windowExposed()
{
    m_everythingDamaged = true;
}

void TableWindow::windowClosed()
{
    m_closed = true;
}
}
