#include "email/EmailSendingPopupWidget.hpp"

#include "email/EmailSendingPopupWidgetD.hpp"
#include "shared/Placeholder.hpp"

namespace Tavola
{
EmailSendingPopupWidget::EmailSendingPopupWidget() : Trellis::Widget(nullptr), d(std::make_unique<D>(*this))
{
    setCSSType("EmailSendingPopupWidget");
    d->build();
}

EmailSendingPopupWidget::~EmailSendingPopupWidget() = default;

void EmailSendingPopupWidget::emailWidget(Trellis::Widget& content, bool confirm,
                                          const TesselServiceAPI::PersonalMarkerProperties& owner)
{
    d->name = owner.name;
    d->address = owner.email;
    if (confirm) {
        addCSSClass("waiting-to-send");
        d->info->setText(fillPlaceholder(d->info->text(), d->address));
    } else {
        d->ready = true;
    }
    d->addContent(content);
}

std::vector<Bedrock::IntrusivePtr<Trellis::Widget>> EmailSendingPopupWidget::stylableWidgets() const
{
    return d->stylableTexts;
}
}
