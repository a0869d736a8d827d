#include "detector/PersonalTesselDetectorInstance.hpp"

#include "frame/PersonalTesselWidget.hpp"

#include <Tavola/Tavola.hpp>
#include <Tavola/UserInterface.hpp>

namespace Tavola
{
PersonalTesselDetectorInstance::PersonalTesselDetectorInstance(std::shared_ptr<Component> component,
                                                               Bedrock::IntrusivePtr<Trellis::Widget> widget)
    : WidgetInstance(std::move(component), std::move(widget))
{
}

PersonalTesselDetectorInstance::~PersonalTesselDetectorInstance() = default;

Bedrock::IntrusivePtr<PersonalTesselWidget> PersonalTesselDetectorInstance::createPersonalWidget()
{
    const auto application = Tavola::instance();
    if (!application)
        return nullptr;
    return Bedrock::dynamicPointerCast<PersonalTesselWidget>(
        application->ui()->createStockWidget(QLatin1String("personal-space-widget"), "main"));
}
}
