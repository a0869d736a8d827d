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
        const Vecta::Vector2f scale = picture.scale();
        pushLayer({float(bounds.x()) / scale.x, float(bounds.y()) / scale.y, float(bounds.width()) / scale.x,
                   float(bounds.height()) / scale.y},
                  opacity);
    }
    paint(*this);
    if (opacity < 1.f)
        pop();
    pop();
}
}
