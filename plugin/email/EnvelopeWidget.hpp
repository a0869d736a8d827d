#pragma once

#include <Trellis/ImageWidget.hpp>

namespace Tavola
{
/// The picture of an envelope, with a turning ring over it while "draw-progress" is on. CSS type "EnvelopeWidget", class
/// "envelope". Picture, size and the time of the ring come from the style sheet.
///
/// Attributes: "draw-progress" (bool, false), "animation-time" (seconds for a full turn, 4).
class EnvelopeWidget final : public Trellis::ImageWidget
{
public:
    explicit EnvelopeWidget(Trellis::Widget* parent);
    ~EnvelopeWidget() override;

    void update(const Trellis::FrameInfo& frame) override;
    void renderContent(Lantern::RenderContext& context) const override;

private:
    void drawProgressChanged();

    Facet::AttributeT<bool> m_drawProgress{this, "draw-progress", false};
    Facet::AttributeT<float> m_animationTime{this, "animation-time", 4.f};
    float m_elapsed = 0.f; ///< seconds that the ring has been on since "draw-progress" last changed
};
}
