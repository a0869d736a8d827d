#pragma once

#include <Bedrock/Color.hpp>
#include <Vecta/Vector2T.hpp>

namespace Lantern
{
class RenderContext;
}

namespace Trellis
{
/// What every widget can show: a ground and a border inside its rectangle. Colours are not premultiplied.
struct BoxStyle
{
    Bedrock::Color background;
    Bedrock::Color border;
    float borderWidth = 0.f;
    float borderRadius = 0.f;
};

/// Draws it; what cannot be seen is not drawn.
void paintBox(Lantern::RenderContext& context, Vecta::Vector2f size, const BoxStyle& boxStyle);
}
