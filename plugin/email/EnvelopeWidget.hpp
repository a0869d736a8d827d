#pragma once

#include <Trellis/ImageWidget.hpp>

namespace Tavola
{
/// The picture of an envelope, with a rotating ring over it while "draw-progress" is true. CSS type "EnvelopeWidget", class
/// "envelope". Picture and size come from the style sheet. Main thread only.
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
    float m_elapsed = 0.f; ///< seconds with "draw-progress" true since it last changed
};
}
