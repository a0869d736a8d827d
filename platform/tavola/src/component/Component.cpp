#include <Tavola/Component.hpp>

#include "component/ComponentProperties.hpp"

#include <Bedrock/Guarded.hpp>
#include <Bedrock/Trace.hpp>
#include <Facet/Node.hpp>
#include <Tavola/Tavola.hpp>
#include <Tavola/WidgetInstance.hpp>
#include <Trellis/Widget.hpp>

#include <algorithm>

namespace Tavola
{
Component::Component() = default;

Component::~Component() = default;

UIComponent::~UIComponent() = default;

std::shared_ptr<WidgetInstance> UIComponent::createInstance()
{
    const auto failed = [this](const char* reason) {
        Bedrock::Trace::error("UIComponent::createInstance # Component '%s' failed (%s)", qUtf8Printable(name()), reason);
    };
    std::shared_ptr<WidgetInstance> instance;
    if (!Bedrock::guarded([&] { instance = makeInstance(); }, failed))
        return nullptr;
    const auto widget = instance ? instance->widget() : nullptr;
    if (!widget) {
        Bedrock::Trace::warning("UIComponent::createInstance # Component '%s' made no widget", qUtf8Printable(name()));
        return nullptr;
    }
    if (const auto application = Tavola::instance())
        application->keepInstance(*widget, instance);
    // The caller has until the end of the frame to put the widget into the tree.
    Facet::Node::invokeAfterUpdate([weakInstance = std::weak_ptr<WidgetInstance>(instance)] {
        if (const auto made = weakInstance.lock())
            made->m_newWidget.reset();
    });
    bool isWhole = false;
    if (!Bedrock::guarded([&] { isWhole = applyProperties(*this, *widget); }, failed) || !isWhole) {
        instance->m_newWidget.reset();
        return nullptr;
    }
    m_instances.erase(std::remove_if(m_instances.begin(), m_instances.end(), [](const auto& weak) { return weak.expired(); }),
                      m_instances.end());
    m_instances.push_back(instance);
    const auto slotsNow = m_slots; // an instance may assign while it reads its slots
    for (const Slot& slot : slotsNow)
        for (const auto& component : slot.components)
            Bedrock::guarded([&] { instance->componentAddedToSlot(slot.name, component); }, failed);
    return instance;
}

Bedrock::IntrusivePtr<Trellis::Widget> UIComponent::createContentWidget()
{
    const auto instance = createInstance();
    return instance ? instance->widget() : nullptr;
}

std::vector<std::shared_ptr<Component>> UIComponent::assignments(const QByteArray& slot) const
{
    for (const Slot& present : m_slots)
        if (present.name == slot)
            return present.components;
    return {};
}

void UIComponent::assign(const QByteArray& slot, std::shared_ptr<Component> component)
{
    if (!component) {
        Bedrock::Trace::warning("UIComponent::assign # Nothing to put into slot '%s' of '%s'", slot.constData(),
                                qUtf8Printable(name()));
        return;
    }
    auto place = std::find_if(m_slots.begin(), m_slots.end(), [&](const Slot& present) { return present.name == slot; });
    if (place == m_slots.end())
        place = m_slots.insert(m_slots.end(), Slot{slot, {}});
    place->components.push_back(component);

    const auto told = m_instances;
    for (const auto& weak : told)
        if (const auto instance = weak.lock())
            instance->componentAddedToSlot(slot, component);
}

void UIComponent::unassign(const QByteArray& slot, const std::shared_ptr<Component>& component)
{
    const auto place = std::find_if(m_slots.begin(), m_slots.end(), [&](const Slot& present) { return present.name == slot; });
    if (place == m_slots.end())
        return;
    const auto found = std::find(place->components.begin(), place->components.end(), component);
    if (found == place->components.end())
        return;
    const std::shared_ptr<Component> removed = *found; // `component` may be an element of the list
    place->components.erase(found);

    const auto told = m_instances;
    for (const auto& weak : told)
        if (const auto instance = weak.lock())
            instance->componentRemovedFromSlot(slot, removed);
}

WidgetComponent::WidgetComponent(WidgetFunction widgetFunction) : m_widgetFunction(std::move(widgetFunction)) {}

std::shared_ptr<WidgetInstance> WidgetComponent::makeInstance()
{
    auto widget = m_widgetFunction ? m_widgetFunction() : nullptr;
    return widget ? std::make_shared<WidgetInstance>(shared_from_this(), std::move(widget)) : nullptr;
}

CustomWidgetInstanceComponent::CustomWidgetInstanceComponent(WidgetFunction widgetFunction, InstanceFunction instanceFunction)
    : m_widgetFunction(std::move(widgetFunction)), m_instanceFunction(std::move(instanceFunction))
{
}

std::shared_ptr<WidgetInstance> CustomWidgetInstanceComponent::makeInstance()
{
    auto widget = m_widgetFunction ? m_widgetFunction() : nullptr;
    return widget && m_instanceFunction ? m_instanceFunction(shared_from_this(), std::move(widget)) : nullptr;
}
}
