#pragma once

#include "draw/DrawScene.hpp"

#include <memory>

namespace Lantern
{
class PaintTarget;
}

namespace Bench
{
/// One of the two programs that draw a scene. Items are named by their index in the scene, and tiles by that in their item;
/// tile -1 is the item itself. `draw` brings the picture up to date and is all of the work that a frame takes.
class DrawSide
{
public:
    virtual ~DrawSide() = default;
    virtual void move(int item, int tile, QPointF by) = 0;
    virtual void turn(int item, int tile, double byRadians) = 0;
    virtual void setScale(int item, double scale) = 0;
    /// Everything in the item fades as one picture.
    virtual void setOpacity(int item, double opacity) = 0;
    virtual void damageAll() = 0;
    /// Loses the picture: what is not drawn anew is black.
    virtual void clear() = 0;
    virtual void draw() = 0;
    [[nodiscard]] virtual const QImage& picture() const = 0;
};

/// `screenScale`: the table is so many times smaller than the scene, on a screen that shows it so many times larger.
[[nodiscard]] std::unique_ptr<DrawSide> makeTrellisSide(const DrawScene& scene, double screenScale = 1.0);
/// On a target of its own, of which there is no picture.
[[nodiscard]] std::unique_ptr<DrawSide> makeTrellisSide(const DrawScene& scene, std::unique_ptr<Lantern::PaintTarget> target);

/// What the rival keeps as pixels, in as much memory as the table may use.
enum class RivalCache {
    None,
    Items, ///< each item by itself (QGraphicsItem::DeviceCoordinateCache)
    Groups ///< each item on the table with what is in it, by a QGraphicsEffect
};
[[nodiscard]] std::unique_ptr<DrawSide> makeGraphicsViewSide(const DrawScene& scene, RivalCache cache = RivalCache::None);
}
