#pragma once

#include "FakeEmailService.hpp"
#include "Table.hpp"
#include "detector/PersonalTesselDetectorInstance.hpp"
#include "email/EmailSendingPopupWidget.hpp"

namespace PluginTest
{
/// On the detector, beside its middle.
inline constexpr Vecta::Vector2f kOffCenter{700.f, 500.f};

/// A table with a detector, an e-mail service and a person: Ann, who has an address and the card `code`.
struct PersonTable : Table
{
    using Mode = Detector::WidgetCollectionMode;

    const Tavola::TesselServiceAPI::PersonalMarkerProperties ann{"Ann", "ann@example.org", {}};
    std::shared_ptr<TestSupport::FakeEmailService> mail = std::make_shared<TestSupport::FakeEmailService>();

    PersonTable()
    {
        host.tavola().services()->addService("email-service", "post of the test", mail);
        host.addPerson(code, ann.name, ann.email);
        addDetector();
        host.frame();
    }
    void collect(Mode mode) { attribute<Mode>("collection-mode").setValue(mode); }
    [[nodiscard]] bool wouldGrab(unsigned long card, Vecta::Vector2f point = kCard)
    {
        return detector->shouldGrab(*host.app().grabManager(), Tactile::Marker(1, card, point));
    }
    [[nodiscard]] std::vector<Tavola::EmailSendingPopupWidget*> popups() { return opened<Tavola::EmailSendingPopupWidget>(); }
    /// The only popup; throws where there is not exactly one.
    [[nodiscard]] Tavola::EmailSendingPopupWidget& popup()
    {
        const auto found = popups();
        if (found.size() != 1)
            throw std::runtime_error(std::to_string(found.size()) + " popups");
        return *found.front();
    }
};

inline constexpr const char* kSlot = "custom-tessel-content";

/// A table with a detector, and a person whose card owns the table's folder of one relative item.
struct FoldersOnDetector : Table
{
    using Answer = TestSupport::FakeTesselService::WidgetOrError;

    unsigned long keyed = newCode();

    FoldersOnDetector()
    {
        host.addPerson(code, "Ann", "ann@example.org");
        host.addPerson(keyed, "Cleo", "cleo@example.org", "folder-1");
        addFolder();
        addItem(kRelative, "r");
        host.tesselService().answerPersonalWidget = [this](unsigned long) { return Answer(folder); };
        addDetector();
        host.frame();
    }
    /// Removes the answer function of the service, which refers to the folder.
    ~FoldersOnDetector() { host.tesselService().answerPersonalWidget = nullptr; }

    void answer(std::function<Answer()> what)
    {
        host.tesselService().answerPersonalWidget = [what = std::move(what)](unsigned long) { return what(); };
    }
    [[nodiscard]] std::vector<unsigned long>& asked() { return host.tesselService().personalWidgetCalls; }
    [[nodiscard]] std::shared_ptr<Tavola::PersonalTesselDetectorInstance> instance()
    {
        return std::dynamic_pointer_cast<Tavola::PersonalTesselDetectorInstance>(host.tavola().widgetInstance(detector->id()));
    }
    [[nodiscard]] std::shared_ptr<Tavola::UIComponent> detectorComponent()
    {
        return std::dynamic_pointer_cast<Tavola::UIComponent>(instance()->component());
    }
    [[nodiscard]] Trellis::GrabManager& grabs() { return *host.app().grabManager(); }
    [[nodiscard]] bool wouldGrab(unsigned long card, Vecta::Vector2f point = kCard)
    {
        return detector->shouldGrab(grabs(), Tactile::Marker(1, card, point));
    }
    static std::string failure(unsigned long card, const std::string& text)
    {
        return "PersonalTesselDetectorWidget::handlePersonalMarker # Failed to create personal folder for code "
            + std::to_string(card) + " (" + text + ")";
    }

    /// The component of a folder whose item has that name, for the detector's slot.
    [[nodiscard]] std::shared_ptr<Component> folderWith(const std::string& name)
    {
        auto made = makeFolderComponent();
        made->assign(kRelative, itemComponent(name));
        return made;
    }
    void rejectAll() { attribute<QString>("marker-filters").setValue("1"); }
    /// Puts a folder of one item "slot" into the detector's slot, and waits until it counts.
    std::shared_ptr<Component> useSlot()
    {
        auto made = folderWith("slot");
        detectorComponent()->assign(kSlot, made);
        host.frame();
        REQUIRE(instance()->contentForInvalidTessel());
        return made;
    }
};
}
