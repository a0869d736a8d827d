#include <Tavola/Component.hpp>

#include "component/AttributeValues.hpp"

#include <Bedrock/Trace.hpp>
#include <Facet/Node.hpp>
#include <Tavola/Tavola.hpp>
#include <Tavola/WidgetInstance.hpp>
#include <Trellis/Widget.hpp>

#include <QJsonArray>

#include <algorithm>

namespace Tavola
{
namespace
{
void warnOfProperty(const Component& component, const QString& property, const QString& what)
{
    Bedrock::Trace::warning("UIComponent # Component '%s': property \"%s\": %s; skipped", qUtf8Printable(component.name()),
                            qUtf8Printable(property), qUtf8Printable(what));
}

void applyClasses(const Component& component, const QJsonValue& classes, Trellis::Widget& widget)
{
    if (classes.isUndefined())
        return;
    if (!classes.isArray()) {
        warnOfProperty(component, QStringLiteral("classes"), QStringLiteral("expected a list of names"));
        return;
    }
    const QJsonArray list = classes.toArray();
    for (int i = 0; i < list.size(); ++i) {
        const QString name = list.at(i).toString();
        if (name.isEmpty())
            warnOfProperty(component, QStringLiteral("classes[%1]").arg(i), QStringLiteral("expected a name"));
        else
            widget.addCSSClass(name.toUtf8());
    }
}

void applyProperties(const Component& component, Trellis::Widget& widget)
{
    const QJsonObject& properties = component.properties();
    const QJsonValue id = properties.value(QLatin1String("id"));
    if (id.isString())
        widget.setCSSId(id.toString().toUtf8());
    else if (!id.isUndefined())
        warnOfProperty(component, QStringLiteral("id"), QStringLiteral("expected a name"));

    applyClasses(component, properties.value(QLatin1String("classes")), widget);

    const QJsonValue attributes = properties.value(QLatin1String("attributes"));
    if (!attributes.isObject()) {
        if (!attributes.isUndefined())
            warnOfProperty(component, QStringLiteral("attributes"), QStringLiteral("expected an object of names and values"));
        return;
    }
    const QJsonObject values = attributes.toObject();
    for (auto entry = values.begin(); entry != values.end(); ++entry) {
        QString error;
        if (!setFromJson(widget, entry.key(), entry.value(), error))
            warnOfProperty(component, QStringLiteral("attributes.") + entry.key(), error);
    }
}
}

Component::Component() = default;

Component::~Component() = default;

UIComponent::~UIComponent() = default;

std::shared_ptr<WidgetInstance> UIComponent::createInstance()
{
    auto instance = makeInstance();
    const auto widget = instance ? instance->widget() : nullptr;
    if (!widget) {
        Bedrock::Trace::warning("UIComponent::createInstance # Component '%s' made no widget", qUtf8Printable(name()));
        return nullptr;
    }
    if (const auto application = Tavola::instance())
        application->keepInstance(*widget, instance);
    // The caller has until the end of the frame to put the widget somewhere.
    Facet::Node::invokeAfterUpdate([weakInstance = std::weak_ptr<WidgetInstance>(instance)] {
        if (const auto made = weakInstance.lock())
            made->m_newWidget.reset();
    });

    m_instances.erase(std::remove_if(m_instances.begin(), m_instances.end(), [](const auto& weak) { return weak.expired(); }),
                      m_instances.end());
    m_instances.push_back(instance);

    applyProperties(*this, *widget);
    const auto slotsNow = m_slots; // an instance may assign while it is told
    for (const Slot& slot : slotsNow)
        for (const auto& component : slot.components)
            instance->componentAddedToSlot(slot.name, component);
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
