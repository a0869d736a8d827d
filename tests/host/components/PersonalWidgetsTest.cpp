#include "components/PersonalWidgets.hpp"

#include <Bedrock/ReferenceCounted.hpp>
#include <LogCapture.hpp>
#include <Tavola/Component.hpp>
#include <Tavola/ComponentUse.hpp>
#include <Tavola/Tavola.hpp>
#include <Tavola/UserInterface.hpp>
#include <Tavola/WidgetInstance.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/Widget.hpp>

#include <doctest/doctest.h>

#include <QJsonArray>

using namespace Host;

namespace
{
struct PersonalWidgetsFixture
{
    PersonalWidgetsFixture()
    {
        auto factory = std::make_shared<Tavola::ComponentFactory>();
        factory->create = [this] {
            return std::make_shared<Tavola::WidgetComponent>([this]() -> Bedrock::IntrusivePtr<Trellis::Widget> {
                ++made;
                return makes ? Bedrock::makeIntrusive<Trellis::Widget>() : nullptr;
            });
        };
        entry = tavola->registerFactory(QStringLiteral("folder"), factory);
    }
    ~PersonalWidgetsFixture() { tavola->unregisterFactory(entry); }

    static Tavola::ComponentUse use(const char* component)
    {
        Tavola::ComponentUse use;
        use.component = QLatin1String(component);
        use.properties = {{"id", "it"}, {"attributes", QJsonObject{{"opacity", 0.5}}}};
        use.place = QStringLiteral("presentation.json: folders.garden");
        return use;
    }

    Trellis::Application application{{800.f, 600.f}};
    std::shared_ptr<Tavola::Tavola> tavola = Tavola::Tavola::create();
    int made = 0;
    bool makes = true;
    Tavola::FactoryTable::iterator entry;
};
}

TEST_CASE("personal widgets: one for each key, made when it is wanted and kept out of sight")
{
    PersonalWidgetsFixture table;
    PersonalWidgets widgets;
    widgets.add(QStringLiteral("garden"), PersonalWidgetsFixture::use("folder"));
    widgets.add(QStringLiteral("harbour"), PersonalWidgetsFixture::use("folder"));
    CHECK(table.made == 0);
    const auto garden = widgets.widget(QStringLiteral("garden"));
    REQUIRE(garden.has_value());
    CHECK(table.made == 1);
    CHECK((*garden)->parent() == table.tavola->ui()->mainWidget().get());
    CHECK((*garden)->cssId() == "it");
    CHECK((*garden)->opacity() == 0.5f);
    CHECK_FALSE((*garden)->isVisible());
    CHECK(Tavola::Tavola::instance()->widgetInstance((*garden)->id()));
    table.application.frame(0.0);
    CHECK(*widgets.widget(QStringLiteral("garden")) == *garden);
    CHECK(*widgets.widget(QStringLiteral("harbour")) != *garden);
    CHECK(table.made == 2);
}

TEST_CASE("personal widgets: one that was taken from the table is made anew")
{
    PersonalWidgetsFixture table;
    PersonalWidgets widgets;
    widgets.add(QStringLiteral("garden"), PersonalWidgetsFixture::use("folder"));
    const auto first = *widgets.widget(QStringLiteral("garden"));
    first->removeFromParent();
    const auto second = *widgets.widget(QStringLiteral("garden"));
    CHECK(second != first);
    CHECK(second->parent());
}

TEST_CASE("personal widgets: a failure names the reason")
{
    PersonalWidgetsFixture table;
    PersonalWidgets widgets;
    TestSupport::expectWarning(
        "ComponentUse # presentation.json: folders.garden: there is no component \"volcano\"; it is left out");
    widgets.add(QStringLiteral("lava"), PersonalWidgetsFixture::use("volcano"));
    widgets.add(QStringLiteral("garden"), PersonalWidgetsFixture::use("folder"));
    CHECK(widgets.widget(QStringLiteral("moon")).error()
          == "the presentation has nothing for the content key \"moon\"; add it to \"folders\"");
    CHECK(widgets.widget(QStringLiteral("lava")).error()
          == "the presentation has nothing for the content key \"lava\"; add it to \"folders\"");
    table.makes = false;
    TestSupport::expectWarning("UIComponent::createInstance # Component 'folder' made no widget");
    CHECK(widgets.widget(QStringLiteral("garden")).error()
          == "component \"folder\" of the content key \"garden\" made no widget");
    // It is tried again the next time.
    table.makes = true;
    CHECK(widgets.widget(QStringLiteral("garden")).has_value());
}

TEST_CASE("personal widgets: their widgets leave the table with them")
{
    PersonalWidgetsFixture table;
    Bedrock::IntrusivePtr<Trellis::Widget> garden;
    {
        PersonalWidgets widgets;
        widgets.add(QStringLiteral("garden"), PersonalWidgetsFixture::use("folder"));
        garden = *widgets.widget(QStringLiteral("garden"));
        CHECK(garden->parent());
    }
    CHECK_FALSE(garden->parent());
}
