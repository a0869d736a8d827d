#include "folder/PersonalFolderWidgetInstance.hpp"

#include <Tavola/Component.hpp>
#include <Trellis/Widget.hpp>

namespace Tavola
{
PersonalFolderWidgetInstance::PersonalFolderWidgetInstance(std::shared_ptr<Component> component,
                                                           Bedrock::IntrusivePtr<Trellis::Widget> widget)
    : WidgetInstance(std::move(component), std::move(widget))
{
}

PersonalFolderWidgetInstance::~PersonalFolderWidgetInstance() = default;

std::vector<Bedrock::IntrusivePtr<Trellis::Widget>> PersonalFolderWidgetInstance::createContents(bool relative) const
{
    std::vector<Bedrock::IntrusivePtr<Trellis::Widget>> widgets;
    const auto folder = std::dynamic_pointer_cast<UIComponent>(component());
    if (!folder)
        return widgets;
    for (const auto& assignment : folder->assignments(relative ? m_relativeSlot : m_absoluteSlot)) {
        auto* const content = dynamic_cast<UIComponent*>(assignment.get());
        // Null, and in the log, where the creation throws.
        if (const auto widget = content ? content->createContentWidget() : nullptr)
            widgets.push_back(widget);
    }
    return widgets;
}
}
