#pragma once

#include <Bedrock/Export.hpp>
#include <Bedrock/IntrusivePtr.hpp>
#include <Tavola/Schema.hpp>
#include <Tavola/Slot.hpp>

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <functional>
#include <memory>
#include <vector>

namespace Trellis
{
class Widget;
}

namespace Tavola
{
class WidgetInstance;

/// A building block of a presentation: makes widgets or services, and may be put into slots of other components.
/// Owned by shared pointers. Main thread only.
class TAVOLA_EXPORT Component : public std::enable_shared_from_this<Component>
{
public:
    Component();
    Component(const Component&) = delete;
    Component& operator=(const Component&) = delete;
    virtual ~Component();

    /// The name it was registered under, for messages.
    [[nodiscard]] const QString& name() const noexcept { return m_name; }
    void setName(const QString& name) { m_name = name; }
    /// What its package declares of it; empty for a component that no package declares.
    [[nodiscard]] const Schema& schema() const noexcept { return m_schema; }
    void setSchema(const Schema& schema) { m_schema = schema; }
    /// The settings that the presentation gives this component; may be empty. Applied to every widget that it makes:
    ///     { "id": "map", "classes": ["large"], "attributes": { "source": "/media/map.png", "location": [100, 200] } }
    /// Attributes are set on the run-time layer. One that does not fit is a warning and is skipped, unless the schema names it
    /// as a restriction: then it is an error, and no widget is made. A number may be written { "number": "10.50" }, as
    /// ComponentReader does, so that a text attribute gets its digits.
    [[nodiscard]] const QJsonObject& properties() const noexcept { return m_properties; }
    void setProperties(const QJsonObject& properties) { m_properties = properties; }

private:
    QString m_name;
    Schema m_schema;
    QJsonObject m_properties;
};

/// A component that shows: it makes instances with widgets, and has slots.
class TAVOLA_EXPORT UIComponent : public Component
{
public:
    ~UIComponent() override;

    /// A new widget with the instance that owns it on the host's side. The instance is registered with the application
    /// (Tavola::widgetInstance) for as long as the widget lives, and has been given what its slots hold. Null when the widget
    /// cannot be made, with a line in the log; exceptions of the widget and of the instance end here, too.
    [[nodiscard]] std::shared_ptr<WidgetInstance> createInstance();
    /// The widget of a new instance, or null.
    [[nodiscard]] Bedrock::IntrusivePtr<Trellis::Widget> createContentWidget();

    /// The components in a slot, in order; none for an unknown slot.
    [[nodiscard]] std::vector<std::shared_ptr<Component>> assignments(const QByteArray& slot) const;
    /// Puts a component at the end of a slot (takes it out again); living instances are notified.
    void assign(const QByteArray& slot, std::shared_ptr<Component> component);
    void unassign(const QByteArray& slot, const std::shared_ptr<Component>& component);

protected:
    /// Makes the widget and its instance; neither may be null in a successful return.
    [[nodiscard]] virtual std::shared_ptr<WidgetInstance> makeInstance() = 0;

private:
    std::vector<Slot> m_slots;
    std::vector<std::weak_ptr<WidgetInstance>> m_instances;
};

/// A component whose instances are of the common kind.
class TAVOLA_EXPORT WidgetComponent : public UIComponent
{
public:
    using WidgetFunction = std::function<Bedrock::IntrusivePtr<Trellis::Widget>()>;
    explicit WidgetComponent(WidgetFunction widgetFunction);

protected:
    std::shared_ptr<WidgetInstance> makeInstance() override;

private:
    WidgetFunction m_widgetFunction;
};

/// A component with instances of its own class.
class TAVOLA_EXPORT CustomWidgetInstanceComponent : public UIComponent
{
public:
    using WidgetFunction = std::function<Bedrock::IntrusivePtr<Trellis::Widget>()>;
    using InstanceFunction =
        std::function<std::shared_ptr<WidgetInstance>(std::shared_ptr<Component>, Bedrock::IntrusivePtr<Trellis::Widget>)>;
    CustomWidgetInstanceComponent(WidgetFunction widgetFunction, InstanceFunction instanceFunction);

protected:
    std::shared_ptr<WidgetInstance> makeInstance() override;

private:
    WidgetFunction m_widgetFunction;
    InstanceFunction m_instanceFunction;
};
}
