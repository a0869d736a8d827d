#pragma once

#include <Tavola/WidgetInstance.hpp>

namespace Tavola
{
class PersonalFolderWidget;
class PersonalTesselWidget;

/// The host's side of a detector: creates the personal widgets that cards open, and holds the folder for cards that the
/// detector's filter rejects. Owned by the host, by shared pointer. Main thread only.
class PersonalTesselDetectorInstance final : public WidgetInstance
{
public:
    PersonalTesselDetectorInstance(std::shared_ptr<Component> component, Bedrock::IntrusivePtr<Trellis::Widget> widget);
    /// The slot "custom-tessel-content" accepts a component whose widget is a personal folder; other slots and other widgets
    /// are ignored. A change counts from the next frame on. Throws std::bad_weak_ptr unless a shared pointer owns the instance.
    void componentAddedToSlot(const QByteArray& slot, std::shared_ptr<Component> component) override;
    void componentRemovedFromSlot(const QByteArray& slot, std::shared_ptr<Component> component) override;
    ~PersonalTesselDetectorInstance() override;

    /// A new personal widget without parent, code and owner. Null without an application, and when the host cannot create it.
    [[nodiscard]] Bedrock::IntrusivePtr<PersonalTesselWidget> createPersonalWidget();
    /// The folder for rejected cards; null while the slot is empty.
    [[nodiscard]] Bedrock::IntrusivePtr<PersonalFolderWidget> contentForInvalidTessel() const;

private:
    void setInvalidTesselContentAfterUpdate(Bedrock::IntrusivePtr<PersonalFolderWidget> folder);

    Bedrock::IntrusivePtr<PersonalFolderWidget> m_invalidTesselContent;
};
}
