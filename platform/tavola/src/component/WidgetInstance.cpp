#include <Tavola/WidgetInstance.hpp>

#include <Bedrock/Trace.hpp>
#include <Tavola/Component.hpp>
#include <Trellis/Widget.hpp>

namespace Tavola
{
WidgetInstance::WidgetInstance(std::shared_ptr<Component> component, Bedrock::IntrusivePtr<Trellis::Widget> widget)
    : m_component(std::move(component)), m_newWidget(std::move(widget)), m_widget(m_newWidget)
{
}

WidgetInstance::~WidgetInstance() = default;

void WidgetInstance::componentAddedToSlot(const QByteArray&, std::shared_ptr<Component>) {}

void WidgetInstance::componentRemovedFromSlot(const QByteArray&, std::shared_ptr<Component>) {}

Bedrock::IntrusivePtr<Trellis::Widget> WidgetInstance::widget() const
{
    return m_widget.lock();
}

Bedrock::IntrusivePtr<Trellis::Widget> WidgetInstance::createInstanceWidget(const QByteArray& slot,
                                                                            std::shared_ptr<Component> component,
                                                                            bool addToWidget)
{
    const auto made = std::dynamic_pointer_cast<UIComponent>(component);
    if (!made) {
        Bedrock::Trace::warning("WidgetInstance::createInstanceWidget # What is in slot '%s' of '%s' makes no widget (%s)",
                                slot.constData(), m_component ? qUtf8Printable(m_component->name()) : "",
                                component ? qUtf8Printable(component->name()) : "nothing");
        return nullptr;
    }
    auto content = made->createContentWidget();
    const auto own = widget();
    if (content && addToWidget && own)
        own->addChild(content);
    return content;
}
}
