#include "tree/BoxPainter.hpp"

#include <Lantern/RenderContext.hpp>
#include <Lantern/Style.hpp>

#include <algorithm>

namespace Trellis
{
void paintBox(Lantern::RenderContext& context, Vecta::Vector2f size, const BoxStyle& boxStyle)
{
    const Vecta::Rect box{0.f, 0.f, size.x, size.y};
    const bool hasGround = boxStyle.background.alpha > 0.f;
    const float width = std::min({boxStyle.borderWidth, size.x / 2.f, size.y / 2.f});
    const bool hasBorder = boxStyle.border.alpha > 0.f && width > 0.f;
    if (box.isEmpty() || (!hasGround && !hasBorder))
        return;
    const float radius = std::clamp(boxStyle.borderRadius, 0.f, std::min(size.x, size.y) / 2.f);

    Lantern::Style style;
    if (hasGround)
        style.setFill(boxStyle.background.premultiplied());
    if (!hasBorder) {
        context.drawRect(box, radius, style);
        return;
    }
    // Under an opaque border the ground need not show; where both were drawn to the edge, the ground would shine through
    // the border's outermost pixels.
    if (hasGround && boxStyle.border.alpha < 1.f) {
        context.drawRect(box, radius, style);
        style.setNoFill();
    }
    style.setStroke(boxStyle.border.premultiplied(), width);
    const float half = width / 2.f;
    context.drawRect({half, half, size.x - width, size.y - width}, std::max(0.f, radius - half), style);
}
}
