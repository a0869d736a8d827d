#include "detector/WidgetTesselDetectorOperator.hpp"

#include "LogCapture.hpp"
#include "Table.hpp"
#include "personalspace/PersonalSpaceContents.hpp"

#include <Bedrock/BinaryData.hpp>
#include <Cascara/LazyAttributeManager.hpp>

#include <doctest/doctest.h>

using PluginTest::newCode;
using PluginTest::operatorsOf;
using PluginTest::PlainContent;
using Tavola::PersonalSpaceContents;
using Tavola::WidgetTesselDetectorOperator;
using Mode = Tavola::PersonalTesselDetectorWidget::WidgetCollectionMode;

namespace
{
const char* const kSeveral = "WidgetTesselDetectorOperator # Multiple PersonalTesselDetectorWidgets found, using first one";
const char* const kAttribute = "track-tessels-on-widget";

/// A table with a detector that collects into spaces, and a picture beside the detector.
struct PictureTable : PluginTest::Table
{
    Cascara::LazyAttributeManager::Registrant registrant{kAttribute, &Tavola::createTrackTesselsAttribute};
    Bedrock::IntrusivePtr<PlainContent> picture;

    explicit PictureTable(bool withDetector = true)
    {
        host.style("PersonalTesselDetectorWidget { collection-mode: add-to-personal-space }");
        host.addPerson(code, "Ann");
        picture = addPicture();
        if (withDetector) {
            addDetector();
            host.frame();
        }
    }
    Bedrock::IntrusivePtr<PlainContent> addPicture()
    {
        const Bedrock::IntrusivePtr<PlainContent> made(new PlainContent(nullptr));
        made->setCSSType("Picture");
        made->source.setValue("https://example.org/picture");
        made->setSize({200.f, 100.f});
        made->setLocation({1200.f, 800.f});
        host.mainWidget().addChild(made);
        return made;
    }
    void track() { host.style(QString("Picture { %1: true }").arg(kAttribute)); }
    Facet::AttributeT<bool>* tracking() { return dynamic_cast<Facet::AttributeT<bool>*>(picture->attribute(kAttribute)); }
    [[nodiscard]] std::size_t operators() { return operatorsOf<WidgetTesselDetectorOperator>(*picture).size(); }
    std::int64_t putOnPicture(unsigned long card) { return putDown(card, {1300.f, 850.f}); }
    void sendDown(std::int64_t object)
    {
        Bedrock::BinaryData payload;
        payload.writeInt64(object);
        picture->eventSend("marker-down", payload);
    }
    [[nodiscard]] std::size_t collected() { return PersonalSpaceContents::personalContent(code)->items().size(); }
};
}

TEST_CASE("card operator: it has its CSS type")
{
    CHECK(Bedrock::makeIntrusive<WidgetTesselDetectorOperator>()->cssType() == "WidgetTesselDetectorOperator");
}

TEST_CASE("track-tessels-on-widget: a widget has it only when a style names it, false at first")
{
    PictureTable table;
    CHECK_FALSE(table.picture->attribute(kAttribute));
    table.host.style(QString("Picture { %1: false }").arg(kAttribute));
    table.host.frame();
    REQUIRE(table.tracking());
    CHECK_FALSE(table.tracking()->value());
    CHECK_FALSE(table.tracking()->value(Facet::kDefaultLayer));
    CHECK(table.operators() == 0);
}

TEST_CASE("track-tessels-on-widget: true attaches one operator, false removes it, a rule that stops matching too")
{
    PictureTable table;
    table.track();
    table.host.frame();
    CHECK(table.operators() == 1);
    table.host.frames(3);
    CHECK(table.operators() == 1);
    table.host.style(QString("Picture.quiet { %1: false }").arg(kAttribute));
    table.picture->addCSSClass("quiet");
    table.host.frame();
    CHECK(table.operators() == 0);
    table.picture->removeCSSClass("quiet");
    table.host.frame();
    CHECK(table.operators() == 1);
    table.picture->setCSSType("Drawing");
    table.host.frame();
    CHECK(table.operators() == 0);
}

TEST_CASE("track-tessels-on-widget: a value of the program's counts like one of a style")
{
    PictureTable table;
    table.host.style(QString("Picture { %1: false }").arg(kAttribute));
    table.host.frame();
    REQUIRE(table.tracking());
    table.tracking()->setValue(true);
    CHECK(table.operators() == 1);
    table.tracking()->setValue(true);
    CHECK(table.operators() == 1);
    table.tracking()->clearValue(Facet::kUserLayer);
    CHECK(table.operators() == 0);
}

TEST_CASE("track-tessels-on-widget: false removes every detector operator of the widget, however many were attached")
{
    PictureTable table;
    table.track();
    table.host.frame();
    const auto other = Bedrock::makeIntrusive<Trellis::Operator>();
    table.picture->addOperator(Bedrock::makeIntrusive<WidgetTesselDetectorOperator>());
    table.picture->addOperator(other);
    table.picture->addOperator(Bedrock::makeIntrusive<WidgetTesselDetectorOperator>());
    CHECK(table.operators() == 3);
    table.tracking()->setValue(false);
    CHECK(table.operators() == 0);
    REQUIRE(table.picture->operators().size() == 1);
    CHECK(table.picture->operators()[0] == other);
    CHECK_FALSE(table.picture->eventHasListeners("marker-down"));
}

TEST_CASE("card operator: it listens while it is attached")
{
    PictureTable table;
    CHECK_FALSE(table.picture->eventHasListeners("marker-down"));
    const auto op = Bedrock::makeIntrusive<WidgetTesselDetectorOperator>();
    table.picture->addOperator(op);
    CHECK(table.picture->eventHasListeners("marker-down"));
    table.picture->removeOperator(*op);
    CHECK_FALSE(table.picture->eventHasListeners("marker-down"));
    (void)table.putOnPicture(table.code);
    CHECK(table.spaces().empty());
}

TEST_CASE("card operator: a card that is put on its widget collects it")
{
    PictureTable table;
    table.track();
    table.host.frame();
    const auto id = table.putOnPicture(table.code);
    CHECK(table.holder(id) == table.picture.get());
    REQUIRE(table.spaces().size() == 1);
    CHECK(table.spaces()[0]->centerLocation().x == doctest::Approx(1300.f));
    CHECK(table.spaces()[0]->centerLocation().y == doctest::Approx(850.f));
    const auto items = PersonalSpaceContents::personalContent(table.code)->items();
    REQUIRE(items.size() == 1);
    CHECK(items.begin()->second.widgetId == table.picture->id());
    table.lift(id);
    CHECK(table.spaces().size() == 1);
}

TEST_CASE("card operator: a widget that is not tracked is not collected")
{
    PictureTable table;
    (void)table.putOnPicture(table.code);
    CHECK(table.spaces().empty());
    CHECK(table.collected() == 0);
}

TEST_CASE("card operator: a marker-down for a marker that is no longer tracked does nothing")
{
    PictureTable table;
    const Bedrock::IntrusivePtr<PluginTest::Table::Detector> second(new PluginTest::Table::Detector(&table.host.mainWidget()));
    table.track();
    table.host.frame();
    // No warning of the two detectors either: they are not searched for.
    table.sendDown(123456);
    const auto id = table.putDown(newCode(), {1700.f, 1000.f});
    table.lift(id);
    table.sendDown(id);
    CHECK(table.spaces().empty());
    CHECK(TestSupport::loggedLines().empty());
}

TEST_CASE("card operator: a marker-down without an id does nothing")
{
    PictureTable table;
    table.track();
    table.host.frame();
    (void)table.putDown(table.code, {1700.f, 1000.f});
    table.picture->eventSend("marker-down");
    CHECK(table.spaces().empty());
}

TEST_CASE("card operator: without a detector the card is ignored silently")
{
    PictureTable table(false);
    table.track();
    table.host.frame();
    (void)table.putOnPicture(table.code);
    CHECK(table.spaces().empty());
    CHECK(TestSupport::loggedLines().empty());
}

TEST_CASE("card operator: a detector that is not in the tree does not count")
{
    PictureTable table;
    table.detector->removeFromParent();
    table.track();
    table.host.frame();
    (void)table.putOnPicture(table.code);
    CHECK(table.spaces().empty());
}

TEST_CASE("card operator: of several detectors the first one of the tree is used, with a warning")
{
    PictureTable table;
    // Before the table's own one, and deep in the tree.
    const Bedrock::IntrusivePtr<Trellis::Widget> nest(new Trellis::Widget(table.host.ui().background().get()));
    const auto made = table.host.tavola().createComponent("tavola-personal-tessel-detector")->createContentWidget();
    nest->addChild(made);
    auto& first = dynamic_cast<PluginTest::Table::Detector&>(*made);
    first.setInputEnabled(false);
    table.track();
    table.host.frame();
    SUBCASE("which is disabled")
    {
        dynamic_cast<Facet::AttributeT<Mode>&>(*first.attribute("collection-mode")).setValue(Mode::Disabled);
        TestSupport::expectWarning(kSeveral);
        (void)table.putOnPicture(table.code);
        CHECK(table.spaces().empty());
    }
    SUBCASE("the others being disabled")
    {
        table.attribute<Mode>("collection-mode").setValue(Mode::Disabled);
        TestSupport::expectWarning(kSeveral);
        (void)table.putOnPicture(table.code);
        CHECK(table.spaces().size() == 1);
    }
}

TEST_CASE("card operator: a widget of a detector's type name that is none is skipped silently")
{
    PictureTable table(false);
    const Bedrock::IntrusivePtr<Trellis::Widget> impostor(new Trellis::Widget(table.host.ui().background().get()));
    impostor->setCSSType("PersonalTesselDetectorWidget");
    impostor->setInputEnabled(false);
    table.track();
    table.host.frame();
    SUBCASE("alone")
    {
        (void)table.putOnPicture(table.code);
        CHECK(table.spaces().empty());
    }
    SUBCASE("before a true one")
    {
        table.addDetector();
        table.host.frame();
        (void)table.putOnPicture(table.code);
        CHECK(table.spaces().size() == 1);
    }
    CHECK(TestSupport::loggedLines().empty());
}

TEST_CASE("card operator: two operators of one widget report a card twice")
{
    PictureTable table;
    table.picture->addOperator(Bedrock::makeIntrusive<WidgetTesselDetectorOperator>());
    table.picture->addOperator(Bedrock::makeIntrusive<WidgetTesselDetectorOperator>());
    (void)table.putOnPicture(table.code);
    CHECK(table.spaces().size() == 2);
}

TEST_CASE("card operator: its widget may be destroyed, or removed or untracked by a listener while a card comes down")
{
    PictureTable table;
    table.track();
    table.host.frame();
    SUBCASE("destroyed before")
    {
        table.picture->removeFromParent();
        table.picture.reset();
        (void)table.putDown(table.code, {1300.f, 850.f});
        CHECK(table.spaces().empty());
    }
    SUBCASE("removed by an earlier listener")
    {
        const auto other = table.addPicture();
        other->eventAddListener("marker-down", [&] { other->removeFromParent(); });
        table.host.frame();
        (void)table.putDown(table.code, {1300.f, 850.f});
        table.host.frames(2);
    }
    SUBCASE("untracked by an earlier listener")
    {
        const auto other = table.addPicture();
        other->eventAddListener("marker-down",
                                [&] { dynamic_cast<Facet::AttributeT<bool>&>(*other->attribute(kAttribute)).setValue(false); });
        other->addOperator(Bedrock::makeIntrusive<WidgetTesselDetectorOperator>());
        table.host.frame();
        (void)table.putDown(table.code, {1300.f, 850.f});
        CHECK(operatorsOf<WidgetTesselDetectorOperator>(*other).empty());
    }
}
