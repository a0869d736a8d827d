#include <Lantern/KeptPicture.hpp>

#include "KeptTexture.hpp"
#include "LargeImage.hpp"

#include <Lantern/PainterContext.hpp>
#include <Lantern/PictureStore.hpp>

#include "PixelRows.hpp"

namespace Lantern
{
namespace
{
/// More rectangles cost more to keep apart than to paint together.
constexpr int kMostDamageRects = 12;
constexpr int kGrowthPx = 32;
constexpr int kMostWaste = 4; ///< times the area that is needed

qint64 areaOf(const QRect& rect)
{
    return qint64(rect.width()) * rect.height();
}
}

KeptPicture::KeptPicture(PictureStore& store) : m_store(store) {}

KeptPicture::~KeptPicture()
{
    clear();
}

std::size_t KeptPicture::bytes() const
{
    return hasPixels() ? std::size_t(areaOf(m_bounds)) * 4 : 0;
}

void KeptPicture::clear()
{
    if (hasPixels())
        m_store.remove(*this, bytes());
    m_image = {};
    m_texture.reset();
    m_rows.reset();
    m_damage = {};
}

void KeptPicture::setScale(Vecta::Vector2f scale)
{
    if (scale == m_scale)
        return;
    clear();
    m_bounds = {};
    m_scale = scale;
}

Vecta::Transform KeptPicture::toPixels() const
{
    Vecta::Transform result;
    result.m11 = m_scale.x;
    result.m22 = m_scale.y;
    return result;
}

bool KeptPicture::cover(const QRect& area)
{
    const bool isWasteful = areaOf(area) * kMostWaste < areaOf(m_bounds);
    if (m_bounds.contains(area) && !isWasteful)
        return false;
    clear();
    // What grows goes on growing, in steps.
    const int margin = m_bounds.isEmpty() || isWasteful ? 0 : kGrowthPx;
    m_bounds = area.adjusted(-margin, -margin, margin, margin);
    return true;
}

void KeptPicture::damage(const QRect& area)
{
    if (!hasPixels() || area.isEmpty())
        return;
    const QRect both = m_damage.boundingRect() | area;
    const bool isCheaperTogether = areaOf(both) <= areaOf(m_damage.boundingRect()) + areaOf(area);
    m_damage += area;
    if (isCheaperTogether || m_damage.rectCount() > kMostDamageRects)
        m_damage = both;
}

const QImage* KeptPicture::pixels(const Paint& paint)
{
    if (m_bounds.isEmpty() || m_texture)
        return nullptr;
    if (m_image.isNull()) {
        if (!m_store.makeRoom(std::size_t(areaOf(m_bounds)) * 4))
            return nullptr;
        m_image = QImage(m_bounds.size(), QImage::Format_ARGB32_Premultiplied);
        bringPages(m_image);
        m_rows = std::make_shared<PixelRows>();
        m_store.add(*this, bytes());
        m_damage = m_bounds;
    }
    if (const QRegion area = takeDamage(); !area.isEmpty()) {
        paintInto(m_image, m_bounds.topLeft(), area, paint);
        m_rows->update(m_image, area.translated(-m_bounds.topLeft()));
    }
    return &m_image;
}

KeptTexture* KeptPicture::texture(KeptTextureMaker& maker, const Paint& paint)
{
    if (m_bounds.isEmpty() || !maker.canMake(m_bounds.size()))
        return nullptr;
    if (!m_texture || !maker.made(*m_texture)) {
        clear();
        if (!m_store.makeRoom(std::size_t(areaOf(m_bounds)) * 4))
            return nullptr;
        m_texture = maker.make(m_bounds.size());
        m_store.add(*this, bytes());
        m_damage = m_bounds;
    }
    if (const QRegion area = takeDamage(); !area.isEmpty())
        m_texture->paint(m_bounds.topLeft(), area, [&](RenderContext& context) {
            context.pushTransform(toPixels());
            paint(context);
            context.pop();
        });
    return m_texture.get();
}

QRegion KeptPicture::takeDamage()
{
    m_lastDraw = ++m_store.m_draws;
    QRegion area = m_damage.intersected(m_bounds);
    m_damage = {};
    return area;
}

void KeptPicture::paintInto(QImage& image, QPoint corner, const QRegion& area, const Paint& paint) const
{
    PainterContext context(image, area.translated(-corner));
    context.clear(Qt::transparent);
    context.pushTransform(Vecta::Transform::translation({float(-corner.x()), float(-corner.y())}) * toPixels());
    paint(context);
    context.pop();
}
}
