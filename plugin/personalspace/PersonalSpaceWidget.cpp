#include "personalspace/PersonalSpaceWidget.hpp"

#include "personalspace/PersonalSpaceWidgetD.hpp"

namespace Tavola
{
PersonalSpaceWidget::PersonalSpaceWidget() : PersonalTesselWidget(nullptr), d(std::make_unique<D>(*this))
{
    setCSSType("PersonalSpaceWidget");
    updateStyle();
    addCSSClass("initial-view");
    eventAddOut("stylable-widget-added");
    d->build();
}

PersonalSpaceWidget::~PersonalSpaceWidget()
{
    // Removes the listeners on the contents, which outlive this widget.
    d->releaseContentWidget();
}

void PersonalSpaceWidget::setCode(unsigned long code)
{
    d->code = code;
    d->updateCode();
}

void PersonalSpaceWidget::setProperties(const TesselServiceAPI::PersonalMarkerProperties& properties)
{
    d->userName.setValue(properties.name, Facet::kUserLayer);
    d->userEmail.setValue(properties.email, Facet::kUserLayer);
}

std::vector<Bedrock::IntrusivePtr<Trellis::Widget>> PersonalSpaceWidget::stylableWidgets() const
{
    auto widgets = d->stylable;
    if (const auto tooltip = d->tooltip.lock())
        widgets.push_back(tooltip->textWidget());
    return widgets;
}

void PersonalSpaceWidget::addWidget(Trellis::Widget& widget)
{
    if (d->contentWidget)
        d->contentWidget->addItem(Bedrock::IntrusivePtr<Trellis::Widget>(&widget));
}
}
