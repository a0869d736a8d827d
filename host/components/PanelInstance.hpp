#pragma once

#include <Tavola/WidgetInstance.hpp>

#include <map>
#include <memory>

namespace Host
{
/// The instance of a panel: the components assigned to its slot "content" get their widgets in the panel, in the order of
/// assignment.
class PanelInstance final : public Tavola::WidgetInstance
{
public:
    PanelInstance(std::shared_ptr<Tavola::Component> component, Bedrock::IntrusivePtr<Trellis::Widget> widget);
    ~PanelInstance() override;

    void componentAddedToSlot(const QByteArray& slot, std::shared_ptr<Tavola::Component> component) override;
    void componentRemovedFromSlot(const QByteArray& slot, std::shared_ptr<Tavola::Component> component) override;

private:
    std::multimap<std::shared_ptr<Tavola::Component>, Bedrock::IntrusiveWeakPtr<Trellis::Widget>> m_contents;
};
}
