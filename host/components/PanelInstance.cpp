#include "components/PanelInstance.hpp"

#include <Trellis/Widget.hpp>

namespace Host
{
namespace
{
constexpr const char* kContentSlot = "content";
}

PanelInstance::PanelInstance(std::shared_ptr<Tavola::Component> component, Bedrock::IntrusivePtr<Trellis::Widget> widget)
    : Tavola::WidgetInstance(std::move(component), std::move(widget))
{
}

PanelInstance::~PanelInstance() = default;

void PanelInstance::componentAddedToSlot(const QByteArray& slot, std::shared_ptr<Tavola::Component> component)
{
    if (slot != kContentSlot)
        return;
    if (const auto content = createInstanceWidget(slot, component, true))
        m_contents.emplace(component, content);
}

void PanelInstance::componentRemovedFromSlot(const QByteArray& slot, std::shared_ptr<Tavola::Component> component)
{
    if (slot != kContentSlot)
        return;
    const auto entry = m_contents.find(component);
    if (entry == m_contents.end())
        return;
    if (const auto content = entry->second.lock())
        content->removeFromParent();
    m_contents.erase(entry);
}
}
