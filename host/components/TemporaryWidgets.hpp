#pragma once

#include <Trellis/Operator.hpp>

namespace Host
{
/// Closes what visitors opened and left: each child of its widget with the class of temporary content fades out when it has not
/// been touched for the given time. Attach it to the main widget.
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
