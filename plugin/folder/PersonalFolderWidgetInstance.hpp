#pragma once

#include <Tavola/WidgetInstance.hpp>

#include <QByteArray>

#include <vector>

namespace Tavola
{
/// The host's side of a personal folder: makes what its two slots hold. Main thread only.
class PersonalFolderWidgetInstance final : public WidgetInstance
{
public:
    PersonalFolderWidgetInstance(std::shared_ptr<Component> component, Bedrock::IntrusivePtr<Trellis::Widget> widget);
    ~PersonalFolderWidgetInstance() override;

    /// New widgets of the components in the slot "content-widget-relative" or "content-widget-absolute", in order; a component
    /// whose widget cannot be made is skipped.
    [[nodiscard]] std::vector<Bedrock::IntrusivePtr<Trellis::Widget>> createContents(bool relative) const;

private:
    QByteArray m_relativeSlot = "content-widget-relative";
    QByteArray m_absoluteSlot = "content-widget-absolute";
};
}
