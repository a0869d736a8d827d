#include "components/HostComponents.hpp"

#include <Tavola/Component.hpp>
#include <Tavola/Tavola.hpp>
#include <Tavola/UserInterface.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/Widget.hpp>

#include <doctest/doctest.h>

#include <QJsonArray>

#include <iterator>

using namespace Host;

TEST_CASE("host components: each makes a widget of its kind")
{
    struct Row
    {
        const char* component;
        const char* type;
        const char* cssClass;
    };
    const Row rows[] = {
        {"picture", "ContentWidget", "picture"},
        {"document", "DocumentWidget", "document"},
        {"link", "LinkWidget", nullptr},
        {"text", "TextWidget", nullptr},
        {"image", "ImageWidget", nullptr},
        {"invitation", "InvitationWidget", nullptr},
        {"switch", "SwitchWidget", nullptr},
        {"panel", "Widget", nullptr},
        {"content-menu", "ContentMenuWidget", nullptr},
    };
    Trellis::Application application({800.f, 600.f});
    const auto tavola = Tavola::Tavola::create();
    const HostComponents components(*tavola);
    CHECK(tavola->factories().size() == std::size(rows));
    for (const Row& row : rows) {
        CAPTURE(row.component);
        const auto component = tavola->createComponent(QLatin1String(row.component));
        REQUIRE(component);
        component->setProperties(
            {{"id", "it"}, {"classes", QJsonArray{"own"}}, {"attributes", QJsonObject{{"location", QJsonArray{30, 40}}}}});
        const auto widget = component->createContentWidget();
        REQUIRE(widget);
        CHECK(widget->cssType() == row.type);
        CHECK(widget->cssId() == "it");
        CHECK(widget->hasCSSClass("own"));
        if (row.cssClass)
            CHECK(widget->hasCSSClass(row.cssClass));
        tavola->ui()->mainWidget()->addChild(widget);
        CHECK(widget->location().x == 30.f);
        CHECK(widget->location().y == 40.f);
    }
    application.frame(0.0);
}

TEST_CASE("host components: their names are free again when they go")
{
    Trellis::Application application({800.f, 600.f});
    const auto tavola = Tavola::Tavola::create();
    {
        const HostComponents components(*tavola);
        CHECK(tavola->createComponent(QStringLiteral("picture")));
    }
    CHECK(tavola->factories().empty());
    const HostComponents again(*tavola);
    CHECK(tavola->createComponent(QStringLiteral("picture")));
}
