#include "components/SwitchWidget.hpp"

#include <Trellis/Application.hpp>

namespace Host
{
SwitchWidget::SwitchWidget()
{
    setCSSType("SwitchWidget");
    eventAddListener("single-tap", [this] {
        const QByteArray state = m_state.value().toUtf8();
        if (state.isEmpty())
            return;
        Trellis::Widget& root = *Trellis::Application::instance()->mainLayer();
        root.setPseudoClass(state, !root.hasPseudoClass(state));
        setUpdating(root.hasPseudoClass(state));
    });
}

void SwitchWidget::update(const Trellis::FrameInfo& frame)
{
    TextWidget::update(frame);
    Trellis::Widget& root = *Trellis::Application::instance()->mainLayer();
    if (!root.hasPseudoClass("idle"))
        return;
    root.setPseudoClass(m_state.value().toUtf8(), false);
    setUpdating(false);
}
}
