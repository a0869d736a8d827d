// The tooltips of a personal space: one at a time.

#include "personalspace/PersonalSpaceWidgetD.hpp"
#include "shared/IdPayload.hpp"
#include "shared/Placeholder.hpp"

#include <Bedrock/BinaryData.hpp>
#include <Tavola/TooltipWidget.hpp>
#include <Trellis/AfterIdleApplyLambdaOperator.hpp>
#include <Trellis/FadeAnimator.hpp>

namespace Tavola
{
namespace
{
constexpr float kTooltipFadeInSeconds = 0.2f;
constexpr float kTooltipFadeOutSeconds = 0.5f;

void close(Trellis::Widget& tooltip)
{
    Trellis::FadeAnimator::fadeOutAndDelete(tooltip, kTooltipFadeOutSeconds, 0.f);
}
}

void PersonalSpaceWidget::D::toggleTooltip(const QString& name, const Vecta::Vector2T<float>& location)
{
    // A tooltip that is fading out counts as open: its fade is requested again, and no other tooltip opens.
    if (const auto open = tooltip.lock()) {
        close(*open);
        return;
    }
    const Bedrock::IntrusivePtr<TooltipWidget> opened(new TooltipWidget(Bedrock::IntrusivePtr<Trellis::Widget>(&host)));
    opened->addCSSClass(name.toUtf8());

    const bool uploads = collectionMode.value() == CollectionMode::Upload;
    const QString& address = uploads ? userPageUrl.value() : userEmail.value();
    if (!spaceInfo.value().isEmpty() && name == QLatin1String("help"))
        opened->setText(infoText());
    else if (!address.isEmpty())
        opened->setText(fillPlaceholder(opened->text(), address));

    opened->setLocation(location);
    opened->raiseToTop();
    opened->addOperator(Bedrock::makeIntrusive<Trellis::AfterIdleApplyLambdaOperator>(
        tooltipTimeout.value(), [](Trellis::Widget& widget) { close(widget); }, false));
    Trellis::FadeAnimator::fadeIn(*opened, kTooltipFadeInSeconds, 0.f);
    tooltip = opened;

    auto payload = idPayload(opened->textWidget()->id());
    host.eventSend("stylable-widget-added", payload);
}

void PersonalSpaceWidget::D::closeTooltip()
{
    if (const auto open = tooltip.lock())
        close(*open);
}
}
