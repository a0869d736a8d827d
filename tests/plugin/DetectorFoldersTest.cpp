#include "detector/PersonalTesselDetectorInstance.hpp"
#include "detector/PersonalTesselDetectorWidget.hpp"

#include "FolderHost.hpp"
#include "LogCapture.hpp"

#include <Trellis/FadeAnimator.hpp>

#include <doctest/doctest.h>

#include <new>
#include <string>

using PluginTest::FolderHost;
using PluginTest::near;
using PluginTest::newCode;
using PluginTest::Strings;
using Tavola::PersonalFolderWidget;
using Tavola::PersonalTesselDetectorInstance;
using TestSupport::expectWarning;
using Vecta::Vector2f;

namespace
{
using Answer = TestSupport::FakeTesselService::WidgetOrError;
const QByteArray kSlot = "custom-tessel-content";
const Vector2f kCard{600.f, 400.f};

/// A table with a detector, and a person whose card owns the table's folder of one relative item.
struct Table : FolderHost
{
    unsigned long keyed = newCode();

    Table()
    {
        host.addPerson(code, "Ann", "ann@example.org");
        host.addPerson(keyed, "Cleo", "cleo@example.org", "folder-1");
        addFolder();
        addItem(kRelative, "r");
        host.tesselService().answerPersonalWidget = [this](unsigned long) { return Answer(folder); };
        addDetector();
        host.frame();
    }
    /// Something that keeps the service's answer from keeping the folder.
    ~Table() { host.tesselService().answerPersonalWidget = nullptr; }

    void answer(std::function<Answer()> what)
    {
        host.tesselService().answerPersonalWidget = [what = std::move(what)](unsigned long) { return what(); };
    }
    [[nodiscard]] std::vector<unsigned long>& asked() { return host.tesselService().personalWidgetCalls; }
    [[nodiscard]] std::shared_ptr<PersonalTesselDetectorInstance> instance()
    {
        return std::dynamic_pointer_cast<PersonalTesselDetectorInstance>(host.tavola().widgetInstance(detector->id()));
    }
    [[nodiscard]] std::shared_ptr<Tavola::UIComponent> detectorComponent()
    {
        return std::dynamic_pointer_cast<Tavola::UIComponent>(instance()->component());
    }
    [[nodiscard]] Trellis::GrabManager& grabs() { return *host.app().grabManager(); }
    [[nodiscard]] bool wouldGrab(unsigned long card, Vector2f point = kCard)
    {
        return detector->shouldGrab(grabs(), Tactile::Marker(1, card, point));
    }
    static std::string failure(unsigned long card, const std::string& text)
    {
        return "PersonalTesselDetectorWidget::handlePersonalMarker # Failed to create personal folder for code " +
               std::to_string(card) + " (" + text + ")";
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

// ---- Cards that own a folder -----------------------------------------------------------------------------------------

TEST_CASE("card with a content key: it never launches a personal space, its folder opens at it and hears of its lifting")
{
    Table table;
    table.set("dismiss-widgets", true);
    const auto id = table.putDown(table.keyed, kCard);
    CHECK(table.asked() == std::vector<unsigned long>{table.keyed});
    CHECK(table.holder(id) == table.detector.get());
    CHECK(table.itemNames() == Strings{"r"});
    CHECK(table.spaces().empty());
    table.finishOpening();
    CHECK(near(table.item("r").location(), kCard + Vector2f(30.f, 40.f)));
    table.lift(id);
    CHECK(table.asked() == std::vector<unsigned long>{table.keyed, table.keyed});
    table.host.frames(30);
    CHECK(table.items().empty());
    CHECK(table.spaces().empty());
}

TEST_CASE("card with a content key: the folder follows and turns with the card on the detector")
{
    Table table;
    table.set("follow-marker", true);
    const auto id = table.putDown(table.keyed, kCard, 0.2f);
    table.finishOpening();
    const auto corner = table.seen(table.item("r"), {100.f, 50.f});
    const Vector2f to{660.f, 380.f};
    table.host.input.markerMove(id, to, 0.9f);
    table.host.frame();
    CHECK(near(table.seen(table.item("r"), {100.f, 50.f}), (corner - kCard).rotated(0.7f) + to));
}

TEST_CASE("card with a content key: in reverse mode its folder opens with the lifting and is dismissed by the same card")
{
    Table table;
    table.set("reverse-mode", true);
    table.set("dismiss-widgets", true);
    const auto other = newCode();
    table.host.addPerson(other, "Dora", "", "folder-1");
    const auto id = table.putDown(table.keyed, kCard);
    CHECK(table.items().empty());
    table.lift(id);
    CHECK(table.items().size() == 1);
    const auto otherId = table.putDown(other, {300.f, 300.f});
    CHECK(table.items().size() == 1);
    table.lift(otherId);
    table.finishOpening();
    CHECK(table.items().size() == 2);
    const auto* const second = table.items()[1];
    CHECK(table.putDown(table.keyed, {700.f, 500.f}) == id);
    table.host.frames(30);
    CHECK(table.items() == std::vector<PluginTest::FolderItem*>{const_cast<PluginTest::FolderItem*>(second)});
}

TEST_CASE("card with a content key: a card without one asks for no folder when it comes down")
{
    Table table;
    (void)table.putDown(table.code);
    CHECK(table.asked().empty());
    CHECK(table.items().empty());
    CHECK(table.spaces().size() == 1);
}

TEST_CASE("card up: every card that the filters let pass goes to the folder that the service has for it")
{
    Table table;
    table.set("reverse-mode", true);
    const auto id = table.putDown(table.code);
    table.lift(id);
    CHECK(table.asked() == std::vector<unsigned long>{table.code});
    CHECK(table.itemNames() == Strings{"r"});
}

TEST_CASE("card up: where the service has no folder nothing is logged")
{
    Table table;
    table.answer([] { return boost::make_unexpected(QString("out of folders")); });
    table.lift(table.putDown(table.code));
    CHECK(table.asked() == std::vector<unsigned long>{table.code});
    CHECK(TestSupport::loggedLines().empty());
}

TEST_CASE("card with a content key: what the service cannot give is a warning, and the card is let go")
{
    Table table;
    std::string text = "Got null widget";
    SUBCASE("an error text")
    {
        text = "The disk has failed: \"no such folder\" (5%)";
        table.answer([text] { return boost::make_unexpected(QString::fromStdString(text)); });
    }
    SUBCASE("a text beyond ASCII")
    {
        text = "Kein Ordner für „Mäppchen“";
        table.answer([text] { return boost::make_unexpected(QString::fromStdString(text)); });
    }
    SUBCASE("no widget")
    {
        table.answer([] { return Answer(Bedrock::IntrusivePtr<Trellis::Widget>()); });
    }
    SUBCASE("a widget that is no folder")
    {
        table.answer([] { return Answer(Bedrock::makeIntrusive<Trellis::Widget>()); });
    }
    SUBCASE("no service") { table.host.removeTesselService(); }
    expectWarning(Table::failure(table.keyed, text));
    const auto id = table.putDown(table.keyed);
    CHECK_FALSE(table.holder(id));
    CHECK(table.spaces().empty());
    CHECK(table.host.mainWidget().children().size() == 1); // the detector
    // The card belongs to nobody, so that nobody hears of its lifting.
    table.asked().clear();
    table.lift(id);
    CHECK(table.asked().empty());
}

TEST_CASE("card with a content key: what the service cannot give when the card is lifted is silent")
{
    Table table;
    const auto id = table.putDown(table.keyed);
    SUBCASE("an error text")
    {
        table.answer([] { return boost::make_unexpected(QString("gone")); });
    }
    SUBCASE("no widget")
    {
        table.answer([] { return Answer(Bedrock::IntrusivePtr<Trellis::Widget>()); });
    }
    SUBCASE("a widget that is no folder")
    {
        table.answer([] { return Answer(Bedrock::makeIntrusive<Trellis::Widget>()); });
    }
    SUBCASE("no service") { table.host.removeTesselService(); }
    table.lift(id);
    CHECK(TestSupport::loggedLines().empty());
}

TEST_CASE("failed folder: on card up the grab is left alone")
{
    Table table;
    const auto id = table.putDown(table.keyed);
    table.answer([] { return boost::make_unexpected(QString("gone")); });
    table.detector->handlePersonalMarker(*table.card(id), table.grabs(), false);
    CHECK(table.holder(id) == table.detector.get());
    CHECK(TestSupport::loggedLines().empty());
    expectWarning(Table::failure(table.keyed, "gone"));
    table.detector->handlePersonalMarker(*table.card(id), table.grabs(), true);
    CHECK_FALSE(table.holder(id));
}

TEST_CASE("failed folder: a grab that somebody else has is not released")
{
    Table table;
    const auto id = table.putDown(table.keyed);
    auto* background = table.host.ui().background().get();
    table.grabs().transferGrab(id, background->inputGrabber());
    table.answer([] { return boost::make_unexpected(QString("gone")); });
    expectWarning(Table::failure(table.keyed, "gone"));
    table.detector->handlePersonalMarker(*table.card(id), table.grabs(), true);
    CHECK(table.holder(id) == background);
}

TEST_CASE("failed folder: the largest code is printed as it is")
{
    Table table;
    table.answer([] { return boost::make_unexpected(QString("gone")); });
    expectWarning("PersonalTesselDetectorWidget::handlePersonalMarker # Failed to create personal folder for code "
                  "18446744073709551615 (gone)");
    table.detector->handlePersonalMarker(Tactile::Marker(1, ~0ull, kCard), table.grabs(), true);
}

// ---- Cards that the filters reject -----------------------------------------------------------------------------------

TEST_CASE("rejected card: with nothing in custom-tessel-content there is no folder and the card is ignored")
{
    Table table;
    table.rejectAll();
    CHECK_FALSE(table.instance()->contentForInvalidTessel());
    CHECK_FALSE(table.wouldGrab(table.code));
    const auto id = table.putDown(table.code);
    CHECK(table.holder(id) != table.detector.get());
    table.lift(id);
    CHECK(table.asked().empty());
    CHECK(table.items().empty());
}

TEST_CASE("rejected card: it goes to the folder of custom-tessel-content from the next frame on, and stops with the next")
{
    Table table;
    table.rejectAll();
    const auto made = table.folderWith("slot");
    table.detectorComponent()->assign(kSlot, made);
    CHECK_FALSE(table.instance()->contentForInvalidTessel());
    CHECK_FALSE(table.wouldGrab(table.code));
    table.host.frame();
    CHECK(table.instance()->contentForInvalidTessel());
    CHECK(table.wouldGrab(table.code));
    const auto id = table.putDown(table.code);
    CHECK(table.holder(id) == table.detector.get());
    CHECK(table.itemNames() == Strings{"slot"});
    CHECK(table.spaces().empty());
    table.lift(id);

    table.detectorComponent()->unassign(kSlot, made);
    CHECK(table.instance()->contentForInvalidTessel());
    CHECK(table.wouldGrab(table.code));
    table.host.frame();
    CHECK_FALSE(table.instance()->contentForInvalidTessel());
    CHECK_FALSE(table.wouldGrab(table.code));
    (void)table.putDown(table.code);
    CHECK(table.items().size() == 1);
}

TEST_CASE("rejected card: down and up both go to the slot's folder, and the marker service is not asked")
{
    Table table;
    table.rejectAll();
    table.useSlot();
    auto folder = table.instance()->contentForInvalidTessel();
    dynamic_cast<Facet::AttributeT<bool>&>(*folder->attribute("reverse-mode")).setValue(true);
    dynamic_cast<Facet::AttributeT<bool>&>(*folder->attribute("dismiss-widgets")).setValue(true);
    folder.reset();
    const auto id = table.putDown(table.code);
    CHECK(table.items().empty());
    table.lift(id);
    CHECK(table.itemNames() == Strings{"slot"});
    table.finishOpening();
    (void)table.putDown(table.code);
    table.host.frames(30);
    CHECK(table.items().empty());
    CHECK(table.asked().empty());
    CHECK(table.spaces().empty());
}

TEST_CASE("rejected card: the slot's folder goes before the card's own")
{
    Table table;
    table.rejectAll();
    table.useSlot();
    table.lift(table.putDown(table.keyed));
    CHECK(table.itemNames() == Strings{"slot"});
    CHECK(table.asked().empty());
}

TEST_CASE("rejected card: cards that pass the filters do not go to the slot's folder")
{
    Table table;
    table.useSlot();
    table.lift(table.putDown(table.code));
    CHECK(table.items().empty());
    CHECK(table.spaces().size() == 1);
}

TEST_CASE("rejected card: with a folder in the slot, place and kind decide as ever")
{
    Table table;
    table.rejectAll();
    table.useSlot();
    const auto unregistered = newCode();
    const auto other = newCode();
    table.host.addCard(unregistered, 3);
    table.host.addCard(other, 2);
    CHECK(table.wouldGrab(table.code));
    CHECK_FALSE(table.wouldGrab(table.code, {100.f, 400.f}));
    CHECK_FALSE(table.wouldGrab(newCode()));
    CHECK_FALSE(table.wouldGrab(unregistered));
    CHECK_FALSE(table.wouldGrab(other));
    table.attribute<bool>("allow-unregistered-markers").setValue(true);
    CHECK(table.wouldGrab(unregistered));
    CHECK_FALSE(table.wouldGrab(unregistered, {100.f, 400.f}));
    CHECK_FALSE(table.wouldGrab(other));
    (void)table.putDown(unregistered);
    CHECK(table.itemNames() == Strings{"slot"});
    CHECK(table.spaces().empty());
}

TEST_CASE("rejected card: the filters count as they are when the card is lifted")
{
    Table table;
    table.rejectAll();
    table.useSlot();
    const auto id = table.putDown(table.code);
    table.attribute<QString>("marker-filters").setValue("");
    table.lift(id);
    CHECK(table.asked() == std::vector<unsigned long>{table.code});
}

TEST_CASE("rejected card: one that is lifted when the slot is empty again is no trouble")
{
    Table table;
    table.rejectAll();
    const auto made = table.useSlot();
    const auto id = table.putDown(table.code);
    table.detectorComponent()->unassign(kSlot, made);
    table.host.frame();
    table.lift(id);
    CHECK(table.asked().empty());
    CHECK(TestSupport::loggedLines().empty());
}

TEST_CASE("rejected card: a card that is delivered to a detector without a folder opens nothing")
{
    Table table;
    table.rejectAll();
    const auto id = table.host.input.markerDown(table.keyed, {1500.f, 900.f});
    table.host.frame();
    table.grabs().transferGrab(id, table.detector->inputGrabber());
    table.lift(id);
    CHECK(table.asked().empty());
    CHECK(table.spaces().empty());
    CHECK(table.items().empty());
}

TEST_CASE("rejected card: a detector that no component made ignores it")
{
    Table table;
    const Bedrock::IntrusivePtr<FolderHost::Detector> lonely(new FolderHost::Detector(&table.host.mainWidget()));
    dynamic_cast<Facet::AttributeT<QString>&>(*lonely->attribute("marker-filters")).setValue("1");
    const Tactile::Marker marker(1, table.code, kCard);
    CHECK_FALSE(lonely->shouldGrab(table.grabs(), marker));
    lonely->markerDown(marker, table.grabs());
    lonely->markerUp(marker, table.grabs());
    CHECK(table.asked().empty());
    CHECK(table.spaces().empty());
}

// ---- The slot of the instance ----------------------------------------------------------------------------------------

TEST_CASE("slot: the folder is made without a parent, and is kept while it is in the slot")
{
    Table table;
    const auto made = table.useSlot();
    table.host.frames(3);
    auto folder = table.instance()->contentForInvalidTessel();
    REQUIRE(folder);
    CHECK_FALSE(folder->parent());
    CHECK(table.host.tavola().widgetInstance(folder->id()));
    CHECK(table.instance()->contentForInvalidTessel() == folder);
    const Bedrock::IntrusiveWeakPtr<PersonalFolderWidget> watched(folder);
    folder.reset();
    table.detectorComponent()->unassign(kSlot, made);
    table.host.frames(2);
    CHECK_FALSE(watched.lock());
}

TEST_CASE("slot: a component whose widget is no folder is ignored silently, and takes no folder's place")
{
    Table table;
    table.detectorComponent()->assign(kSlot, table.itemComponent("no folder"));
    table.host.frame();
    CHECK_FALSE(table.instance()->contentForInvalidTessel());
    table.useSlot();
    const auto folder = table.instance()->contentForInvalidTessel();
    table.detectorComponent()->assign(kSlot, table.itemComponent("no folder either"));
    table.host.frames(2);
    CHECK(table.instance()->contentForInvalidTessel() == folder);
}

TEST_CASE("slot: other slots are ignored")
{
    Table table;
    const auto made = table.folderWith("x");
    table.detectorComponent()->assign("custom-tessel-contents", made);
    table.detectorComponent()->assign("", made);
    table.host.frames(2);
    CHECK_FALSE(table.instance()->contentForInvalidTessel());
    table.useSlot();
    table.detectorComponent()->unassign("custom-tessel-contents", made);
    table.host.frames(2);
    CHECK(table.instance()->contentForInvalidTessel());
}

TEST_CASE("slot: of two folders the later one counts")
{
    Table table;
    table.rejectAll();
    table.detectorComponent()->assign(kSlot, table.folderWith("first"));
    table.detectorComponent()->assign(kSlot, table.folderWith("second"));
    table.host.frame();
    (void)table.putDown(table.code);
    CHECK(table.itemNames() == Strings{"second"});
    table.detectorComponent()->assign(kSlot, table.folderWith("third"));
    table.host.frame();
    (void)table.putDown(table.keyed, {400.f, 300.f});
    CHECK(table.itemNames() == Strings{"second", "third"});
}

TEST_CASE("slot: a removal after an addition in the same frame leaves none, an addition after a removal leaves the new one")
{
    Table table;
    const auto made = table.folderWith("slot");
    table.detectorComponent()->assign(kSlot, made);
    table.detectorComponent()->unassign(kSlot, made);
    CHECK_FALSE(table.instance()->contentForInvalidTessel());
    table.host.frames(2);
    CHECK_FALSE(table.instance()->contentForInvalidTessel());

    table.detectorComponent()->assign(kSlot, made);
    table.host.frame();
    const auto first = table.instance()->contentForInvalidTessel();
    table.detectorComponent()->unassign(kSlot, made);
    table.detectorComponent()->assign(kSlot, made);
    CHECK(table.instance()->contentForInvalidTessel() == first);
    table.host.frame();
    CHECK(table.instance()->contentForInvalidTessel());
    CHECK(table.instance()->contentForInvalidTessel() != first);
}

TEST_CASE("slot: what is in it before the detector is made counts after the detector's first frame")
{
    FolderHost table;
    table.host.addPerson(table.code, "Ann");
    const auto component =
        std::dynamic_pointer_cast<Tavola::UIComponent>(table.host.tavola().createComponent("tavola-personal-tessel-detector"));
    const auto folder = table.makeFolderComponent();
    folder->assign(FolderHost::kRelative, table.itemComponent("slot"));
    component->assign(kSlot, folder);
    table.detector = Bedrock::dynamicPointerCast<FolderHost::Detector>(component->createContentWidget());
    table.host.mainWidget().addChild(table.detector);
    table.attribute<QString>("marker-filters").setValue("1");
    table.host.frame();
    (void)table.putDown(table.code);
    CHECK(table.itemNames() == Strings{"slot"});
}

TEST_CASE("slot: a step that comes when the instance has gone does nothing")
{
    Table table;
    auto instance = std::make_shared<PersonalTesselDetectorInstance>(
        std::make_shared<Tavola::Component>(), Bedrock::IntrusivePtr<Trellis::Widget>(table.detector.get()));
    SUBCASE("an addition") { instance->componentAddedToSlot(kSlot, table.folderWith("slot")); }
    SUBCASE("a removal") { instance->componentRemovedFromSlot(kSlot, table.folderWith("slot")); }
    const std::weak_ptr<PersonalTesselDetectorInstance> watched = instance;
    instance.reset();
    CHECK(watched.expired());
    table.host.frames(2);
}

TEST_CASE("slot: a detector that goes before the frame ends takes its folder along")
{
    Table table;
    table.detectorComponent()->assign(kSlot, table.folderWith("slot"));
    table.detector->removeFromParent();
    table.detector.reset();
    table.host.frames(3);
    CHECK(table.items().empty());
}

TEST_CASE("slot: an instance that no shared pointer owns throws for this slot")
{
    Table table;
    PersonalTesselDetectorInstance instance(std::make_shared<Tavola::Component>(),
                                            Bedrock::IntrusivePtr<Trellis::Widget>(table.detector.get()));
    const auto made = table.folderWith("slot");
    CHECK_THROWS_AS(instance.componentAddedToSlot(kSlot, made), std::bad_weak_ptr);
    CHECK_THROWS_AS(instance.componentRemovedFromSlot(kSlot, made), std::bad_weak_ptr);
    CHECK_NOTHROW(instance.componentAddedToSlot("another", made));
    CHECK_NOTHROW(instance.componentRemovedFromSlot("another", made));
}

// ---- Cards that lie there when the detector comes --------------------------------------------------------------------

namespace
{
/// The host's own detector; says what it got.
class HostDetector final : public Trellis::Widget
{
public:
    explicit HostDetector(Trellis::Widget* parent) : Trellis::Widget(parent) { setCSSType("MarkerDetectorWidget"); }
    void markerDown(Tactile::Marker marker, Trellis::GrabManager& grabManager) override
    {
        codes.push_back(marker.code());
        if (whenDown)
            whenDown(marker, grabManager);
    }
    std::vector<unsigned long> codes;
    std::function<void(Tactile::Marker, Trellis::GrabManager&)> whenDown;
};
}

TEST_CASE("pickup: a card with a content key is taken over without opening its folder, and its lifting goes there")
{
    FolderHost table;
    const auto keyed = newCode();
    table.host.addPerson(keyed, "Cleo", "", "folder-1");
    table.addFolder();
    table.addItem(FolderHost::kRelative, "r");
    table.set("reverse-mode", true);
    table.host.tesselService().answerPersonalWidget = [&table](unsigned long) { return Answer(table.folder); };
    const auto id = table.putDown(keyed, kCard);
    table.addDetector();
    table.host.frame();
    CHECK(table.holder(id) == table.detector.get());
    CHECK(table.host.tesselService().personalWidgetCalls.empty());
    table.lift(id);
    CHECK(table.itemNames() == Strings{"r"});
}

TEST_CASE("pickup: the markers are taken in the order in which they lie in the sample")
{
    FolderHost table;
    const Bedrock::IntrusivePtr<HostDetector> hostDetector(new HostDetector(table.host.ui().internalOverlayWidget().get()));
    const std::vector<unsigned long> codes{newCode() + 5000, newCode(), newCode() + 9000};
    for (std::size_t i = 0; i < codes.size(); ++i)
        (void)table.putDown(codes[i], {1200.f + 100.f * float(i), 900.f});
    table.addDetector();
    table.host.frame();
    CHECK(hostDetector->codes == codes);
}

TEST_CASE("pickup: unknown cards inside the detector go to the host's own detector, the first one of several")
{
    FolderHost table;
    const Bedrock::IntrusivePtr<Trellis::Widget> nest(new Trellis::Widget(table.host.ui().internalOverlayWidget().get()));
    const Bedrock::IntrusivePtr<HostDetector> first(new HostDetector(nest.get()));
    const Bedrock::IntrusivePtr<HostDetector> second(new HostDetector(table.host.ui().internalOverlayWidget().get()));
    const auto id = table.putDown(newCode(), kCard);
    table.addDetector();
    table.host.frame();
    CHECK(table.holder(id) == first.get());
    CHECK(second->codes.empty());
}

TEST_CASE("pickup: an unknown card that a widget beside the background holds is left to it")
{
    FolderHost table;
    const Bedrock::IntrusivePtr<HostDetector> hostDetector(new HostDetector(table.host.ui().internalOverlayWidget().get()));
    const Bedrock::IntrusivePtr<Trellis::Widget> other(new Trellis::Widget(&table.host.mainWidget()));
    other->setSize({100.f, 100.f});
    other->setLocation({550.f, 350.f});
    const auto id = table.putDown(newCode(), kCard);
    table.addDetector();
    table.host.frame();
    CHECK(table.holder(id) == other.get());
    CHECK(hostDetector->codes.empty());
}

TEST_CASE("pickup: any widget of class tavola-background counts as background")
{
    FolderHost table;
    table.host.addPerson(table.code, "Ann");
    const Bedrock::IntrusivePtr<Trellis::Widget> other(new Trellis::Widget(&table.host.mainWidget()));
    other->setSize({100.f, 100.f});
    other->setLocation({550.f, 350.f});
    other->addCSSClass("tavola-background");
    const auto id = table.putDown(table.code, kCard);
    REQUIRE(table.holder(id) == other.get());
    table.addDetector();
    table.host.frame();
    CHECK(table.holder(id) == table.detector.get());
}

TEST_CASE("pickup: a known card outside the detector is left alone also where the host has a detector")
{
    FolderHost table;
    const Bedrock::IntrusivePtr<HostDetector> hostDetector(new HostDetector(table.host.ui().internalOverlayWidget().get()));
    table.host.addPerson(table.code, "Ann");
    const auto id = table.putDown(table.code, {1500.f, 900.f});
    table.addDetector();
    table.host.frame();
    CHECK(table.holder(id) == table.host.ui().background().get());
    CHECK(hostDetector->codes.empty());
}

TEST_CASE("pickup: the place is looked at in the detector's own coordinates, turned and scaled as it may be")
{
    FolderHost table;
    table.host.addPerson(table.code, "Ann");
    const auto other = newCode();
    table.host.addPerson(other, "Bob");
    // 800 by 600 at (200, 100), turned by a quarter about its corner: x from -400 to 200, y from 100 to 900.
    const auto inside = table.putDown(table.code, {100.f, 850.f});
    const auto outside = table.putDown(other, kCard);
    table.addDetector();
    table.detector->setRotation(float(PluginTest::kPi / 2));
    table.host.frame();
    CHECK(table.holder(inside) == table.detector.get());
    CHECK(table.holder(outside) == table.host.ui().background().get());
}

TEST_CASE("pickup: rejected cards are refused in the first frame, the slot's folder counts only after it")
{
    FolderHost table;
    table.host.addPerson(table.code, "Ann");
    const auto id = table.putDown(table.code);
    const auto component =
        std::dynamic_pointer_cast<Tavola::UIComponent>(table.host.tavola().createComponent("tavola-personal-tessel-detector"));
    component->assign(kSlot, table.makeFolderComponent());
    table.detector = Bedrock::dynamicPointerCast<FolderHost::Detector>(component->createContentWidget());
    table.host.mainWidget().addChild(table.detector);
    table.attribute<QString>("marker-filters").setValue("1");
    table.host.frame();
    CHECK(table.holder(id) == table.host.ui().background().get());
    // A pickup asked for later takes it.
    table.detector->pickupIdleMarkers();
    CHECK(table.holder(id) == table.detector.get());
}

TEST_CASE("pickup: while it runs cards down are ignored, cards up are not")
{
    Table table;
    table.set("reverse-mode", true);
    const Bedrock::IntrusivePtr<HostDetector> hostDetector(new HostDetector(table.host.ui().internalOverlayWidget().get()));
    const auto unknown = table.putDown(newCode(), {1500.f, 900.f});
    REQUIRE(table.holder(unknown) == table.host.ui().background().get());
    const Tactile::Marker keyed(4711, table.keyed, kCard);
    hostDetector->whenDown = [&](const Tactile::Marker&, Trellis::GrabManager& grabs) {
        table.detector->markerDown(keyed, grabs);
        CHECK(table.asked().empty());
        table.detector->markerUp(keyed, grabs);
        CHECK(table.asked() == std::vector<unsigned long>{table.keyed});
    };
    table.detector->pickupIdleMarkers();
    CHECK(hostDetector->codes.size() == 1);
    CHECK(table.itemNames() == Strings{"r"});
    hostDetector->whenDown = nullptr;
    table.detector->markerDown(Tactile::Marker(4712, table.code, kCard), table.grabs());
    CHECK(table.spaces().size() == 1);
}
