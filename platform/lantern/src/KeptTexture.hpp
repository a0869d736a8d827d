#pragma once

#include <QPoint>
#include <QSize>

#include <functional>
#include <memory>

class QRegion;

namespace Lantern
{
class RenderContext;

/// The pixels of a kept picture on a graphics card. Freed when a context of the card is next current.
class KeptTexture
{
public:
    virtual ~KeptTexture() = default;
    /// Paints the part `area` of a group, by `paint` around the group's origin; the top left pixel is at `corner`.
    virtual void paint(QPoint corner, const QRegion& area, const std::function<void(RenderContext&)>& paint) = 0;
};

/// Makes textures for one window.
class KeptTextureMaker
{
public:
    virtual ~KeptTextureMaker() = default;
    /// Whether the card has textures that large.
    [[nodiscard]] virtual bool canMake(QSize pixels) = 0;
    [[nodiscard]] virtual std::unique_ptr<KeptTexture> make(QSize pixels) = 0;
    /// False for textures of another window, also of one that is gone.
    [[nodiscard]] virtual bool made(const KeptTexture& texture) const = 0;
};
}
