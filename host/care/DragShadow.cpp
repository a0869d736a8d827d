#include "care/DragShadow.hpp"

#include <Lantern/RenderContext.hpp>
#include <Lantern/Style.hpp>

#include <algorithm>

namespace Host
{
namespace
{
using Vecta::Vector2f;

constexpr int kSteps = 12; ///< of the edge that gets fainter outwards
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
    Bedrock::Color color = m_color.value();
    color.alpha /= float(kSteps);
    const Lantern::Style style = Lantern::Style().setFill(color.premultiplied());
    const float spread = std::max(m_spread.value(), 0.f);
    for (int step = 0; step < kSteps; ++step) {
        const float inset = spread * 2.f * float(step) / float(kSteps);
        context.drawRect({inset, inset, std::max(width() - 2.f * inset, 0.f), std::max(height() - 2.f * inset, 0.f)},
                         std::max(spread * 1.5f - inset, 6.f), style);
    }
}
}
