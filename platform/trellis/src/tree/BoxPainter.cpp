#include "tree/BoxPainter.hpp"

#include "tree/DrawingRecord.hpp"

#include <Lantern/BoxFill.hpp>
#include <Lantern/RenderContext.hpp>
#include <Lantern/RoundBox.hpp>
#include <Lantern/Style.hpp>

#include <algorithm>

namespace Trellis
{
namespace
{
bool isSameAllAround(const Lantern::BoxFrame& f, const Lantern::Corners& c)
{
    return f.top == f.right && f.top == f.bottom && f.top == f.left && f.topColor == f.rightColor && f.topColor == f.bottomColor
        && f.topColor == f.leftColor && c == Lantern::Corners::all(c.topLeft.x);
}

/// The sides of a border, made to fit, and the corners.
struct Frame
{
    Frame(const DrawingRecord& drawing, Vecta::Vector2f size)
        : sides(drawing.frame()), box{{0.f, 0.f, size.x, size.y}, drawing.corners()}, isPlain(isSameAllAround(sides, box.corners))
    {
        for (float* width : {&sides.left, &sides.right})
            *width = std::clamp(*width, 0.f, size.x / 2.f);
        for (float* width : {&sides.top, &sides.bottom})
            *width = std::clamp(*width, 0.f, size.y / 2.f);
        if (isPlain) {
            const float width = std::min(sides.left, sides.top);
            sides.top = sides.right = sides.bottom = sides.left = width;
        }
        box = box.fitted();
    }
    [[nodiscard]] bool isSeen() const
    {
        const auto isSideSeen = [](float width, const Bedrock::Color& color) { return width > 0.f && color.alpha > 0.f; };
        return isSideSeen(sides.top, sides.topColor) || isSideSeen(sides.right, sides.rightColor)
            || isSideSeen(sides.bottom, sides.bottomColor) || isSideSeen(sides.left, sides.leftColor);
    }
    /// Inside of the border.
    [[nodiscard]] Lantern::RoundBox inner() const { return box.inside(sides.top, sides.right, sides.bottom, sides.left); }
    /// Of a plain one.
    [[nodiscard]] float radius() const { return box.corners.topLeft.x; }

    Lantern::BoxFrame sides;
    Lantern::RoundBox box;
    bool isPlain; ///< all sides and all corners are the same
};

/// The first shadow lies on top.
void paintShadows(Lantern::RenderContext& context, const Lantern::RoundBox& box, const ShadowList& list, bool inset)
{
    for (auto shadow = list.shadows.rbegin(); shadow != list.shadows.rend(); ++shadow)
        if (shadow->isInset == inset)
            context.drawShadow(box, *shadow);
}

void paintGround(Lantern::RenderContext& context, const Frame& frame, const Bedrock::Color& color)
{
    if (color.alpha <= 0.f)
        return;
    if (frame.isPlain) {
        context.drawRect(frame.box.rect, frame.radius(), Lantern::Style().setFill(color.premultiplied()));
        return;
    }
    Lantern::BoxFill fill;
    fill.color = color;
    context.drawBox(frame.box, fill);
}

/// The first picture lies on top.
void paintPictures(Lantern::RenderContext& context, const Frame& frame, const DrawingRecord& drawing)
{
    const BackgroundAttributes& background = *drawing.background;
    const auto& images = background.images.value().entries;
    const Vecta::Rect area = frame.inner().rect;
    for (std::size_t i = images.size(); i-- > 0;) {
        const BackgroundImage& image = images[i];
        Lantern::BoxFill fill;
        Vecta::Vector2f own;
        if (!image.gradient) {
            if (!drawing.pictures || i >= drawing.pictures->size() || (*drawing.pictures)[i].image.isNull())
                continue;
            const BackgroundPicture& picture = (*drawing.pictures)[i];
            fill.image = picture.image;
            own = {float(picture.fullSize.width()), float(picture.fullSize.height())};
        }
        fill.tile = backgroundTile(area, own, background.sizes.value().of(i), background.positions.value().of(i));
        if (fill.tile.isEmpty())
            continue;
        if (image.gradient)
            fill.gradient = image.gradient->in({fill.tile.width, fill.tile.height});
        const BackgroundRepeat repeat = background.repeats.value().of(i);
        fill.repeatsX = repeat.x;
        fill.repeatsY = repeat.y;
        context.drawBox(frame.box, fill);
    }
}

void paintBorder(Lantern::RenderContext& context, const Frame& frame)
{
    if (!frame.isPlain) {
        context.drawFrame(frame.box, frame.sides);
        return;
    }
    const float width = frame.sides.top;
    const float half = width / 2.f;
    const Vecta::Rect& box = frame.box.rect;
    context.drawRect({half, half, box.width - width, box.height - width}, std::max(0.f, frame.radius() - half),
                     Lantern::Style().setStroke(frame.sides.topColor.premultiplied(), width));
}

/// Where only the ground lies under an opaque border, it ends there: drawn to the edge, it would shine through the border's
/// outermost pixels.
void paintGroundWithBorder(Lantern::RenderContext& context, const Frame& frame, const Bedrock::Color& ground)
{
    const float width = frame.sides.top;
    const float half = width / 2.f;
    const Vecta::Rect& box = frame.box.rect;
    context.drawRect({half, half, box.width - width, box.height - width}, std::max(0.f, frame.radius() - half),
                     Lantern::Style().setFill(ground.premultiplied()).setStroke(frame.sides.topColor.premultiplied(), width));
}
}

void paintBox(Lantern::RenderContext& context, Vecta::Vector2f size, const DrawingRecord& drawing)
{
    const Bedrock::Color& ground = drawing.backgroundColor.value();
    const auto& shadows = drawing.decoration->boxShadow.value();
    const bool isBare = !drawing.border.isMade() && !drawing.sides.isMade() && shadows.shadows.empty() && !drawing.pictures;
    if (size.x <= 0.f || size.y <= 0.f || (isBare && ground.alpha <= 0.f))
        return;
    const Frame frame(drawing, size);
    paintShadows(context, frame.box, shadows, false);
    const bool hasBorder = frame.isSeen();
    const bool hasInset = std::any_of(shadows.shadows.begin(), shadows.shadows.end(), [](const auto& s) { return s.isInset; });
    if (hasBorder && frame.isPlain && !hasInset && !drawing.pictures && ground.alpha > 0.f && frame.sides.topColor.alpha >= 1.f) {
        paintGroundWithBorder(context, frame, ground);
        return;
    }
    paintGround(context, frame, ground);
    if (drawing.pictures)
        paintPictures(context, frame, drawing);
    if (hasInset)
        paintShadows(context, frame.inner(), shadows, true);
    if (hasBorder)
        paintBorder(context, frame);
}
}
