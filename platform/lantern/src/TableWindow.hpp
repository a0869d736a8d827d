#pragma once

#include <QWindow>

namespace Lantern
{
class WindowListener;

/// A window that hands its events on.
class TableWindow final : public QWindow
{
public:
    explicit TableWindow(WindowListener* listener);

protected:
    bool event(QEvent* event) override;

private:
    void sendComposed(const QString& text);

    WindowListener* m_listener;
};
}
