#include "DamageArea.hpp"
#include "WindowSurface.hpp"

#include <Lantern/PainterContext.hpp>

#include <QBackingStore>
#include <QImage>
#include <QPainter>
#include <QRegion>
#include <QWindow>

#include <cmath>

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
        // Qt rounds to the nearest pixels what it copies to the window.
        QRegion shown = damage;
        if (const qreal ratio = m_window.devicePixelRatio(); ratio != std::floor(ratio))
            for (const QRect& rect : damage)
                shown += rect.adjusted(-1, -1, 1, 1);
        m_store.beginPaint(shown);
        if (auto* image = dynamic_cast<QImage*>(m_store.paintDevice())) {
            // The same pixels, without their ratio.
            QImage pixels(image->bits(), image->width(), image->height(), int(image->bytesPerLine()), image->format());
            QPainter painter(&pixels);
            PainterContext context(painter, devicePixels(damage, image->devicePixelRatio(), pixels.size()));
            draw(context);
        }
        m_store.endPaint();
        m_store.flush(shown);
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
