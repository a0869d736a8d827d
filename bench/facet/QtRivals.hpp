#pragma once

#include <QObject>
#include <QWidget>

namespace Bench
{
/// Sends what an event carries as a signal.
class SignalSender final : public QObject
{
    Q_OBJECT
Q_SIGNALS:
    void added(qint64 item, qint64 widget);
};

/// An object with a property as Qt's documentation writes one.
class PropertyObject final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(float gap READ gap WRITE setGap NOTIFY gapChanged)
public:
    [[nodiscard]] float gap() const { return m_gap; }
    void setGap(float gap)
    {
        if (m_gap == gap)
            return;
        m_gap = gap;
        Q_EMIT gapChanged();
    }
Q_SIGNALS:
    void gapChanged();

private:
    float m_gap = 0.f;
};

/// The same property beside those of a widget.
class PropertyWidget final : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(float gap READ gap WRITE setGap NOTIFY gapChanged)
public:
    [[nodiscard]] float gap() const { return m_gap; }
    void setGap(float gap)
    {
        if (m_gap == gap)
            return;
        m_gap = gap;
        Q_EMIT gapChanged();
    }
Q_SIGNALS:
    void gapChanged();

private:
    float m_gap = 0.f;
};
}
