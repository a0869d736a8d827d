// How a PainterContext draws boxes that a painter has no exact way for.

#include "BoxFillPixels.hpp"
#include "BoxFramePixels.hpp"
#include "PixelDrawing.hpp"
#include "ShadowPixels.hpp"
#include "ToQt.hpp"

namespace Lantern
{
namespace
{
bool canDraw(const PainterContext::Private& context, const RoundBox& box)
{
    return !box.rect.isEmpty() && isFinite(box.rect) && context.world.isInvertible() && context.opacity > 0.0;
}
}

void PainterContext::drawShadow(const RoundBox& box, const BoxShadow& shadow)
{
    if (canDraw(*d, box))
        drawPixels(*d, ShadowPixels(wantedPixels(*d), d->world, box.fitted(), shadow, d->opacity));
}

void PainterContext::drawBox(const RoundBox& box, const BoxFill& fill)
{
    if (canDraw(*d, box))
        drawPixels(*d, BoxFillPixels(wantedPixels(*d), d->world, box.fitted(), fill, d->opacity));
}

void PainterContext::drawFrame(const RoundBox& box, const BoxFrame& frame)
{
    if (canDraw(*d, box))
        drawPixels(*d, BoxFramePixels(wantedPixels(*d), d->world, box.fitted(), frame, d->opacity));
}
}
