#pragma once

#include <Trellis/Operator.hpp>

namespace Host
{
/// Clears away what visitors opened and left: closes each child of its widget that has the host's class of temporary
/// content, once nobody has touched it for a while. Attach it to the main widget.
class TemporaryWidgets final : public Trellis::Operator
{
public:
    explicit TemporaryWidgets(float closeAfterSeconds);
    void update(Trellis::Widget& widget, const Trellis::FrameInfo& frame) override;

private:
    float m_closeAfterSeconds;
    float m_sinceLastLook = 0.f;
};
}
