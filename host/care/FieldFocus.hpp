#pragma once

#include <Trellis/Operator.hpp>

namespace Host
{
/// Gives the input field that it is attached to the focus, which opens the field's keyboard, when the field begins to show and
/// its "takes-focus" is on, and again when what was entered is refused (":invalid"). Attached by CareAttributes to fields with
/// that attribute. Main thread only.
class FieldFocus final : public Trellis::Operator
{
public:
    void update(Trellis::Widget& widget, const Trellis::FrameInfo& frame) override;

private:
    bool m_isWanted = false; ///< in the frame before
    bool m_isInvalid = false;
};
}
