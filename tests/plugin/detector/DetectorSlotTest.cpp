#include "detector/PersonalTesselDetectorInstance.hpp"

#include "DetectorTables.hpp"
#include "LogCapture.hpp"

#include <doctest/doctest.h>

#include <memory>

// The slot "custom-tessel-content" of a detector.

using PluginTest::FoldersOnDetector;
using PluginTest::kSlot;
using PluginTest::Strings;
using Tavola::PersonalFolderWidget;
using Tavola::PersonalTesselDetectorInstance;
using Vecta::Vector2f;

TEST_CASE("slot: the folder is made without a parent, and is kept while it is in the slot")
{
    FoldersOnDetector table;
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

TEST_CASE("slot: a component whose widget is no folder is ignored silently, and replaces no folder")
{
    FoldersOnDetector table;
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
    FoldersOnDetector table;
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
    FoldersOnDetector table;
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
    FoldersOnDetector table;
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

TEST_CASE("slot: a folder that is in it before the detector is created counts after the detector's first frame")
{
    PluginTest::Table table;
    table.host.addPerson(table.code, "Ann");
    const auto component =
        std::dynamic_pointer_cast<Tavola::UIComponent>(table.host.tavola().createComponent("tavola-personal-tessel-detector"));
    const auto folder = table.makeFolderComponent();
    folder->assign(PluginTest::Table::kRelative, table.itemComponent("slot"));
    component->assign(kSlot, folder);
    table.detector = Bedrock::dynamicPointerCast<PluginTest::Table::Detector>(component->createContentWidget());
    table.host.mainWidget().addChild(table.detector);
    table.attribute<QString>("marker-filters").setValue("1");
    table.host.frame();
    (void)table.putDown(table.code);
    CHECK(table.itemNames() == Strings{"slot"});
}

TEST_CASE("slot: a deferred step does nothing once its instance is destroyed")
{
    FoldersOnDetector table;
    auto instance = std::make_shared<PersonalTesselDetectorInstance>(
        std::make_shared<Tavola::Component>(), Bedrock::IntrusivePtr<Trellis::Widget>(table.detector.get()));
    SUBCASE("an addition")
    {
        instance->componentAddedToSlot(kSlot, table.folderWith("slot"));
    }
    SUBCASE("a removal")
    {
        instance->componentRemovedFromSlot(kSlot, table.folderWith("slot"));
    }
    const std::weak_ptr<PersonalTesselDetectorInstance> watched = instance;
    instance.reset();
    CHECK(watched.expired());
    table.host.frames(2);
}

TEST_CASE("slot: a detector that is destroyed before the frame ends leaves no folder")
{
    FoldersOnDetector table;
    table.detectorComponent()->assign(kSlot, table.folderWith("slot"));
    table.detector->removeFromParent();
    table.detector.reset();
    table.host.frames(3);
    CHECK(table.items().empty());
}

TEST_CASE("slot: an instance that no shared pointer owns throws for this slot")
{
    FoldersOnDetector table;
    PersonalTesselDetectorInstance instance(std::make_shared<Tavola::Component>(),
                                            Bedrock::IntrusivePtr<Trellis::Widget>(table.detector.get()));
    const auto made = table.folderWith("slot");
    CHECK_THROWS_AS(instance.componentAddedToSlot(kSlot, made), std::bad_weak_ptr);
    CHECK_THROWS_AS(instance.componentRemovedFromSlot(kSlot, made), std::bad_weak_ptr);
    CHECK_NOTHROW(instance.componentAddedToSlot("another", made));
    CHECK_NOTHROW(instance.componentRemovedFromSlot("another", made));
}
