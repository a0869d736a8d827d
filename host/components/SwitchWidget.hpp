#pragma once

#include <Facet/AttributeT.hpp>
#include <Trellis/TextWidget.hpp>

#include <QString>

namespace Host
{
/// A text that switches a state of the table: a tap gives the root the pseudo-class that "state" names, or takes it away. The
/// state ends when the table becomes idle, so that the next visitor finds it as the presentation has it. CSS type "SwitchWidget".
/// Main thread only.
class SwitchWidget final : public Trellis::TextWidget
{
public:
    SwitchWidget();
    void update(const Trellis::FrameInfo& frame) override;

private:
    Facet::AttributeT<QString> m_state{this, "state"};
};
}
