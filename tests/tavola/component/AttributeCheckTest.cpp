#include <Tavola/AttributeCheck.hpp>

#include "Components.hpp"
#include "LogCapture.hpp"
#include "TestHost.hpp"

#include <Facet/AttributeT.hpp>
#include <Tavola/ComponentUse.hpp>

#include <doctest/doctest.h>

#include <QFile>
#include <QJsonArray>
#include <QTemporaryDir>

using Tavola::ComponentUse;
using TestSupport::expectError;
using TestSupport::expectWarning;

namespace
{
int g_plates = 0;
int g_changes = 0;

/// A widget that counts how many there are, and each value that it is given.
struct Plate final : Trellis::Widget
{
    Plate()
    {
        ++g_plates;
        label.addListener([] { ++g_changes; });
        setCSSType("Plate");
    }
    ~Plate() override { --g_plates; }
    Facet::AttributeT<QString> label{this, "label"};
    Facet::AttributeT<float> rim{this, "rim", -1.f};
};

struct PlateHost
{
    PlateHost()
    {
        g_changes = 0;
        addComponentOf<Plate>(host, "plate");
        addComponentOf<Plate>(host, "locked-plate", Tavola::Schema({{"type", "widget"}, {"restrictions", QJsonArray{"rim"}}}));
    }

    TestSupport::TestHost host;
};

ComponentUse useOf(const char* component, const QJsonObject& attributes)
{
    ComponentUse use;
    use.component = QLatin1String(component);
    use.properties = QJsonObject{{"attributes", attributes}};
    return use;
}

QJsonObject attributesIn(const ComponentUse& use)
{
    return use.properties.value("attributes").toObject();
}
}

TEST_CASE("attribute check: what fits stays as it is, and nothing is set to find that out")
{
    PlateHost table;
    const QJsonObject good{{"label", "Map"}, {"rim", QJsonObject{{"number", "2.50"}}}, {"background-color", "#fff"}};
    {
        Tavola::AttributeCheck check;
        for (int i = 0; i < 3; ++i) {
            ComponentUse use = useOf("plate", good);
            CHECK(check.run(use));
            CHECK(attributesIn(use) == good);
        }
        CHECK(g_plates == 1); // one for all uses of a component
        ComponentUse bare = useOf("locked-plate", {});
        CHECK(check.run(bare));
        CHECK(g_plates == 1); // and none for a use without attributes
    }
    CHECK(g_changes == 0);
    table.host.frames(1);
    CHECK(g_plates == 0);
}

TEST_CASE("attribute check: what does not fit is reported once, and left out of what is made later")
{
    PlateHost table;
    ComponentUse use = useOf("plate", {{"label", "Map"}, {"lable", "Map"}, {"rim", "wide"}, {"gap", QJsonArray{QJsonObject()}}});
    expectWarning("UIComponent # Component 'plate': property \"attributes.lable\": a Plate has no such attribute; skipped");
    expectWarning("UIComponent # Component 'plate': property \"attributes.rim\": expected a number; skipped");
    expectWarning("UIComponent # Component 'plate': property \"attributes.gap\": "
                  "expected a text, a number, true, false or a list of these; skipped");
    Tavola::AttributeCheck check;
    CHECK(check.run(use));
    CHECK(attributesIn(use) == QJsonObject{{"label", "Map"}});
    for (int i = 0; i < 2; ++i) { // nothing is reported any more
        const auto widget = use.makeComponent()->createContentWidget();
        REQUIRE(widget);
        CHECK(dynamic_cast<Plate&>(*widget).label.value() == "Map");
    }
}

TEST_CASE("attribute check: a report names file, line, column and place")
{
    PlateHost table;
    const QTemporaryDir folder;
    QFile file(folder.filePath("menu.json"));
    REQUIRE(file.open(QIODevice::WriteOnly));
    file.write("{ \"entries\": [\n  { \"content\": { \"attributes\": { \"rim\": \"wide\" } } } ] }");
    file.close();
    ComponentUse use = useOf("plate", {{"rim", "wide"}});
    use.properties.insert("file", file.fileName());
    use.properties.insert("places", QJsonObject{{"rim", "entries[0].content.attributes.rim"}});
    expectWarning("UIComponent # " + file.fileName().toStdString()
                  + ":2:41: entries[0].content.attributes.rim: component 'plate': expected a number; skipped");
    Tavola::AttributeCheck check;
    CHECK(check.run(use));
}

TEST_CASE("attribute check: what is in slots is checked as well")
{
    PlateHost table;
    ComponentUse outer = useOf("plate", {{"rim", "wide"}});
    outer.slotContents = {{QStringLiteral("legend"), {useOf("plate", {{"label", true}}), useOf("plate", {{"rim", "thin"}})}}};
    expectWarning("UIComponent # Component 'plate': property \"attributes.rim\": expected a number; skipped");
    Tavola::AttributeCheck check;
    check.runOnSlots(outer);
    CHECK(attributesIn(outer).contains("rim")); // of the outermost nothing was asked
    CHECK(attributesIn(outer.slotContents[0].second[0]).contains("label"));
    CHECK(attributesIn(outer.slotContents[0].second[1]).isEmpty());
    expectWarning("UIComponent # Component 'plate': property \"attributes.rim\": expected a number; skipped");
    CHECK(check.run(outer));
    CHECK(attributesIn(outer).isEmpty());
}

TEST_CASE("attribute check: without its restriction a component is left out, and the others in its slot stay")
{
    PlateHost table;
    const std::string start = "UIComponent # Component 'locked-plate': property \"attributes.rim\": expected a number; "
                              "the component is left out, because it restricts nothing without this";
    Tavola::AttributeCheck check;
    ComponentUse locked = useOf("locked-plate", {{"rim", "wide"}});
    expectError(start);
    CHECK_FALSE(check.run(locked));
    ComponentUse outer = useOf("plate", {});
    outer.slotContents = {
        {QStringLiteral("legend"), {locked, useOf("plate", {{"label", "Map"}}), useOf("locked-plate", {{"rim", "2"}})}}};
    expectError(start);
    CHECK(check.run(outer));
    REQUIRE(outer.slotContents[0].second.size() == 2);
    CHECK(outer.slotContents[0].second[0].component == "plate");
    CHECK(outer.slotContents[0].second[1].component == "locked-plate");
}

TEST_CASE("attribute check: a component that is not there, or that makes no widget, stays as it is")
{
    PlateHost table;
    addComponent(table.host, "broken", []() -> Bedrock::IntrusivePtr<Trellis::Widget> { return nullptr; });
    Tavola::AttributeCheck check;
    ComponentUse unknown = useOf("volcano", {{"rim", "wide"}});
    CHECK(check.run(unknown));
    CHECK(attributesIn(unknown).size() == 1);
    expectWarning("UIComponent::createInstance # Component 'broken' made no widget");
    ComponentUse broken = useOf("broken", {{"rim", "wide"}});
    CHECK(check.run(broken));
    CHECK(check.run(broken)); // it is asked for a widget once
}
