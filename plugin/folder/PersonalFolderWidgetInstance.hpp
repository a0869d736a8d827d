#pragma once

#include <Tavola/WidgetInstance.hpp>

#include <QByteArray>

#include <vector>

namespace Tavola
{
/// The host's side of a personal folder: creates the contents of its two slots. Owned by the host. Main thread only.
class PersonalFolderWidgetInstance final : public WidgetInstance
{
public:
    PersonalFolderWidgetInstance(std::shared_ptr<Component> component, Bedrock::IntrusivePtr<Trellis::Widget> widget);
    ~PersonalFolderWidgetInstance() override;

    /// New widgets, one for each component in the slot "content-widget-relative" or "content-widget-absolute", in order. A
    /// component that is no UIComponent, that creates no widget or that throws (logged as an error) is skipped.
    [[nodiscard]] std::vector<Bedrock::IntrusivePtr<Trellis::Widget>> createContents(bool relative) const;

private:
    QByteArray m_relativeSlot = "content-widget-relative";
    QByteArray m_absoluteSlot = "content-widget-absolute";
};
}
