#pragma once

#include <Bedrock/Export.hpp>
#include <Bedrock/IntrusivePtr.hpp>
#include <Bedrock/IntrusiveWeakPtr.hpp>

#include <QByteArray>

#include <memory>

namespace Trellis
{
class Widget;
}

namespace Tavola
{
class Component;

/// The host's side of a widget that a component made: refers to the component, and receives what its slots hold. Always owned by
/// shared pointers; the application keeps it exactly as long as the widget lives. Main thread only.
class TAVOLA_EXPORT WidgetInstance : public std::enable_shared_from_this<WidgetInstance>
{
public:
    WidgetInstance(std::shared_ptr<Component> component, Bedrock::IntrusivePtr<Trellis::Widget> widget);
    WidgetInstance(const WidgetInstance&) = delete;
    WidgetInstance& operator=(const WidgetInstance&) = delete;

    virtual void componentAddedToSlot(const QByteArray& slot, std::shared_ptr<Component> component);
    virtual void componentRemovedFromSlot(const QByteArray& slot, std::shared_ptr<Component> component);
    virtual ~WidgetInstance();

    [[nodiscard]] const std::shared_ptr<Component>& component() const noexcept { return m_component; }
    /// Null once the widget is gone.
    [[nodiscard]] Bedrock::IntrusivePtr<Trellis::Widget> widget() const;

    /// Makes the widget of a component that was put into a slot. With `addToWidget` it becomes a child of this instance's
    /// widget; otherwise it has no parent yet. Null when it cannot be made.
    [[nodiscard]] Bedrock::IntrusivePtr<Trellis::Widget> createInstanceWidget(const QByteArray& slot,
                                                                              std::shared_ptr<Component> component,
                                                                              bool addToWidget);

private:
    friend class UIComponent;
    std::shared_ptr<Component> m_component;
    /// Keeps a new widget alive until the frame ends, so that its maker can put it into the tree; null afterwards.
    Bedrock::IntrusivePtr<Trellis::Widget> m_newWidget;
    Bedrock::IntrusiveWeakPtr<Trellis::Widget> m_widget;
};
}
