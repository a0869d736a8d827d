#include "registration/PersonalComponents.hpp"

#include "Table.hpp"
#include "email/EmailSendingPopupWidget.hpp"

#include <Cascara/StyleEngine.hpp>

#include <doctest/doctest.h>

#include <memory>
#include <utility>

using PluginTest::Table;

namespace
{
/// The widget that the host makes for the name of a component; it is in no tree yet.
Bedrock::IntrusivePtr<Trellis::Widget> made(Table& table, const char* component)
{
    return table.host.tavola().createComponent(component)->createContentWidget();
}
}

TEST_CASE("components: each makes its widget, new ones every time")
{
    Table table;
    const std::pair<const char*, const char*> rows[] = {{"personal-space-widget", "PersonalSpaceWidget"},
                                                        {"email-widget-popup", "EmailSendingPopupWidget"},
                                                        {"personal-folder", "PersonalFolderWidget"},
                                                        {"tavola-personal-tessel-detector", "PersonalTesselDetectorWidget"}};
    for (const auto& [component, type] : rows) {
        CAPTURE(component);
        const auto widget = made(table, component);
        REQUIRE(widget);
        CHECK(widget->cssType() == type);
        CHECK_FALSE(widget->parent());
        CHECK(made(table, component) != widget);
    }
}

TEST_CASE("components: a widget has its style before it is added to anything")
{
    // No rule names the widgets' types, so only the end of their construction applies the style.
    TestSupport::TestHost host;
    host.style("* { opacity: 0.5; dismiss-widgets: true; rotate-towards-hand: true }");
    const std::shared_ptr<Tavola::UIComponent> components[] = {
        Tavola::makePersonalSpaceComponent(), Tavola::makeEmailPopupComponent(), Tavola::makePersonalFolderComponent(),
        Tavola::makeTesselDetectorComponent()};
    int own = 0;
    for (const auto& component : components) {
        const auto widget = component->createContentWidget();
        REQUIRE(widget);
        CAPTURE(widget->cssType().toStdString());
        CHECK(widget->opacity() == 0.5f);
        for (const char* name : {"dismiss-widgets", "rotate-towards-hand"}) {
            if (const auto* attribute = widget->attribute(name)) {
                ++own;
                CHECK(attribute->toText() == "true");
            }
        }
    }
    CHECK(own == 2);
}

TEST_CASE("components: a widget's construction is finished once")
{
    // Finishing the construction styles the widget: the count is the same as for one that is made by hand.
    TestSupport::TestHost host;
    host.style("* { opacity: 0.5 }");
    const auto restyled = [](const auto& make) {
        const long before = Cascara::StyleEngine::instance().counters().nodesRestyled;
        const Bedrock::IntrusivePtr<Trellis::Widget> widget = make();
        return Cascara::StyleEngine::instance().counters().nodesRestyled - before;
    };
    const auto byHand = [](auto widget) {
        widget->postConstruct();
        return widget;
    };
    using namespace Tavola;
    CHECK(restyled([] { return makePersonalSpaceComponent()->createContentWidget(); })
          == restyled([&] { return byHand(Bedrock::makeIntrusive<PersonalSpaceWidget>()); }));
    CHECK(restyled([] { return makeEmailPopupComponent()->createContentWidget(); })
          == restyled([&] { return byHand(Bedrock::makeIntrusive<EmailSendingPopupWidget>()); }));
    CHECK(restyled([] { return makePersonalFolderComponent()->createContentWidget(); })
          == restyled([&] { return byHand(Bedrock::makeIntrusive<PersonalFolderWidget>()); }));
    CHECK(restyled([] { return makeTesselDetectorComponent()->createContentWidget(); })
          == restyled([&] { return byHand(Bedrock::makeIntrusive<PersonalTesselDetectorWidget>()); }));
}
