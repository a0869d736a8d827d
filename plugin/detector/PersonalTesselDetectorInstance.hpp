#pragma once

#include <Tavola/WidgetInstance.hpp>

namespace Tavola
{
class PersonalTesselWidget;

/// The host's side of a detector: makes the personal widgets that its cards open. Main thread only.
class PersonalTesselDetectorInstance final : public WidgetInstance
{
public:
    PersonalTesselDetectorInstance(std::shared_ptr<Component> component, Bedrock::IntrusivePtr<Trellis::Widget> widget);
    ~PersonalTesselDetectorInstance() override;

    /// A new personal widget without parent, code and owner. Null when the host cannot make one.
    [[nodiscard]] Bedrock::IntrusivePtr<PersonalTesselWidget> createPersonalWidget();
};
}
