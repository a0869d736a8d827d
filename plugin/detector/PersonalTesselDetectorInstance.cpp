#include "detector/PersonalTesselDetectorInstance.hpp"

#include "folder/PersonalFolderWidget.hpp"
#include "shared/PersonalTesselWidget.hpp"

#include <Tavola/Tavola.hpp>
#include <Tavola/UserInterface.hpp>

namespace Tavola
{
namespace
{
constexpr const char* kInvalidTesselSlot = "custom-tessel-content";
}

PersonalTesselDetectorInstance::PersonalTesselDetectorInstance(std::shared_ptr<Component> component,
                                                               Bedrock::IntrusivePtr<Trellis::Widget> widget)
    : WidgetInstance(std::move(component), std::move(widget))
{
}

PersonalTesselDetectorInstance::~PersonalTesselDetectorInstance() = default;

Bedrock::IntrusivePtr<PersonalTesselWidget> PersonalTesselDetectorInstance::createPersonalWidget()
{
    const auto application = Tavola::instance();
    if (!application)
        return nullptr;
    return Bedrock::dynamicPointerCast<PersonalTesselWidget>(
        application->ui()->createStockWidget(QLatin1String("personal-space-widget"), "main"));
}

Bedrock::IntrusivePtr<PersonalFolderWidget> PersonalTesselDetectorInstance::contentForInvalidTessel() const
{
    return m_invalidTesselContent;
}

void PersonalTesselDetectorInstance::componentAddedToSlot(const QByteArray& slot, std::shared_ptr<Component> component)
{
    if (slot != kInvalidTesselSlot)
        return;
    const auto folder =
        Bedrock::dynamicPointerCast<PersonalFolderWidget>(createInstanceWidget(slot, std::move(component), false));
    if (folder)
        setInvalidTesselContentAfterUpdate(folder);
}

void PersonalTesselDetectorInstance::componentRemovedFromSlot(const QByteArray& slot, std::shared_ptr<Component> /*component*/)
{
    if (slot == kInvalidTesselSlot)
        setInvalidTesselContentAfterUpdate(nullptr);
}

void PersonalTesselDetectorInstance::setInvalidTesselContentAfterUpdate(Bedrock::IntrusivePtr<PersonalFolderWidget> folder)
{
    const auto self = std::static_pointer_cast<PersonalTesselDetectorInstance>(shared_from_this());
    Facet::Node::invokeAfterUpdate([weak = std::weak_ptr<PersonalTesselDetectorInstance>(self), folder] {
        if (const auto instance = weak.lock())
            instance->m_invalidTesselContent = folder;
    });
}
}
