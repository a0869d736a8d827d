#pragma once

#include <Bedrock/Color.hpp>
#include <Facet/AttributeT.hpp>
#include <Trellis/Widget.hpp>

#include <QString>

namespace Trellis
{
class TextWidget;
}

namespace Host
{
/// An invitation to put a card on the table: the outline of a card that comes down again and again while "moving" is true, and a
/// text below it. It takes no input. When it shows, and when it moves, is the style sheet's decision (":idle").
///
/// CSS type "InvitationWidget"; attributes "text", "moving", "card-size" (px), "card-color", "period" (seconds of frame time for
/// one movement). The text inside has the class "invitation-text". Main thread only.
class InvitationWidget final : public Trellis::Widget
{
public:
    InvitationWidget();

    /// How far the outline is from where it comes down, 1 to 0.
    [[nodiscard]] float lift() const noexcept { return m_lift; }

    void update(const Trellis::FrameInfo& frame) override;
    void renderContent(Lantern::RenderContext& context) const override;

protected:
    void attributeChanged(Facet::Attribute& attribute) override;

private:
    Facet::AttributeT<QString> m_text{this, "text"};
    Facet::AttributeT<bool> m_moving{this, "moving", false};
    Facet::AttributeT<float> m_cardSize{this, "card-size", 110.f};
    Facet::AttributeT<Bedrock::Color> m_cardColor{this, "card-color", Bedrock::Color{0.95f, 0.65f, 0.35f, 1.f}};
    Facet::AttributeT<float> m_period{this, "period", 3.f};
    Bedrock::IntrusivePtr<Trellis::TextWidget> m_textWidget;
    float m_phase = 0.f; ///< of the movement, 0 to 1
    float m_lift = 0.f;
};
}
