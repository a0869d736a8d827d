#pragma once

#include <Bedrock/Export.hpp>
#include <Vecta/Transform.hpp>
#include <Vecta/Vector2T.hpp>

#include <QImage>
#include <QRect>
#include <QRegion>

#include <cstddef>
#include <functional>
#include <memory>

namespace Lantern
{
class KeptTexture;
class KeptTextureMaker;
class PictureStore;
class PixelRows;
class RenderContext;

/// What a group of drawings looks like on a transparent ground, kept from frame to frame in a PictureStore. All areas are
/// whole pixels of the screen around the group's origin. Drawn by RenderContext::drawKept. Main thread only.
class TAVOLA_EXPORT KeptPicture
{
public:
    using Paint = std::function<void(RenderContext&)>;

    /// `store` must outlive the picture.
    explicit KeptPicture(PictureStore& store);
    ~KeptPicture();
    KeptPicture(const KeptPicture&) = delete;
    KeptPicture& operator=(const KeptPicture&) = delete;

    /// Pixels of the screen that a pixel of the group takes in each direction, (1, 1) if not set. Another scale frees the
    /// pixels, and empties the bounds.
    void setScale(Vecta::Vector2f scale);
    [[nodiscard]] Vecta::Vector2f scale() const noexcept { return m_scale; }
    /// The picture reaches at least over `area`. True when its bounds changed: it is then painted anew, in other pixels where a
    /// text is rounded otherwise.
    bool cover(const QRect& area);
    [[nodiscard]] QRect bounds() const noexcept { return m_bounds; }
    /// The area is painted anew when the picture is next drawn.
    void damage(const QRect& area);
    /// Frees the pixels.
    void clear();

    /// The pixels of `bounds`, brought up to date by `paint`, whose context begins at the group's origin. Null when the store
    /// has no room for them, and when they are on a graphics card.
    [[nodiscard]] const QImage* pixels(const Paint& paint);
    /// As above, on the graphics card of `maker`; pixels that are elsewhere are given up. Null also for what is larger than the
    /// card's largest texture.
    [[nodiscard]] KeptTexture* texture(KeptTextureMaker& maker, const Paint& paint);
    /// Where those pixels are opaque, for the library's own files. Null where there are none.
    [[nodiscard]] const std::shared_ptr<PixelRows>& rows() const noexcept { return m_rows; }
    /// Paints the part `area` of the group into an image whose top left corner is at `corner`.
    void paintInto(QImage& image, QPoint corner, const QRegion& area, const Paint& paint) const;

private:
    /// Compares when pictures were drawn.
    friend class PictureStore;

    [[nodiscard]] bool hasPixels() const noexcept { return m_texture || !m_image.isNull(); }
    [[nodiscard]] std::size_t bytes() const;
    [[nodiscard]] Vecta::Transform toPixels() const;
    /// What is to be painted anew; counts as a draw.
    QRegion takeDamage();

    PictureStore& m_store;
    Vecta::Vector2f m_scale{1.f, 1.f};
    QRect m_bounds;
    QImage m_image;                         ///< the pixels, or else…
    std::unique_ptr<KeptTexture> m_texture; ///< …these
    std::shared_ptr<PixelRows> m_rows;      ///< of the image
    QRegion m_damage;
    long m_lastDraw = 0;
};
}
