#pragma once

#include <Bedrock/Export.hpp>

class QKeyEvent;
class QMouseEvent;
class QSize;
class QTouchEvent;
class QWheelEvent;

namespace Lantern
{
/// Receives what happens to a window. Called on the main thread while Qt's events are pumped; positions are the window's
/// pixels, which are the table's. May close the window, but not destroy its WindowTarget, inside a call.
class TAVOLA_EXPORT WindowListener
{
public:
    virtual ~WindowListener();

    /// Pressed, moved (also without a button), released.
    virtual void mouseEvent(QMouseEvent& event);
    virtual void touchEvent(QTouchEvent& event);
    /// Pressed and released. Characters composed of several keys come as one key of no code (Qt::Key_unknown) with that text.
    virtual void keyEvent(QKeyEvent& event);
    virtual void wheelEvent(QWheelEvent& event);
    /// Everything that was drawn is lost: the whole window must be painted.
    virtual void windowResized(QSize size);
    /// The window's content was lost or was never drawn: the whole window must be painted.
    virtual void windowExposed();
    /// The window was asked to close (by a key or the window manager); it closes after this call.
    virtual void windowClosed();
};
}
