#include "WindowSurface.hpp"

#include <QBackingStore>
#include <QPainter>
#include <QRegion>
#include <QWindow>

namespace Lantern
{
namespace
{
class RasterWindowSurface final : public WindowSurface
{
public:
    explicit RasterWindowSurface(QWindow& window) : m_window(window), m_store(&window) {}

    void paint(const QRegion& damage, const Draw& draw) override
    {
        if (m_store.size() != m_window.size())
            m_store.resize(m_window.size());
        m_store.beginPaint(damage);
        if (QPaintDevice* device = m_store.paintDevice()) {
            QPainter painter(device);
            draw(painter, damage);
        }
        m_store.endPaint();
        m_store.flush(damage);
    }

private:
    QWindow& m_window;
    QBackingStore m_store;
};
}

std::unique_ptr<WindowSurface> makeRasterSurface(QWindow& window)
{
    return std::make_unique<RasterWindowSurface>(window);
}
}
