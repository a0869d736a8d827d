#include "detector/PersonalTesselDetectorWidget.hpp"

#include "DetectorTables.hpp"
#include "LogCapture.hpp"

#include <Tavola/ContentMenuWidget.hpp>
#include <Tavola/MarkerDetectorWidget.hpp>

#include <QFile>

#include <doctest/doctest.h>

// Cards that lie on the table when a detector is added, with folders and with the host's own detector.

using PluginTest::FoldersOnDetector;
using PluginTest::kCard;
using PluginTest::kSlot;
using PluginTest::newCode;
using PluginTest::PersonTable;
using PluginTest::Strings;
using PluginTest::Table;
using Vecta::Vector2f;

namespace
{
using Answer = FoldersOnDetector::Answer;
}

namespace
{
/// The host's own detector; records the codes that it receives.
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

TEST_CASE("pickup: cards that lay on the background are taken over once, and open nothing")
{
    Table table;
    table.host.addPerson(table.code, "Ann");
    const auto inside = table.putDown(table.code, {600.f, 400.f});
    const auto outsideCode = newCode();
    table.host.addPerson(outsideCode, "Bob");
    const auto outside = table.putDown(outsideCode, {1500.f, 900.f});
    auto* background = table.host.ui().background().get();
    REQUIRE(table.holder(inside) == background);
    REQUIRE(table.holder(outside) == background);

    table.addDetector();
    table.host.frame();
    CHECK(table.holder(inside) == table.detector.get());
    CHECK(table.holder(outside) == background);
    CHECK(table.spaces().empty());
    CHECK_FALSE(table.detector->isUpdating());

    // Once: a card that the background gets later stays there.
    table.host.app().grabManager()->transferGrab(inside, background->inputGrabber());
    table.host.frames(3);
    table.detector->update(Trellis::FrameInfo(1.f / 60.f, 0.0, 1));
    CHECK(table.holder(inside) == background);
    CHECK(table.spaces().empty());
}

TEST_CASE("pickup: all cards inside the detector are taken over, and those outside it are not")
{
    Table table;
    std::vector<std::pair<std::int64_t, bool>> cards; // and whether they lie inside
    for (const float x : {150.f, 250.f, 600.f, 950.f, 1050.f}) {
        const auto card = newCode();
        table.host.addPerson(card, "Ann");
        cards.emplace_back(table.putDown(card, {x, 400.f}), x > 200.f && x < 1000.f);
    }
    table.addDetector();
    table.host.frame();
    for (const auto& [id, isInside] : cards)
        CHECK((table.holder(id) == table.detector.get()) == isInside);
}

TEST_CASE("pickup: a card that was taken over opens a space when it is put down again")
{
    Table table;
    table.host.addPerson(table.code, "Ann");
    const auto id = table.putDown(table.code);
    table.addDetector();
    table.host.frame();
    REQUIRE(table.holder(id) == table.detector.get());
    table.lift(id);
    (void)table.putDown(table.code);
    CHECK(table.spaces().size() == 1);
}

TEST_CASE("pickup: a card that another widget holds is left there, and so is one that no widget holds")
{
    Table table;
    table.host.addPerson(table.code, "Ann");
    const Bedrock::IntrusivePtr<Trellis::Widget> other(new Trellis::Widget(&table.host.mainWidget()));
    other->setSize({100.f, 100.f});
    other->setLocation({550.f, 350.f});
    const auto held = table.putDown(table.code, {600.f, 400.f});
    REQUIRE(table.holder(held) == other.get());
    const auto freeCode = newCode();
    table.host.addPerson(freeCode, "Bob");
    const auto unheld = table.putDown(freeCode, {400.f, 300.f});
    table.host.app().grabManager()->ungrab(unheld, table.host.ui().background()->inputGrabber());

    table.addDetector();
    table.host.frame();
    CHECK(table.holder(held) == other.get());
    CHECK_FALSE(table.holder(unheld));
}

TEST_CASE("pickup: known cards that the detector refuses stay where they are")
{
    Table table;
    const auto unregistered = newCode();
    table.host.addCard(unregistered, 3);
    const auto id = table.putDown(unregistered);
    table.addDetector();
    table.host.frame();
    CHECK(table.holder(id) == table.host.ui().background().get());
}

TEST_CASE("pickup: unknown cards on the background go to the host's own detector, wherever they lie")
{
    Table table;
    const Bedrock::IntrusivePtr<Trellis::Widget> hostDetector(new Trellis::Widget(table.host.ui().internalOverlayWidget().get()));
    hostDetector->setCSSType("MarkerDetectorWidget");
    hostDetector->setSize({1.f, 1.f});
    const auto inside = table.putDown(newCode(), {600.f, 400.f});
    const auto outside = table.putDown(newCode(), {1500.f, 900.f});
    table.addDetector();
    // An unknown card is no unregistered one, which the service knows.
    SUBCASE("where unregistered cards are not allowed") {}
    SUBCASE("where they are")
    {
        table.attribute<bool>("allow-unregistered-markers").setValue(true);
    }
    table.host.frame();
    CHECK(table.holder(inside) == hostDetector.get());
    CHECK(table.holder(outside) == hostDetector.get());
}

TEST_CASE("pickup: without the host's detector unknown cards stay on the background")
{
    Table table;
    const auto id = table.putDown(newCode());
    table.addDetector();
    table.host.frame();
    CHECK(table.holder(id) == table.host.ui().background().get());
}

TEST_CASE("pickup: after it a card opens a space again")
{
    PersonTable table;
    table.detector->pickupIdleMarkers();
    (void)table.putDown(table.code);
    CHECK(table.spaces().size() == 1);
}

TEST_CASE("pickup: one that an exception ends leaves the detector opening spaces")
{
    /// Throws when the layout asks for its size.
    class Unmeasurable final : public Trellis::Widget
    {
    public:
        using Trellis::Widget::Widget;
        bool throws = false;
        Vecta::Vector2f contentSize(float) const override
        {
            if (throws)
                throw std::runtime_error("no size");
            return {10.f, 10.f};
        }
    };
    PersonTable table;
    table.detector->removeFromParent();
    const auto id = table.putDown(table.code);
    const Bedrock::IntrusivePtr<Unmeasurable> sibling(new Unmeasurable(&table.host.mainWidget()));
    table.host.mainWidget().addChild(table.detector);
    sibling->throws = true;
    CHECK_THROWS_AS(table.detector->pickupIdleMarkers(), std::runtime_error);
    sibling->throws = false;
    sibling->removeFromParent();
    CHECK(table.spaces().empty());
    table.lift(id);
    (void)table.putDown(table.code);
    CHECK(table.spaces().size() == 1);
}

TEST_CASE("pickup: cards that are handed to the detector while it picks up open nothing, later ones do")
{
    PersonTable table;
    table.detector->removeFromParent();
    const auto id = table.putDown(table.code);
    table.host.mainWidget().addChild(table.detector);
    table.detector->pickupIdleMarkers();
    CHECK(table.holder(id) == table.detector.get());
    CHECK(table.spaces().empty());
    table.host.app().grabManager()->transferGrab(id, table.host.ui().background()->inputGrabber());
    table.host.app().grabManager()->transferGrab(id, table.detector->inputGrabber());
    CHECK(table.spaces().size() == 1);
}

TEST_CASE("pickup: a card with a content key is taken over without opening its folder, and its lifting goes there")
{
    Table table;
    const auto keyed = newCode();
    table.host.addPerson(keyed, "Cleo", "", "folder-1");
    table.addFolder();
    table.addItem(Table::kRelative, "r");
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

TEST_CASE("pickup: a detector that a menu opens takes over the cards inside it, also those near its edges")
{
    Table table;
    const auto code = newCode();
    table.host.addPerson(code, "Cleo");
    const auto menu = Bedrock::makeIntrusive<Tavola::ContentMenuWidget>(&table.host.mainWidget());
    QFile file(table.files.filePath("detectors.json"));
    REQUIRE(file.open(QIODevice::WriteOnly));
    file.write(R"({"entries": [{"text": "A second place", "content": {"component": "tavola-personal-tessel-detector"}}]})");
    file.close();
    dynamic_cast<Facet::AttributeT<QString>&>(*menu->attribute("menu")).setValue(file.fileName());
    const auto node = menu->nodeWidget(menu->prepare({1000.f, 540.f}));
    REQUIRE(node);
    table.finishOpening();
    const auto launch = [&] { table.host.tap(table.seenCentre(*node->findAllByType("Widget").at(0))); };
    launch();
    auto* detector = table.host.mainWidget().findByType("PersonalTesselDetectorWidget");
    REQUIRE(detector);
    table.finishOpening();
    const Vecta::Rect place = detector->sceneBounds();
    REQUIRE(place.width == doctest::Approx(800.f));
    detector->removeFromParent();
    table.host.frame();

    // Two cards on the background, beside the menu, before the detector opens once more in the same place.
    const auto atEdge = table.putDown(code, {place.x + 20.f, place.y + 20.f});
    const auto outside = table.putDown(code, {place.x - 20.f, place.y + 20.f});
    REQUIRE(table.holder(atEdge)->hasCSSClass("tavola-background"));
    launch();
    table.host.frame();
    detector = table.host.mainWidget().findByType("PersonalTesselDetectorWidget");
    REQUIRE(detector);
    CHECK(table.holder(atEdge) == detector);
    CHECK(table.holder(outside)->hasCSSClass("tavola-background"));
}

TEST_CASE("pickup: the markers are taken in the order in which they lie in the sample")
{
    Table table;
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
    Table table;
    const Bedrock::IntrusivePtr<Trellis::Widget> nest(new Trellis::Widget(table.host.ui().internalOverlayWidget().get()));
    const Bedrock::IntrusivePtr<HostDetector> first(new HostDetector(nest.get()));
    const Bedrock::IntrusivePtr<HostDetector> second(new HostDetector(table.host.ui().internalOverlayWidget().get()));
    const auto id = table.putDown(newCode(), kCard);
    table.addDetector();
    table.host.frame();
    CHECK(table.holder(id) == first.get());
    CHECK(second->codes.empty());
}

TEST_CASE("pickup: only what stands in the host's own overlay counts as the host's detector")
{
    Table table;
    auto& ui = table.host.ui();
    std::vector<Bedrock::IntrusivePtr<HostDetector>> others;
    for (auto* layer :
         {ui.background().get(), ui.mainWidget().get(), ui.overlayWidget().get(), table.host.app().mainLayer().get()})
        others.emplace_back(new HostDetector(layer));
    const auto id = table.putDown(newCode(), kCard);
    REQUIRE(table.holder(id) == ui.background().get());
    Trellis::Widget* expected = ui.background().get();
    Bedrock::IntrusivePtr<HostDetector> own;
    SUBCASE("there is none: the card stays on the background") {}
    SUBCASE("there is one beside others")
    {
        own = new HostDetector(ui.internalOverlayWidget().get());
        expected = own.get();
    }
    table.addDetector();
    table.host.frame();
    CHECK(table.holder(id) == expected);
    for (const auto& other : others)
        CHECK(other->codes.empty());
}

TEST_CASE("pickup: the host's detector grabs an unknown card and marks it until it is lifted")
{
    Table table;
    const auto hostDetector = Bedrock::makeIntrusive<Tavola::MarkerDetectorWidget>();
    table.host.ui().internalOverlayWidget()->addChild(hostDetector);
    table.host.addPerson(table.code, "Ann");
    const auto unknown = table.putDown(newCode(), {500.f, 300.f});
    const auto known = table.putDown(table.code, kCard);
    table.addDetector();
    table.host.frame();
    CHECK(table.holder(unknown) == hostDetector.get());
    CHECK(table.holder(known) == table.detector.get());
    CHECK(hostDetector->children().size() == 1);
    CHECK(hostDetector->isUpdating());
    table.lift(unknown);
    CHECK_FALSE(hostDetector->isUpdating());
    CHECK(table.spaces().empty());
}

TEST_CASE("pickup: an unknown card that a widget beside the background holds is left to it")
{
    Table table;
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
    Table table;
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
    Table table;
    const Bedrock::IntrusivePtr<HostDetector> hostDetector(new HostDetector(table.host.ui().internalOverlayWidget().get()));
    table.host.addPerson(table.code, "Ann");
    const auto id = table.putDown(table.code, {1500.f, 900.f});
    table.addDetector();
    table.host.frame();
    CHECK(table.holder(id) == table.host.ui().background().get());
    CHECK(hostDetector->codes.empty());
}

TEST_CASE("pickup: a card's place counts in the coordinates of a turned detector")
{
    Table table;
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
    Table table;
    table.host.addPerson(table.code, "Ann");
    const auto id = table.putDown(table.code);
    const auto component =
        std::dynamic_pointer_cast<Tavola::UIComponent>(table.host.tavola().createComponent("tavola-personal-tessel-detector"));
    component->assign(kSlot, table.makeFolderComponent());
    table.detector = Bedrock::dynamicPointerCast<Table::Detector>(component->createContentWidget());
    table.host.mainWidget().addChild(table.detector);
    table.attribute<QString>("marker-filters").setValue("1");
    table.host.frame();
    CHECK(table.holder(id) == table.host.ui().background().get());
    // A later pickup transfers it.
    table.detector->pickupIdleMarkers();
    CHECK(table.holder(id) == table.detector.get());
}

TEST_CASE("pickup: while it runs cards down are ignored, cards up are not")
{
    FoldersOnDetector table;
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
