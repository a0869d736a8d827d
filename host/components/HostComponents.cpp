#include "components/HostComponents.hpp"

#include "components/InvitationWidget.hpp"
#include "components/PanelInstance.hpp"
#include "components/SwitchWidget.hpp"

#include <Tavola/Component.hpp>
#include <Tavola/ContentMenuWidget.hpp>
#include <Tavola/ContentWidget.hpp>
#include <Tavola/DocumentWidget.hpp>
#include <Tavola/LinkWidget.hpp>
#include <Tavola/Tavola.hpp>
#include <Tavola/TextFileWidget.hpp>
#include <Trellis/ImageWidget.hpp>

namespace Host
{
namespace
{
template <class W>
Bedrock::IntrusivePtr<Trellis::Widget> makeWidget(const char* cssClass)
{
    Bedrock::IntrusivePtr<Trellis::Widget> widget(new W());
    widget->postConstruct();
    if (cssClass)
        widget->addCSSClass(cssClass);
    return widget;
}

template <class W>
std::shared_ptr<Tavola::ComponentFactory> factory(const char* cssClass = nullptr)
{
    auto result = std::make_shared<Tavola::ComponentFactory>();
    result->create = [cssClass] {
        return std::make_shared<Tavola::WidgetComponent>([cssClass] { return makeWidget<W>(cssClass); });
    };
    result->type = &typeid(Tavola::WidgetComponent);
    return result;
}

std::shared_ptr<Tavola::ComponentFactory> panelFactory()
{
    auto result = std::make_shared<Tavola::ComponentFactory>();
    result->create = [] {
        return std::make_shared<Tavola::CustomWidgetInstanceComponent>(
            [] { return makeWidget<Trellis::Widget>(nullptr); },
            [](std::shared_ptr<Tavola::Component> component,
               Bedrock::IntrusivePtr<Trellis::Widget> widget) -> std::shared_ptr<Tavola::WidgetInstance> {
                return std::make_shared<PanelInstance>(std::move(component), std::move(widget));
            });
    };
    result->type = &typeid(Tavola::CustomWidgetInstanceComponent);
    return result;
}
}

HostComponents::HostComponents(Tavola::Tavola& application) : m_application(application)
{
    const auto add = [this](const char* name, std::shared_ptr<Tavola::ComponentFactory> entry) {
        m_entries.push_back(m_application.registerFactory(QLatin1String(name), std::move(entry)));
    };
    add("picture", factory<Tavola::ContentWidget>("picture"));
    add("document", factory<Tavola::DocumentWidget>("document"));
    add("link", factory<Tavola::LinkWidget>());
    add("text", factory<Tavola::TextFileWidget>());
    add("image", factory<Trellis::ImageWidget>());
    add("content-menu", factory<Tavola::ContentMenuWidget>());
    add("invitation", factory<InvitationWidget>());
    add("switch", factory<SwitchWidget>());
    add("panel", panelFactory());
}

HostComponents::~HostComponents()
{
    for (auto it = m_entries.rbegin(); it != m_entries.rend(); ++it)
        m_application.unregisterFactory(*it);
}
}
