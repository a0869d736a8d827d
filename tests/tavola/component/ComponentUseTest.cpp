#include <doctest/doctest.h>

#include "Components.hpp"
#include "LogCapture.hpp"
#include "TestHost.hpp"

#include <Tavola/Component.hpp>
#include <Tavola/ComponentUse.hpp>

#include <QJsonArray>

using Tavola::ComponentUse;
using TestSupport::expectWarning;
using TestSupport::TestHost;

namespace
{
/// A table on which there are a "panel" and a "picture".
struct Table
{
    Table()
    {
        for (const char* name : {"panel", "picture"})
            addComponentOf<Trellis::Widget>(host, name, Tavola::Schema({{"restrictions", QJsonArray{"lock"}}}));
    }
    TestHost host;
};

ComponentUse use(const char* component, const char* id = "", const char* place = "file.json: widgets[0]")
{
    ComponentUse made;
    made.component = QString::fromLatin1(component);
    made.properties = QJsonObject{{"id", id}};
    made.place = QString::fromLatin1(place);
    return made;
}

std::string ids(const std::vector<std::shared_ptr<Tavola::Component>>& components)
{
    std::string all;
    for (const auto& component : components)
        all += (all.empty() ? "" : " ") + component->properties().value("id").toString().toStdString();
    return all;
}
}

TEST_CASE("component use: makes the component with its properties, and what is in its slots in order")
{
    const Table table;
    ComponentUse outer = use("panel", "outer");
    ComponentUse inner = use("panel", "b");
    inner.slotContents = {{"deep", {use("picture", "d")}}};
    outer.slotContents = {{"s", {use("picture", "a"), inner}}, {"t", {use("picture", "c")}}, {"empty", {}}};
    const auto made = outer.makeComponent();
    REQUIRE(made);
    CHECK(made->name() == "panel");
    CHECK(made->properties() == QJsonObject{{"id", "outer"}});
    CHECK(ids(made->assignments("s")) == "a b");
    CHECK(ids(made->assignments("t")) == "c");
    CHECK(made->assignments("empty").empty());
    const auto second = std::dynamic_pointer_cast<Tavola::UIComponent>(made->assignments("s")[1]);
    REQUIRE(second);
    CHECK(ids(second->assignments("deep")) == "d");
}

TEST_CASE("component use: a slot that is named twice holds both contents")
{
    const Table table;
    ComponentUse outer = use("panel");
    outer.slotContents = {{"s", {use("picture", "a")}}, {"s", {use("picture", "b")}}};
    CHECK(ids(outer.makeComponent()->assignments("s")) == "a b");
}

TEST_CASE("component use: each making makes a component of its own")
{
    const Table table;
    ComponentUse outer = use("panel");
    outer.slotContents = {{"s", {use("picture")}}};
    const auto first = outer.makeComponent();
    const auto second = outer.makeComponent();
    CHECK(first != second);
    CHECK(first->assignments("s")[0] != second->assignments("s")[0]);
}

TEST_CASE("component use: what is not registered in a slot is left out, with a warning and its place")
{
    const Table table;
    ComponentUse outer = use("panel");
    outer.slotContents = {
        {"s", {use("picture", "a"), use("spoon", "b", "file.json: widgets[0].slots.s[1]"), use("picture", "c")}}};
    expectWarning("ComponentUse # file.json: widgets[0].slots.s[1]: there is no component \"spoon\"; it is left out");
    CHECK(ids(outer.makeComponent()->assignments("s")) == "a c");
}

TEST_CASE("component use: one that is not registered is null, and nothing in its slots is looked at")
{
    const Table table;
    ComponentUse outer = use("100%s", "", "50%n.json: widgets[0]");
    outer.slotContents = {{"s", {use("spoon")}}};
    expectWarning("ComponentUse # 50%n.json: widgets[0]: there is no component \"100%s\"; it is left out");
    CHECK(outer.makeComponent() == nullptr);
}

TEST_CASE("component use: one whose restriction cannot be used is left out with an error, for any other attribute it is made")
{
    const Table table;
    ComponentUse outer = use("panel");
    ComponentUse open = use("picture", "a", "file.json: widgets[0].slots.s[0]");
    open.unusableAttributes = QStringList{"color", "lock"};
    ComponentUse plain = use("picture", "b");
    plain.unusableAttributes = QStringList{"color"};
    outer.slotContents = {{"s", {open, plain}}};
    TestSupport::expectError("ComponentUse # file.json: widgets[0].slots.s[0]: component \"picture\" is left out, because it "
                             "restricts nothing without "
                             "\"lock\"");
    CHECK(ids(outer.makeComponent()->assignments("s")) == "b");
}

TEST_CASE("component use: one whose factory makes nothing is left out")
{
    Table table;
    auto factory = std::make_shared<Tavola::ComponentFactory>();
    factory->create = [] { return std::shared_ptr<Tavola::UIComponent>(); };
    table.host.tavola().registerFactory(QStringLiteral("empty"), factory);
    expectWarning("ComponentUse # file.json: widgets[0]: component \"empty\" cannot be made; it is left out");
    CHECK(use("empty").makeComponent() == nullptr);
}

TEST_CASE("component use: without an application there is no component")
{
    expectWarning("ComponentUse # file.json: widgets[0]: there is no component \"panel\"; it is left out");
    CHECK(use("panel").makeComponent() == nullptr);
}
