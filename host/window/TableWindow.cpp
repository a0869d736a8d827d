#include "window/TableWindow.hpp"

#include <Trellis/Application.hpp>

#include <QKeyEvent>
#include <QMouseEvent>
#include <QRegion>
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
                         std::vector<unsigned long> cards, float cardRadiusPx)
    : m_application(application), m_mouse(std::move(cards), cardRadiusPx)
{
    m_target = std::make_unique<Lantern::WindowTarget>(windowOptions, this);
    m_application.addInputSource(m_mouse);
}

TableWindow::~TableWindow()
{
    m_application.removeInputSource(m_mouse);
}

void TableWindow::draw()
{
    QRegion damage = m_application.collectDamage();
    if (m_everythingDamaged)
        damage = QRegion(QRect(QPoint(), m_target->size()));
    if (damage.isEmpty())
        return;
    m_target->paint(damage, [this](Lantern::RenderContext& context) {
        m_application.render(context);
        m_everythingDamaged = false;
    });
}

void TableWindow::mouseEvent(QMouseEvent& event)
{
    const Vecta::Vector2f at = point(event.localPos());
    if (event.type() == QEvent::MouseButtonPress && event.button() == Qt::LeftButton)
        m_mouse.press(at, event.modifiers().testFlag(Qt::ShiftModifier));
    else if (event.type() == QEvent::MouseButtonRelease && event.button() == Qt::LeftButton)
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
        m_target->window().setWindowState(m_target->window().windowState() == Qt::WindowFullScreen ? Qt::WindowNoState
                                                                                                   : Qt::WindowFullScreen);
    else if (pressed && event.key() == Qt::Key_Escape)
        m_closed = true;
}

void TableWindow::wheelEvent(QWheelEvent& event)
{
    m_mouse.wheel(point(event.position()), float(event.angleDelta().y()) / 120.f);
}

void TableWindow::windowResized(QSize size)
{
    m_application.resize({float(size.width()), float(size.height())});
    m_everythingDamaged = true;
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
