#include "detector/PersonalTesselDetectorWidget.hpp"

#include "DetectorTables.hpp"
#include "shared/PersonalTesselWidget.hpp"

#include <Tavola/Utils.hpp>
#include <Trellis/TextWidget.hpp>

#include <doctest/doctest.h>

// The order and the layer in which a detector opens widgets, and the owners that it passes to them.

using PluginTest::childOfClass;
using PluginTest::kOffCenter;
using PluginTest::newCode;
using PluginTest::PersonTable;
using PluginTest::Strings;
using Tavola::TesselServiceAPI;
using Vecta::Vector2f;
using Mode = Tavola::PersonalTesselDetectorWidget::WidgetCollectionMode;

namespace
{
/// The layers of the table, from the bottom to the top.
Strings layers(PersonTable& table)
{
    Strings ids;
    for (const auto& layer : table.host.app().mainLayer()->children())
        ids.push_back(layer->cssId().toStdString());
    return ids;
}

Trellis::Widget* topmost(PersonTable& table)
{
    return table.host.mainWidget().children().back().get();
}

/// A personal widget that records the calls and changes while it is opened.
class WatchedPersonalWidget final : public Tavola::PersonalTesselWidget
{
public:
    explicit WatchedPersonalWidget(Strings& log) : m_log(log)
    {
        for (const char* name : {"location", "rotation"})
            attribute(name)->addListener([this, name] {
                if (parent() && (m_log.empty() || m_log.back().rfind(name, 0) != 0))
                    write(name + std::string(hasCSSClass(Tavola::Utils::temporaryWidgetCSSClass()) ? " as temporary" : ""));
            });
        setCSSType("WatchedPersonalWidget");
    }
    void setCode(unsigned long code) override { write("code " + std::to_string(code)); }
    void setProperties(const TesselServiceAPI::PersonalMarkerProperties& properties) override
    {
        write("owner " + properties.name.toStdString());
    }

private:
    void write(const std::string& what) { m_log.push_back(what + (parent() ? ", in the tree" : ", alone")); }
    Strings& m_log;
};
}

TEST_CASE("launch: a personal widget gets its code, then its owner, and is added to the table after that")
{
    PersonTable table;
    table.spaceRegistrant.reset();
    Strings log;
    const Tavola::FactoryRegistrant<Tavola::WidgetComponent> watched("personal-space-widget", [&log] {
        return std::make_shared<Tavola::WidgetComponent>([&log] { return Bedrock::makeIntrusive<WatchedPersonalWidget>(log); });
    });
    const auto launched = table.detector->launchPersonalWidget(table.ann, table.code, kOffCenter, 0.f);
    REQUIRE(launched);
    REQUIRE(log.size() >= 2);
    log.resize(2);
    CHECK(log == Strings{"code " + std::to_string(table.code) + ", alone", "owner Ann, alone"});
    CHECK(launched->parent() == &table.host.mainWidget());
}

TEST_CASE("launch: a personal widget is placed, then turned, and is temporary content after that")
{
    PersonTable table;
    table.spaceRegistrant.reset();
    Strings log;
    const Tavola::FactoryRegistrant<Tavola::WidgetComponent> watched("personal-space-widget", [&log] {
        return std::make_shared<Tavola::WidgetComponent>([&log] { return Bedrock::makeIntrusive<WatchedPersonalWidget>(log); });
    });
    // Out of the flow, whose layout would give it a place as well.
    table.host.style("WatchedPersonalWidget { position: absolute; width: 100px; height: 50px }");
    const auto launched = table.detector->launchPersonalWidget(table.ann, table.code, kOffCenter, 0.5f);
    REQUIRE(launched);
    log.erase(log.begin(), log.begin() + 2); // code and owner
    REQUIRE(log.size() >= 2);
    CHECK(log[0] == "location, in the tree");
    CHECK(log[1] == "rotation, in the tree");
    for (const auto& line : log)
        CHECK(line.find("temporary") == std::string::npos);
    CHECK(launched->hasCSSClass(Tavola::Utils::temporaryWidgetCSSClass()));
}

TEST_CASE("launch: what opens comes to the top of the content, the table's layers keep their order")
{
    PersonTable table;
    const auto before = layers(table);
    REQUIRE(before.size() >= 4);
    REQUIRE(before.back() != "main");
    const auto content = table.content();
    SUBCASE("a personal widget")
    {
        const auto launched = table.detector->launchPersonalWidget(table.ann, table.code, kOffCenter, 0.f);
        CHECK(topmost(table) == launched.get());
        CHECK(layers(table) == before);
    }
    SUBCASE("a personal widget that collects content, also when it is raised after the frame")
    {
        table.collect(Mode::AddToPersonalSpace);
        table.putOn(*content, table.code);
        REQUIRE(table.spaces().size() == 1);
        CHECK(layers(table) == before);
        content->raiseToTop(false);
        table.host.frame();
        CHECK(topmost(table) == table.spaces()[0]);
    }
    SUBCASE("the popup, also when it is raised after the frame")
    {
        table.detector->emailWidget(*content, table.ann, kOffCenter, 0.f);
        REQUIRE(table.popups().size() == 1);
        CHECK(topmost(table) == table.popups()[0]);
        CHECK(layers(table) == before);
        content->raiseToTop(false);
        table.host.frame();
        CHECK(topmost(table) == table.popups()[0]);
    }
    CHECK(layers(table) == before);
}

TEST_CASE("launch: a personal widget is temporary content, the popup is not")
{
    PersonTable table;
    const auto content = table.content();
    table.detector->emailWidget(*content, table.ann, kOffCenter, 0.f);
    (void)table.detector->launchPersonalWidget(table.ann, table.code, kOffCenter, 0.f);
    table.host.frames(2);
    REQUIRE(table.popups().size() == 1);
    CHECK_FALSE(table.popups()[0]->hasCSSClass(Tavola::Utils::temporaryWidgetCSSClass()));
    REQUIRE(table.spaces().size() == 1);
    CHECK(table.spaces()[0]->hasCSSClass(Tavola::Utils::temporaryWidgetCSSClass()));
}

TEST_CASE("unregistered card: the owner that is on record all the same is greeted")
{
    PersonTable table;
    const auto odd = newCode();
    table.host.cache().insert(
        odd, TesselServiceAPI::MarkerProperties(3, TesselServiceAPI::PersonalMarkerProperties{"Odd", "odd@example.org", {}}));
    table.attribute<bool>("allow-unregistered-markers").setValue(true);
    (void)table.putDown(odd);
    REQUIRE(table.spaces().size() == 1);
    auto& space = *table.spaces()[0];
    CHECK(childOfClass<Trellis::TextWidget>(space, "title").text() == "Hi, Odd");
    CHECK(dynamic_cast<Facet::AttributeT<QString>&>(*space.attribute("user-email")).value() == "odd@example.org");
    CHECK_FALSE(space.hasPseudoClass("unregistered-user"));
}

TEST_CASE("unregistered card: one with a content key opens its folder and no personal space, when it is allowed")
{
    PersonTable table;
    const auto odd = newCode();
    table.host.cache().insert(
        odd,
        TesselServiceAPI::MarkerProperties(3, TesselServiceAPI::PersonalMarkerProperties{"Odd", "odd@example.org", "folder-1"}));
    table.addFolder();
    table.addItem(PluginTest::Table::kRelative, "r");
    table.host.tesselService().answerPersonalWidget = [&table](unsigned long) {
        return TestSupport::FakeTesselService::WidgetOrError(table.folder);
    };
    table.attribute<bool>("allow-unregistered-markers").setValue(true);
    (void)table.putDown(odd);
    CHECK(table.host.tesselService().personalWidgetCalls == std::vector<unsigned long>{odd});
    CHECK(table.itemNames() == Strings{"r"});
    CHECK(table.spaces().empty());
    table.host.tesselService().answerPersonalWidget = nullptr;
}
