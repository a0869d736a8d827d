#pragma once

#include <Bedrock/Color.hpp>
#include <Facet/AttributeT.hpp>
#include <Trellis/Widget.hpp>

namespace Host
{
/// The soft shadow around a widget that is being dragged; there is none under the widget itself. Takes no input. CSS type
/// "DragShadow"; attributes "shadow-color", "spread" and "drop" (how far it reaches beyond the widget, and how far it lies below
/// it; table pixels). Owned by the layer that it was added to. Main thread only.
class DragShadow final : public Trellis::Widget
{
public:
    static Bedrock::IntrusivePtr<DragShadow> make();

    /// Lies down below the widget, a sibling, as this is now turned and scaled.
    void follow(const Trellis::Widget& dragged);
    void renderContent(Lantern::RenderContext& context) const override;

private:
    DragShadow();

    Facet::AttributeT<Bedrock::Color> m_color{this, "shadow-color", Bedrock::Color{0.f, 0.f, 0.f, 0.55f}};
    Facet::AttributeT<float> m_spread{this, "spread", 18.f};
    Facet::AttributeT<float> m_drop{this, "drop", 14.f};
};
}
