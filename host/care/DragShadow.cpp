#include "care/DragShadow.hpp"

#include <Lantern/BoxShadow.hpp>
#include <Lantern/RenderContext.hpp>
#include <Lantern/RoundBox.hpp>

#include <algorithm>

namespace Host
{
namespace
{
using Vecta::Vector2f;

constexpr float kCornerPx = 6.f;
}

Bedrock::IntrusivePtr<DragShadow> DragShadow::make()
{
    const Bedrock::IntrusivePtr<DragShadow> shadow(new DragShadow());
    shadow->postConstruct();
    return shadow;
}

DragShadow::DragShadow()
{
    setCSSType("DragShadow");
    setInputEnabled(false);
}

void DragShadow::follow(const Trellis::Widget& dragged)
{
    const float scale = std::max(dragged.scale(), 0.01f);
    const float spread = m_spread.value();
    const Vector2f size = dragged.size() * scale + Vector2f(spread, spread) * 2.f;
    // Down on the table, however the widget is turned.
    const Vector2f corner =
        dragged.location() + Vector2f(0.f, m_drop.value()) - Vector2f(spread, spread).rotated(dragged.rotation());
    if (this->size() != size)
        setSize(size);
    if (rotation() != dragged.rotation())
        setRotation(dragged.rotation());
    if (location() != corner)
        setLocation(corner);
}

void DragShadow::renderContent(Lantern::RenderContext& context) const
{
    const float spread = std::max(m_spread.value(), 0.f);
    const Vector2f drop = Vector2f(0.f, m_drop.value()).rotated(-rotation());
    const Vecta::Rect widget{spread - drop.x, spread - drop.y, std::max(width() - 2.f * spread, 0.f),
                             std::max(height() - 2.f * spread, 0.f)};
    Lantern::BoxShadow shadow;
    shadow.offset = drop;
    shadow.blurPx = 1.f; // whose reach says how much blur reaches as far as the shadow spreads
    shadow.blurPx = spread / shadow.blurReachPx();
    shadow.color = m_color.value();
    context.drawShadow({widget, Lantern::Corners::all(kCornerPx)}, shadow);
}
}
