#include "detector/PersonalTesselDetectorWidget.hpp"

#include "DetectorTables.hpp"
#include "LogCapture.hpp"

#include <doctest/doctest.h>

#include <string>

using PluginTest::FoldersOnDetector;
using PluginTest::kCard;
using PluginTest::kSlot;
using PluginTest::near;
using PluginTest::newCode;
using PluginTest::Strings;
using TestSupport::expectWarning;
using Vecta::Vector2f;

namespace
{
using Answer = FoldersOnDetector::Answer;
}

// ---- Cards that own a folder -----------------------------------------------------------------------------------------

TEST_CASE("card with a content key: it never launches a personal space, its folder opens at it and receives its lifting")
{
    FoldersOnDetector table;
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
    FoldersOnDetector table;
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
    FoldersOnDetector table;
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

TEST_CASE("card with a content key: two cards of one code have contents of their own")
{
    FoldersOnDetector table;
    table.set("follow-marker", true);
    table.set("dismiss-widgets", true);
    table.set("rotation-offset", 0.f);
    const auto first = table.putDown(table.keyed, kCard);
    const auto second = table.putDown(table.keyed, {400.f, 300.f});
    REQUIRE(first != second);
    table.finishOpening();
    REQUIRE(table.items().size() == 2);
    table.host.input.markerMove(second, {420.f, 300.f});
    table.host.frame();
    CHECK(near(table.items()[0]->location(), kCard + Vector2f(30.f, 40.f)));
    CHECK(near(table.items()[1]->location(), Vector2f(450.f, 340.f)));
    table.lift(first);
    table.host.frames(30);
    REQUIRE(table.items().size() == 1);
    CHECK(near(table.items()[0]->location(), Vector2f(450.f, 340.f)));
}

TEST_CASE("card with a content key: a card without one asks for no folder when it comes down")
{
    FoldersOnDetector table;
    (void)table.putDown(table.code);
    CHECK(table.asked().empty());
    CHECK(table.items().empty());
    CHECK(table.spaces().size() == 1);
}

TEST_CASE("card up: every card that the filters accept goes to the folder that the service gives for it")
{
    FoldersOnDetector table;
    table.set("reverse-mode", true);
    const auto id = table.putDown(table.code);
    table.lift(id);
    CHECK(table.asked() == std::vector<unsigned long>{table.code});
    CHECK(table.itemNames() == Strings{"r"});
}

TEST_CASE("card up: where the service gives no folder nothing is logged")
{
    FoldersOnDetector table;
    table.answer([] { return boost::make_unexpected(QString("out of folders")); });
    table.lift(table.putDown(table.code));
    CHECK(table.asked() == std::vector<unsigned long>{table.code});
    CHECK(TestSupport::loggedLines().empty());
}

namespace
{
/// A way in which the marker service gives no folder.
struct Failure
{
    const char* what;
    std::function<void(FoldersOnDetector&)> apply;
    const char* text; ///< in the warning
};

std::vector<Failure> failures()
{
    const auto answer = [](auto make) { return [make](FoldersOnDetector& table) { table.answer(make); }; };
    const auto error = [answer](const char* text) {
        return Failure{"an error text", answer([text] { return boost::make_unexpected(QString::fromUtf8(text)); }), text};
    };
    return {error("The disk has failed: \"no such folder\" (5%)"),
            error("Kein Ordner für „Mäppchen“"),
            {"no widget", answer([] { return Answer(Bedrock::IntrusivePtr<Trellis::Widget>()); }), "Got null widget"},
            {"a widget that is no folder", answer([] { return Answer(Bedrock::makeIntrusive<Trellis::Widget>()); }),
             "Got null widget"},
            {"no service", [](FoldersOnDetector& table) { table.host.removeTesselService(); }, "Got null widget"}};
}
}

TEST_CASE("card with a content key: without a folder from the service there is a warning, and the grab is released")
{
    for (const Failure& failure : failures()) {
        CAPTURE(failure.what);
        FoldersOnDetector table;
        failure.apply(table);
        expectWarning(FoldersOnDetector::failure(table.keyed, failure.text));
        const auto id = table.putDown(table.keyed);
        CHECK_FALSE(table.holder(id));
        CHECK(table.spaces().empty());
        CHECK(table.host.mainWidget().children().size() == 1); // the detector
        // No widget holds the card, so that none receives its lifting.
        table.asked().clear();
        table.lift(id);
        CHECK(table.asked().empty());
    }
}

TEST_CASE("card with a content key: when it is lifted, a missing folder is not logged")
{
    for (const Failure& failure : failures()) {
        CAPTURE(failure.what);
        FoldersOnDetector table;
        const auto id = table.putDown(table.keyed);
        failure.apply(table);
        table.lift(id);
        CHECK(TestSupport::loggedLines().empty());
    }
}

TEST_CASE("failed folder: on card up the grab is left alone")
{
    FoldersOnDetector table;
    const auto id = table.putDown(table.keyed);
    table.answer([] { return boost::make_unexpected(QString("gone")); });
    table.detector->handlePersonalMarker(*table.card(id), table.grabs(), false);
    CHECK(table.holder(id) == table.detector.get());
    CHECK(TestSupport::loggedLines().empty());
    expectWarning(FoldersOnDetector::failure(table.keyed, "gone"));
    table.detector->handlePersonalMarker(*table.card(id), table.grabs(), true);
    CHECK_FALSE(table.holder(id));
}

TEST_CASE("failed folder: the grab of another widget is not released")
{
    FoldersOnDetector table;
    const auto id = table.putDown(table.keyed);
    auto* background = table.host.ui().background().get();
    table.grabs().transferGrab(id, background->inputGrabber());
    table.answer([] { return boost::make_unexpected(QString("gone")); });
    expectWarning(FoldersOnDetector::failure(table.keyed, "gone"));
    table.detector->handlePersonalMarker(*table.card(id), table.grabs(), true);
    CHECK(table.holder(id) == background);
}

TEST_CASE("failed folder: the largest code is printed as it is")
{
    FoldersOnDetector table;
    table.answer([] { return boost::make_unexpected(QString("gone")); });
    expectWarning("PersonalTesselDetectorWidget::handlePersonalMarker # Failed to create personal folder for code "
                  "18446744073709551615 (gone)");
    table.detector->handlePersonalMarker(Tactile::Marker(1, ~0ull, kCard), table.grabs(), true);
}

// ---- Cards that the filters reject -----------------------------------------------------------------------------------

TEST_CASE("rejected card: with nothing in custom-tessel-content there is no folder and the card is ignored")
{
    FoldersOnDetector table;
    table.rejectAll();
    CHECK_FALSE(table.instance()->contentForInvalidTessel());
    CHECK_FALSE(table.wouldGrab(table.code));
    const auto id = table.putDown(table.code);
    CHECK(table.holder(id) != table.detector.get());
    table.lift(id);
    CHECK(table.asked().empty());
    CHECK(table.items().empty());
}

TEST_CASE(
    "rejected card: the folder of custom-tessel-content receives it from the frame after the assignment until that after its end")
{
    FoldersOnDetector table;
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
    FoldersOnDetector table;
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

TEST_CASE("rejected card: the slot's folder receives it, not the card's own folder")
{
    FoldersOnDetector table;
    table.rejectAll();
    table.useSlot();
    table.lift(table.putDown(table.keyed));
    CHECK(table.itemNames() == Strings{"slot"});
    CHECK(table.asked().empty());
}

TEST_CASE("rejected card: cards that pass the filters do not go to the slot's folder")
{
    FoldersOnDetector table;
    table.useSlot();
    table.lift(table.putDown(table.code));
    CHECK(table.items().empty());
    CHECK(table.spaces().size() == 1);
}

TEST_CASE("rejected card: with a folder in the slot, place and kind decide as ever")
{
    FoldersOnDetector table;
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
    FoldersOnDetector table;
    table.rejectAll();
    table.useSlot();
    const auto id = table.putDown(table.code);
    table.attribute<QString>("marker-filters").setValue("");
    table.lift(id);
    CHECK(table.asked() == std::vector<unsigned long>{table.code});
}

TEST_CASE("rejected card: one that is lifted when the slot is empty again is ignored")
{
    FoldersOnDetector table;
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
    FoldersOnDetector table;
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
    FoldersOnDetector table;
    const Bedrock::IntrusivePtr<FoldersOnDetector::Detector> lonely(new FoldersOnDetector::Detector(&table.host.mainWidget()));
    dynamic_cast<Facet::AttributeT<QString>&>(*lonely->attribute("marker-filters")).setValue("1");
    const Tactile::Marker marker(1, table.code, kCard);
    CHECK_FALSE(lonely->shouldGrab(table.grabs(), marker));
    lonely->markerDown(marker, table.grabs());
    lonely->markerUp(marker, table.grabs());
    CHECK(table.asked().empty());
    CHECK(table.spaces().empty());
}
