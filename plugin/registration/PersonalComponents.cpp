#include "registration/PersonalComponents.hpp"

#include "detector/PersonalTesselDetectorInstance.hpp"
#include "detector/PersonalTesselDetectorWidget.hpp"
#include "email/EmailSendingPopupWidget.hpp"
#include "folder/PersonalFolderWidget.hpp"
#include "folder/PersonalFolderWidgetInstance.hpp"
#include "personalspace/PersonalSpaceWidget.hpp"

#include <Tavola/Component.hpp>

namespace Tavola
{
namespace
{
template <class WidgetType>
Bedrock::IntrusivePtr<Trellis::Widget> makeWidget()
{
    const auto widget = Bedrock::makeIntrusive<WidgetType>();
    widget->postConstruct();
    return widget;
}

template <class InstanceType>
std::shared_ptr<WidgetInstance> makeWidgetInstance(std::shared_ptr<Component> component,
                                                   Bedrock::IntrusivePtr<Trellis::Widget> widget)
{
    return std::make_shared<InstanceType>(std::move(component), std::move(widget));
}
}

std::shared_ptr<WidgetComponent> makePersonalSpaceComponent()
{
    return std::make_shared<WidgetComponent>(makeWidget<PersonalSpaceWidget>);
}

std::shared_ptr<WidgetComponent> makeEmailPopupComponent()
{
    return std::make_shared<WidgetComponent>(makeWidget<EmailSendingPopupWidget>);
}

std::shared_ptr<CustomWidgetInstanceComponent> makePersonalFolderComponent()
{
    return std::make_shared<CustomWidgetInstanceComponent>(makeWidget<PersonalFolderWidget>,
                                                           makeWidgetInstance<PersonalFolderWidgetInstance>);
}

std::shared_ptr<CustomWidgetInstanceComponent> makeTesselDetectorComponent()
{
    return std::make_shared<CustomWidgetInstanceComponent>(makeWidget<PersonalTesselDetectorWidget>,
                                                           makeWidgetInstance<PersonalTesselDetectorInstance>);
}
}
