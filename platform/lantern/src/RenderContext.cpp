#include <Lantern/RenderContext.hpp>

#include <Lantern/KeptPicture.hpp>

namespace Lantern
{
RenderContext::~RenderContext() = default;

void RenderContext::drawKept(KeptPicture& picture, Vecta::Vector2f place, float opacity,
                             const std::function<void(RenderContext&)>& paint)
{
    pushTransform(Vecta::Transform::translation(place));
    if (opacity < 1.f) {
        const QRect bounds = picture.bounds();
        pushLayer({float(bounds.x()), float(bounds.y()), float(bounds.width()), float(bounds.height())}, opacity);
    }
    paint(*this);
    if (opacity < 1.f)
        pop();
    pop();
}
}
