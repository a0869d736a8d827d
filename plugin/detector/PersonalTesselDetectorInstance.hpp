#pragma once

#include <Tavola/WidgetInstance.hpp>

namespace Tavola
{
class PersonalFolderWidget;
class PersonalTesselWidget;

/// The host's side of a detector: makes the personal widgets that its cards open, and keeps the folder for cards that the
/// detector's filter rejects. Main thread only.
class PersonalTesselDetectorInstance final : public WidgetInstance
{
public:
    PersonalTesselDetectorInstance(std::shared_ptr<Component> component, Bedrock::IntrusivePtr<Trellis::Widget> widget);
    /// The slot "custom-tessel-content" takes a component whose widget is a personal folder; other slots and other widgets are
    /// ignored. A change is seen from the next frame on. Throws std::bad_weak_ptr where no shared pointer owns the instance.
    void componentAddedToSlot(const QByteArray& slot, std::shared_ptr<Component> component) override;
    void componentRemovedFromSlot(const QByteArray& slot, std::shared_ptr<Component> component) override;
    ~PersonalTesselDetectorInstance() override;

    /// A new personal widget without parent, code and owner. Null when the host cannot make one.
    [[nodiscard]] Bedrock::IntrusivePtr<PersonalTesselWidget> createPersonalWidget();
    /// The folder for rejected cards; null while there is none.
    [[nodiscard]] Bedrock::IntrusivePtr<PersonalFolderWidget> contentForInvalidTessel() const;

private:
    void setInvalidTesselContentAfterUpdate(Bedrock::IntrusivePtr<PersonalFolderWidget> folder);

    Bedrock::IntrusivePtr<PersonalFolderWidget> m_invalidTesselContent;
};
}
