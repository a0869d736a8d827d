#include "care/FieldFocus.hpp"

#include <Facet/AttributeT.hpp>
#include <Tavola/InputFieldWidget.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/FadeAnimator.hpp>
#include <Trellis/TextEditWidget.hpp>

namespace Host
{
void FieldFocus::update(Trellis::Widget& widget, const Trellis::FrameInfo& /*frame*/)
{
    const auto* const field = dynamic_cast<const Tavola::InputFieldWidget*>(&widget);
    if (!field) {
        setDone();
        return;
    }
    const auto* const takesFocus = dynamic_cast<const Facet::AttributeT<bool>*>(widget.attribute("takes-focus"));
    const bool isClosing = widget.nearest([](const Trellis::Widget& w) { return Trellis::FadeAnimator::isFadingOut(w); });
    const bool isWanted = takesFocus && takesFocus->value() && widget.isVisible() && !isClosing;
    const bool isInvalid = widget.hasPseudoClass("invalid");
    const bool hasBegun = isWanted && !m_isWanted;
    const bool isRefused = isInvalid && !m_isInvalid;
    m_isWanted = isWanted;
    m_isInvalid = isInvalid;
    if (isWanted && (hasBegun || isRefused))
        Trellis::Application::instance()->setFocusWidget(field->editor().get());
}
}
