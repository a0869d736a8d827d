#include <Lantern/WindowListener.hpp>

#include <QSize>

namespace Lantern
{
WindowListener::~WindowListener() = default;
void WindowListener::mouseEvent(QMouseEvent&) {}
void WindowListener::touchEvent(QTouchEvent&) {}
void WindowListener::keyEvent(QKeyEvent&) {}
void WindowListener::wheelEvent(QWheelEvent&) {}
void WindowListener::windowResized(QSize) {}
void WindowListener::windowExposed() {}
void WindowListener::windowClosed() {}
}
