#pragma once

#include <Bedrock/Color.hpp>
#include <Vecta/Vector2T.hpp>

namespace Lantern
{
class RenderContext;
}

namespace Trellis
{
/// The look that every widget has: a ground and a border inside its rectangle. Colours are not premultiplied.
struct BoxLook
{
    Bedrock::Color background;
    Bedrock::Color border;
    float borderWidth = 0.f;
    float borderRadius = 0.f;
};

/// Draws it; what cannot be seen is not drawn.
void paintBox(Lantern::RenderContext& context, Vecta::Vector2f size, const BoxLook& look);
}
