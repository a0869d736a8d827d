#pragma once

#include <Lantern/PaintTarget.hpp>

#include <QImage>

namespace Lantern
{
/// Draws into a picture in memory: for programs without a window, snapshots and tests.
class TAVOLA_EXPORT ImageTarget final : public PaintTarget
{
public:
    enum class Ground {
        Black,      ///< opaque (RGB32)
        Transparent ///< with premultiplied alpha
    };

    explicit ImageTarget(QSize size, Ground ground = Ground::Black);

    [[nodiscard]] QSize size() const override { return m_image.size(); }
    /// Loses what was drawn.
    void resize(QSize size);
    void paint(const QRegion& damage, const std::function<void(RenderContext&)>& draw) override;
    [[nodiscard]] const QImage& image() const noexcept { return m_image; }

private:
    Ground m_ground;
    QImage m_image;
    bool m_isFilled = false; ///< with the ground, where nothing was drawn
};
}
