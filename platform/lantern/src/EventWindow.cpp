#include "EventWindow.hpp"

#include <Lantern/WindowListener.hpp>

#include <QCoreApplication>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QTouchEvent>

namespace Lantern
{
EventWindow::EventWindow(WindowListener* listener) : m_listener(listener)
{
    // A touch that is reported as one must not come a second time as a mouse.
    QCoreApplication::setAttribute(Qt::AA_SynthesizeMouseForUnhandledTouchEvents, false);
}

/// What was composed of several keys comes as one key that writes it.
void EventWindow::sendComposed(const QString& text)
{
    if (text.isEmpty())
        return;
    QKeyEvent press(QEvent::KeyPress, Qt::Key_unknown, Qt::NoModifier, text);
    m_listener->keyEvent(press);
    QKeyEvent release(QEvent::KeyRelease, Qt::Key_unknown, Qt::NoModifier, text);
    m_listener->keyEvent(release);
}

bool EventWindow::event(QEvent* event)
{
    if (m_listener) {
        switch (event->type()) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonRelease:
        case QEvent::MouseButtonDblClick:
        case QEvent::MouseMove: m_listener->mouseEvent(static_cast<QMouseEvent&>(*event)); return true;
        case QEvent::TouchBegin:
        case QEvent::TouchUpdate:
        case QEvent::TouchEnd:
        case QEvent::TouchCancel:
            m_listener->touchEvent(static_cast<QTouchEvent&>(*event));
            event->accept();
            return true;
        case QEvent::KeyPress:
        case QEvent::KeyRelease: m_listener->keyEvent(static_cast<QKeyEvent&>(*event)); return true;
        case QEvent::InputMethodQuery:
            // Without this the platform composes no characters for the window.
            static_cast<QInputMethodQueryEvent&>(*event).setValue(Qt::ImEnabled, true);
            event->accept();
            return true;
        case QEvent::InputMethod:
            sendComposed(static_cast<QInputMethodEvent&>(*event).commitString());
            event->accept();
            return true;
        case QEvent::Wheel: m_listener->wheelEvent(static_cast<QWheelEvent&>(*event)); return true;
        case QEvent::Resize: m_listener->windowResized(static_cast<QResizeEvent&>(*event).size()); break;
        case QEvent::Expose:
            if (isExposed())
                m_listener->windowExposed();
            break;
        case QEvent::Close: m_listener->windowClosed(); break;
        default: break;
        }
    }
    return QWindow::event(event);
}
}
