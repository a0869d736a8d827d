#pragma once

#include <Bedrock/Color.hpp>
#include <Facet/AttributeT.hpp>
#include <Trellis/Widget.hpp>

namespace Host
{
/// The handle that closes what opened at a card: a child of it, with a cross and, while it is about to close, a ring that gets
/// shorter. A tap closes the parent at once. CSS type "CloseHandle"; attributes "cross-color" and "ring-color".
class CloseHandle final : public Trellis::Widget
{
public:
    static constexpr float kFadeSeconds = 0.6f;

    /// A handle in a widget, which owns it.
    static Bedrock::IntrusivePtr<CloseHandle> addTo(Trellis::Widget& parent);

    /// The part of the time before closing that is left, from 1 to 0; below 0: nothing closes soon, and no ring shows.
    void setRemaining(float part);
    [[nodiscard]] float remaining() const noexcept { return m_remaining; }

    void renderContent(Lantern::RenderContext& context) const override;

private:
    explicit CloseHandle(Trellis::Widget& parent);

    Facet::AttributeT<Bedrock::Color> m_crossColor{this, "cross-color", Bedrock::Color{0.12f, 0.17f, 0.22f, 1.f}};
    Facet::AttributeT<Bedrock::Color> m_ringColor{this, "ring-color", Bedrock::Color{0.77f, 0.34f, 0.1f, 1.f}};
    float m_remaining = -1.f;
};
}
