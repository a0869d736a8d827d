#include "detector/PersonalTesselDetectorWidget.hpp"

#include "DetectorTables.hpp"
#include "LogCapture.hpp"
#include "personalspace/PersonalSpaceContents.hpp"

#include <doctest/doctest.h>

// Cards that are put on something collectable.

using PluginTest::newCode;
using PluginTest::PersonTable;
using Tavola::PersonalSpaceContents;
using Mode = Tavola::PersonalTesselDetectorWidget::WidgetCollectionMode;

namespace
{
const char* const kNoSpaces = "Cannot add widget to personal space, Tessel detector is not configured to use personal spaces.";

/// Neither component nor widget of a personal space.
std::shared_ptr<Tavola::WidgetComponent> makeOtherPersonalComponent()
{
    class Other final : public Tavola::PersonalTesselWidget
    {
    public:
        void setCode(unsigned long) override {}
        void setProperties(const Tavola::TesselServiceAPI::PersonalMarkerProperties&) override {}
    };
    return std::make_shared<Tavola::WidgetComponent>([] { return Bedrock::makeIntrusive<Other>(); });
}
}

TEST_CASE("card on content: it is added to the owner's space, which comes to the top after the frame")
{
    PersonTable table;
    table.collect(Mode::AddToPersonalSpace);
    const auto content = table.content();
    table.putOn(*content, table.code);
    REQUIRE(table.spaces().size() == 1);
    auto& space = *table.spaces()[0];
    CHECK(space.centerLocation().x == doctest::Approx(700.f));
    CHECK(space.centerLocation().y == doctest::Approx(500.f));
    CHECK(PersonalSpaceContents::personalContent(table.code)->items().size() == 1);
    CHECK(PersonalSpaceContents::personalContent(table.code)->items().begin()->second.widgetId == content->id());
    content->raiseToTop(false);
    CHECK(table.host.mainWidget().children().back() == content);
    table.host.frame();
    CHECK(table.host.mainWidget().children().back().get() == &space);
}

TEST_CASE("card on content: the space of an owner without an address collects in the e-mail modes")
{
    PersonTable table;
    const auto noAddress = newCode();
    table.host.addPerson(noAddress, "Dora");
    for (const auto mode : {Mode::EmailWithConfirmation, Mode::DirectEmail}) {
        table.collect(mode);
        table.putOn(*table.content(), noAddress);
    }
    CHECK(PersonalSpaceContents::personalContent(noAddress)->items().size() == 2);
    CHECK(table.spaces().size() == 2);
}

TEST_CASE("card on content: a disabled detector ignores it")
{
    PersonTable table;
    table.collect(Mode::Disabled);
    table.putOn(*table.content(), table.code);
    CHECK(table.spaces().empty());
}

TEST_CASE("card on content: what cannot be collected is left alone")
{
    PersonTable table;
    table.collect(Mode::AddToPersonalSpace);
    Trellis::Widget bare(nullptr);
    table.putOn(bare, table.code);
    CHECK(table.spaces().empty());
}

TEST_CASE("card on content: cards of a kind that is allowed collect, unless they own a folder, whatever the filters are")
{
    struct Row
    {
        const char* what;
        int kind; ///< -1: the card is not in the cache
        const char* contentKey;
        bool isAllowed; ///< "allow-unregistered-markers"
        bool collects;
    };
    const Row rows[] = {
        {"a personal card", 0, "", false, true},
        {"a personal card that owns a folder", 0, "folder-1", true, false},
        {"an unregistered card", 3, "", false, false},
        {"an unregistered card that is allowed", 3, "", true, true},
        {"an allowed card with a content key", 3, "folder-1", true, true},
        {"a card of another kind", 2, "", false, false},
        {"a card of another kind where unregistered ones are allowed", 2, "", true, false},
        {"an unknown card", -1, "", true, false},
    };
    for (const Row& row : rows) {
        for (const char* filters : {"", "1"}) {
            CAPTURE(row.what);
            CAPTURE(filters);
            PersonTable table;
            table.collect(Mode::AddToPersonalSpace);
            table.attribute<bool>("allow-unregistered-markers").setValue(row.isAllowed);
            table.attribute<QString>("marker-filters").setValue(filters);
            const auto card = newCode();
            using Tavola::TesselServiceAPI;
            if (row.kind >= 0)
                table.host.cache().insert(card,
                                          TesselServiceAPI::MarkerProperties(
                                              row.kind, TesselServiceAPI::PersonalMarkerProperties{"Bob", "", row.contentKey}));
            table.putOn(*table.content(), card);
            CHECK(table.spaces().size() == (row.collects ? 1u : 0u));
            CHECK(PersonalSpaceContents::personalContent(card)->items().size() == (row.collects ? 1u : 0u));
        }
    }
}

TEST_CASE("card on content: the space is turned towards the hand where the detector is")
{
    PersonTable table;
    table.collect(Mode::AddToPersonalSpace);
    table.attribute<bool>("rotate-towards-hand").setValue(true);
    table.putOn(*table.content(), table.code, 0.25f);
    REQUIRE(table.spaces().size() == 1);
    CHECK(table.spaces()[0]->rotation() == doctest::Approx(0.25 + PluginTest::kPi / 2));
}

TEST_CASE("card on content: a personal widget that is no space is a warning")
{
    PersonTable table;
    table.collect(Mode::AddToPersonalSpace);
    table.spaceRegistrant.reset();
    SUBCASE("another personal widget")
    {
        const Tavola::FactoryRegistrant<Tavola::WidgetComponent> other("personal-space-widget", makeOtherPersonalComponent);
        TestSupport::expectWarning(kNoSpaces);
        table.putOn(*table.content(), table.code);
    }
    SUBCASE("none at all")
    {
        TestSupport::expectWarning("UserInterface::createStockWidget # Component 'personal-space-widget' is not registered");
        TestSupport::expectWarning(kNoSpaces);
        table.putOn(*table.content(), table.code);
    }
    table.host.frame();
}

TEST_CASE("card on content: a space that is closed in the same frame is not raised")
{
    PersonTable table;
    table.collect(Mode::AddToPersonalSpace);
    table.putOn(*table.content(), table.code);
    REQUIRE(table.spaces().size() == 1);
    table.spaces()[0]->removeFromParent();
    table.host.frames(2);
    CHECK(table.spaces().empty());
}
