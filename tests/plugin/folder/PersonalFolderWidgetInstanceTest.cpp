#include "folder/PersonalFolderWidgetInstance.hpp"

#include "LogCapture.hpp"
#include "Table.hpp"

#include <doctest/doctest.h>

using PluginTest::FolderItem;
using PluginTest::Strings;
using Tavola::PersonalFolderWidgetInstance;

namespace
{
struct InstanceTable : PluginTest::Table
{
    InstanceTable() { addFolder(); }
    std::shared_ptr<PersonalFolderWidgetInstance> instance()
    {
        return std::dynamic_pointer_cast<PersonalFolderWidgetInstance>(host.tavola().widgetInstance(folder->id()));
    }
    Strings made(bool relative)
    {
        Strings names;
        for (const auto& widget : instance()->createContents(relative)) {
            CHECK_FALSE(widget->parent());
            names.push_back(dynamic_cast<FolderItem&>(*widget).name);
        }
        return names;
    }
};
}

TEST_CASE("folder instance: the host finds it by the folder, and it refers to component and widget")
{
    InstanceTable table;
    REQUIRE(table.instance());
    CHECK(table.instance()->widget() == table.folder);
    CHECK(table.instance()->component() == table.component);
}

TEST_CASE("folder instance: it creates the contents of its two slots, in order and without parents")
{
    InstanceTable table;
    CHECK(table.made(true).empty());
    CHECK(table.made(false).empty());
    table.addItem(InstanceTable::kRelative, "r1");
    table.addItem(InstanceTable::kAbsolute, "a1");
    table.addItem(InstanceTable::kRelative, "r2");
    table.addItem("some-other-slot", "x");
    CHECK(table.made(true) == Strings{"r1", "r2"});
    CHECK(table.made(false) == Strings{"a1"});
}

TEST_CASE("folder instance: every call creates new widgets, with instances that the host finds")
{
    InstanceTable table;
    table.addItem(InstanceTable::kRelative, "r");
    const auto first = table.instance()->createContents(true);
    const auto second = table.instance()->createContents(true);
    REQUIRE(first.size() == 1);
    REQUIRE(second.size() == 1);
    CHECK(first[0] != second[0]);
    CHECK(table.host.tavola().widgetInstance(first[0]->id()));
    CHECK(table.host.tavola().widgetInstance(second[0]->id()));
}

TEST_CASE("folder instance: an assignment whose widget cannot be created is skipped")
{
    InstanceTable table;
    const auto broken = std::make_shared<Tavola::WidgetComponent>(nullptr);
    broken->setName("broken");
    table.component->assign(InstanceTable::kAbsolute, broken);
    table.addItem(InstanceTable::kAbsolute, "a");
    TestSupport::expectWarning("UIComponent::createInstance # Component 'broken' made no widget");
    CHECK(table.made(false) == Strings{"a"});
}

TEST_CASE("folder instance: one whose component has no slots creates nothing")
{
    InstanceTable table;
    const auto instance = std::make_shared<PersonalFolderWidgetInstance>(
        std::make_shared<Tavola::Component>(), Bedrock::IntrusivePtr<Trellis::Widget>(table.folder.get()));
    CHECK(instance->createContents(true).empty());
    CHECK(instance->createContents(false).empty());
}
