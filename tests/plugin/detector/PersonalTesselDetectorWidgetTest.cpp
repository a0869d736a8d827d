#include "detector/PersonalTesselDetectorWidget.hpp"

#include "DetectorTables.hpp"
#include "LogCapture.hpp"

#include <Tavola/Utils.hpp>
#include <Trellis/TextWidget.hpp>

#include <doctest/doctest.h>

using PluginTest::childOfClass;
using PluginTest::newCode;
using PluginTest::PersonTable;
using Tavola::PersonalTesselDetectorWidget;
using Mode = PersonalTesselDetectorWidget::WidgetCollectionMode;

TEST_CASE("detector: it has its CSS type, and its attributes with their defaults")
{
    PersonTable table;
    CHECK(table.detector->cssType() == "PersonalTesselDetectorWidget");
    CHECK_FALSE(table.attribute<bool>("allow-unregistered-markers").value());
    CHECK_FALSE(table.attribute<bool>("rotate-towards-hand").value());
    CHECK(table.attribute<float>("rotation-offset").value() == 90.f);
    CHECK(table.attribute<QString>("marker-filters").value().isEmpty());
    CHECK(table.attribute<Mode>("collection-mode").value() == Mode::EmailWithConfirmation);
    std::vector<std::string> own;
    const Trellis::Widget plain;
    for (const auto* attribute : table.detector->attributes())
        if (!plain.attribute(attribute->name()))
            own.push_back(attribute->name().toStdString());
    own.erase(own.begin(), own.end() - 5);
    CHECK(own
          == PluginTest::Strings{"allow-unregistered-markers", "rotate-towards-hand", "rotation-offset", "marker-filters",
                                 "collection-mode"});
}

TEST_CASE("detector: the collection modes have their numbers, and names in any case")
{
    CHECK(int(Mode::Disabled) == 0);
    CHECK(int(Mode::AddToPersonalSpace) == 1);
    CHECK(int(Mode::EmailWithConfirmation) == 2);
    CHECK(int(Mode::DirectEmail) == 3);
    PersonTable table;
    const auto styled = [&](const char* word) {
        table.host.style(QString("PersonalTesselDetectorWidget { collection-mode: %1 }").arg(word));
        return table.attribute<Mode>("collection-mode").value();
    };
    CHECK(styled("disabled") == Mode::Disabled);
    CHECK(styled("add-to-personal-space") == Mode::AddToPersonalSpace);
    CHECK(styled("Direct-Email") == Mode::DirectEmail);
    CHECK(styled("EMAIL-WITH-CONFIRMATION") == Mode::EmailWithConfirmation);
}

TEST_CASE("detector: the filters are read anew with every change of their attribute")
{
    PersonTable table;
    CHECK(table.detector->validCode(11));
    table.host.style("PersonalTesselDetectorWidget { marker-filters: \"10,20-25\" }");
    CHECK(table.detector->validCode(22));
    CHECK_FALSE(table.detector->validCode(11));
    table.attribute<QString>("marker-filters").setValue("11");
    CHECK(table.detector->validCode(11));
    CHECK_FALSE(table.detector->validCode(22));
    table.attribute<QString>("marker-filters").clearValue(Facet::kUserLayer);
    CHECK(table.detector->validCode(22));
    TestSupport::expectError(
        "PersonalTesselDetectorWidget::parseFilters # Invalid entry '5-5' in '5-5', expected format '10,20-25,30'");
    table.attribute<QString>("marker-filters").setValue("5-5");
    CHECK_FALSE(table.detector->filters().hasFilters);
    CHECK(table.detector->validCode(11));
}

TEST_CASE("detector: a style sheet's filters restrict it, with quotes around them and without")
{
    for (const char* filters : {"10", "10,20-25", "10, 20-25", "20-25,10", "10 , 20 - 25", "\"10,20-25\""}) {
        CAPTURE(filters);
        PersonTable table;
        table.host.style(QString("PersonalTesselDetectorWidget { marker-filters: %1 }").arg(filters));
        CHECK(table.detector->filters().hasFilters);
        CHECK(table.detector->validCode(10));
        CHECK(table.detector->validCode(22) == (QString(filters) != "10"));
        CHECK_FALSE(table.detector->validCode(11));
        CHECK_FALSE(table.wouldGrab(table.code));
    }
    for (const char* code : {"18446744073709551615", "9007199254740993", "0010"}) {
        CAPTURE(code);
        PersonTable table;
        table.host.style(QString("PersonalTesselDetectorWidget { marker-filters: %1 }").arg(code));
        CHECK(table.detector->validCode(QString(code).toULongLong()));
        CHECK_FALSE(table.detector->validCode(QString(code).toULongLong() - 1));
    }
}

TEST_CASE("detector: an unquoted entry of a style sheet that is no range is logged as it is written")
{
    PersonTable table;
    TestSupport::expectError(
        "PersonalTesselDetectorWidget::parseFilters # Invalid entry '5-5' in '5-5,010', expected format '10,20-25,30'");
    table.host.style("PersonalTesselDetectorWidget { marker-filters: 5-5,010 }");
    CHECK(table.detector->validCode(10));
    CHECK_FALSE(table.detector->validCode(5));
}

TEST_CASE("grab: a known card inside the detector is grabbed where its kind is allowed and its code passes the filters")
{
    struct Row
    {
        const char* what;
        int kind;       ///< as the marker service gives it; -1: the card is not in the cache
        bool isAllowed; ///< "allow-unregistered-markers"
        bool isInside;
        bool isFiltered; ///< the filters name another code
        bool isGrabbed;
    };
    const Row rows[] = {
        {"a personal card", 0, false, true, false, true},
        {"a personal card beside the detector", 0, false, false, false, false},
        {"a personal card whose code is rejected", 0, false, true, true, false},
        {"a personal card where others are allowed", 0, true, true, false, true},
        {"an unregistered card", 3, false, true, false, false},
        {"an unregistered card that is allowed", 3, true, true, false, true},
        {"an allowed card beside the detector", 3, true, false, false, false},
        {"an allowed card whose code is rejected", 3, true, true, true, false},
        {"a card of another kind", 1, false, true, false, false},
        {"a card of another kind where unregistered ones are allowed", 1, true, true, false, false},
        {"a second other kind", 2, true, true, false, false},
        {"an unknown card", -1, false, true, false, false},
        {"an unknown card where unregistered ones are allowed", -1, true, true, false, false},
    };
    for (const Row& row : rows) {
        CAPTURE(row.what);
        PersonTable table;
        const auto card = newCode();
        if (row.kind >= 0)
            table.host.addCard(card, row.kind);
        table.attribute<bool>("allow-unregistered-markers").setValue(row.isAllowed);
        table.attribute<QString>("marker-filters").setValue(QString::number(row.isFiltered ? card + 1 : card));
        const Vecta::Vector2f place = row.isInside ? PluginTest::kCard : Vecta::Vector2f(100.f, 400.f);
        CHECK(table.wouldGrab(card, place) == row.isGrabbed);
        const auto id = table.putDown(card, place);
        CHECK((table.holder(id) == table.detector.get()) == row.isGrabbed);
        table.lift(id);
        CHECK(table.spaces().size() == (row.isGrabbed ? 1u : 0u));
    }
}

TEST_CASE("grab: a finger is never grabbed, also where its missing code is that of a person")
{
    PersonTable table;
    table.host.addPerson(0, "Nil");
    REQUIRE(table.wouldGrab(0));
    CHECK_FALSE(
        table.detector->shouldGrab(*table.host.app().grabManager(), {Tactile::TrackedObject::Type::Finger, 1, {600.f, 400.f}}));
}

TEST_CASE("card: it opens its owner's space, centred at the card and upright")
{
    PersonTable table;
    const auto id = table.putDown(table.code, {600.f, 400.f}, 1.f);
    CHECK(table.holder(id) == table.detector.get());
    REQUIRE(table.spaces().size() == 1);
    auto& space = *table.spaces()[0];
    CHECK(space.centerLocation().x == doctest::Approx(600.f));
    CHECK(space.centerLocation().y == doctest::Approx(400.f));
    CHECK(space.rotation() == 0.f);
    CHECK(space.hasCSSClass(Tavola::Utils::temporaryWidgetCSSClass()));
    CHECK(space.parent() == &table.host.mainWidget());
    CHECK(table.host.mainWidget().children().back().get() == &space);
    CHECK(childOfClass<Trellis::TextWidget>(space, "title").text() == "Hi, Ann");
    CHECK(dynamic_cast<Facet::AttributeT<QString>&>(*space.attribute("user-email")).value() == "ann@example.org");
    CHECK(space.findByType("PersonalSpaceContentWidget"));
    CHECK(space.hasCSSClass("email-mode"));
}

TEST_CASE("card: the space stays when the card is lifted, and another card opens another one")
{
    PersonTable table;
    const auto other = newCode();
    table.host.addPerson(other, "Bob");
    table.lift(table.putDown(table.code));
    CHECK(table.spaces().size() == 1);
    (void)table.putDown(other, {300.f, 200.f});
    REQUIRE(table.spaces().size() == 2);
    CHECK(childOfClass<Trellis::TextWidget>(*table.spaces()[1], "title").text() == "Hi, Bob");
}

TEST_CASE("card: the main widget may be turned and scaled, the centre is the card all the same")
{
    PersonTable table;
    table.host.mainWidget().setScale(0.5f);
    table.host.mainWidget().setRotation(0.3f);
    const auto launched = table.detector->launchPersonalWidget({}, table.code, {600.f, 400.f}, 0.7f);
    REQUIRE(launched);
    const auto centre = launched->mapToScene(launched->size() * 0.5f);
    CHECK(centre.x == doctest::Approx(600.0).epsilon(0.001));
    CHECK(centre.y == doctest::Approx(400.0).epsilon(0.001));
    CHECK(launched->rotation() == doctest::Approx(0.7));
}

TEST_CASE("card: turned towards the hand the space has the card's rotation and the offset, and keeps its centre")
{
    PersonTable table;
    table.attribute<bool>("rotate-towards-hand").setValue(true);
    (void)table.putDown(table.code, {600.f, 400.f}, 0.5f);
    REQUIRE(table.spaces().size() == 1);
    CHECK(table.spaces()[0]->rotation() == doctest::Approx(0.5 + PluginTest::kPi / 2));
    const auto centre = table.spaces()[0]->mapToScene(table.spaces()[0]->size() * 0.5f);
    CHECK(centre.x == doctest::Approx(600.0));
    CHECK(centre.y == doctest::Approx(400.0));
}

TEST_CASE("card: the offset is in degrees")
{
    PersonTable table;
    table.host.style("PersonalTesselDetectorWidget { rotate-towards-hand: true; rotation-offset: -45 }");
    (void)table.putDown(table.code, {600.f, 400.f}, 1.f);
    REQUIRE(table.spaces().size() == 1);
    CHECK(table.spaces()[0]->rotation() == doctest::Approx(1.0 - PluginTest::kPi / 4));
}

TEST_CASE("card: an unregistered one opens a space without an owner where it is allowed")
{
    PersonTable table;
    const auto unregistered = newCode();
    table.host.addCard(unregistered, 3);
    table.lift(table.putDown(unregistered));
    CHECK(table.spaces().empty());
    table.attribute<bool>("allow-unregistered-markers").setValue(true);
    (void)table.putDown(unregistered);
    REQUIRE(table.spaces().size() == 1);
    CHECK(table.spaces()[0]->hasPseudoClass("unregistered-user"));
    CHECK(table.spaces()[0]->hasPseudoClass("no-email"));
}

TEST_CASE("card: one with a content key never opens a personal space, its folder is asked for instead")
{
    PersonTable table;
    const auto keyed = newCode();
    table.host.addPerson(keyed, "Cleo", "cleo@example.org", "folder-1");
    TestSupport::expectWarning("PersonalTesselDetectorWidget::handlePersonalMarker # Failed to create personal folder for code "
                               + std::to_string(keyed) + " (no personal widget)");
    const auto id = table.putDown(keyed);
    CHECK(table.host.tesselService().personalWidgetCalls == std::vector<unsigned long>{keyed});
    CHECK_FALSE(table.holder(id));
    table.lift(id);
    CHECK(table.spaces().empty());
}

TEST_CASE("card: without an instance, or where no personal widget can be created, nothing is opened")
{
    PersonTable table;
    SUBCASE("a detector that no component made")
    {
        const Bedrock::IntrusivePtr<PersonalTesselDetectorWidget> detector(
            new PersonalTesselDetectorWidget(&table.host.mainWidget()));
        CHECK_FALSE(detector->launchPersonalWidget({}, table.code, {600.f, 400.f}, 0.f));
    }
    SUBCASE("no component for personal spaces")
    {
        table.spaceRegistrant.reset();
        TestSupport::expectWarning("UserInterface::createStockWidget # Component 'personal-space-widget' is not registered");
        (void)table.putDown(table.code);
    }
    CHECK(table.spaces().empty());
}

TEST_CASE("detector: without an application it grabs, opens and collects nothing")
{
    PersonTable table;
    const auto content = table.content();
    const auto id = table.putDown(table.code);
    const Tactile::Marker marker = *table.card(id);
    const auto idle = table.putDown(newCode(), {1500.f, 900.f});
    auto& grabs = *table.host.app().grabManager();
    table.host.destroyTavola();
    CHECK_FALSE(table.detector->shouldGrab(grabs, marker));
    table.detector->markerDown(marker, grabs);
    table.detector->markerUp(marker, grabs);
    CHECK_FALSE(table.detector->launchPersonalWidget({}, table.code, {600.f, 400.f}, 0.f));
    table.detector->emailWidget(*content, {"Ann", "ann@example.org", {}}, {600.f, 400.f}, 0.f);
    table.detector->tesselOnWidget(*content, marker);
    const auto* const holder = table.holder(idle);
    table.detector->pickupIdleMarkers();
    CHECK(table.holder(idle) == holder);
    table.attribute<QString>("marker-filters").setValue("1");
    table.detector->markerDown(marker, grabs);
    table.detector->markerUp(marker, grabs);
    TestSupport::expectWarning("PersonalTesselDetectorWidget::handlePersonalMarker # Failed to create personal folder for code "
                               + std::to_string(table.code) + " (Got null widget)");
    table.detector->handlePersonalMarker(marker, grabs, true);
    PersonalTesselDetectorWidget().update(Trellis::FrameInfo(1.f / 60.f, 0.0, 1));
}

TEST_CASE("card: spaces stay when the detector is destroyed")
{
    PersonTable table;
    (void)table.putDown(table.code);
    table.detector->removeFromParent();
    table.detector.reset();
    table.host.frames(2);
    CHECK(table.spaces().size() == 1);
}
