#pragma once

#include <Bedrock/Color.hpp>
#include <Tavola/KeyboardLayout.hpp>
#include <Vecta/Rect.hpp>

namespace Lantern
{
class RenderContext;
}

namespace Tavola
{
/// The signs on the keys that type nothing. They are drawn, so that they do not depend on fonts.
namespace KeyIcon
{
[[nodiscard]] bool has(KeyboardKey::Action action);
/// Draws the sign in the middle of `box`. `marked`: with the line of a locked shift.
void draw(Lantern::RenderContext& context, KeyboardKey::Action action, const Vecta::Rect& box, float sizePx,
          const Bedrock::Color& color, bool marked);
}
}
