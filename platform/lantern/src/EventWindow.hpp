#pragma once

#include <QWindow>

namespace Lantern
{
class WindowListener;

/// A window that hands its events on.
class EventWindow final : public QWindow
{
public:
    explicit EventWindow(WindowListener* listener);

protected:
    bool event(QEvent* event) override;

private:
    void sendComposed(const QString& text);

    WindowListener* m_listener;
};
}
