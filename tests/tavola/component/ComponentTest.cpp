#include <doctest/doctest.h>

#include "LogCapture.hpp"
#include "TestHost.hpp"

#include <Cascara/LazyAttributeManager.hpp>
#include <Facet/AttributeT.hpp>
#include <Tavola/Component.hpp>
#include <Tavola/ContentWidget.hpp>
#include <Tavola/WidgetInstance.hpp>

#include <QJsonArray>

using Bedrock::IntrusivePtr;
using Bedrock::makeIntrusive;
using Tavola::Component;
using Tavola::CustomWidgetInstanceComponent;
using Tavola::WidgetComponent;
using Tavola::WidgetInstance;
using TestSupport::TestHost;

namespace
{
std::shared_ptr<WidgetComponent> makeComponent(const QString& name = "thing")
{
    auto component = std::make_shared<WidgetComponent>([] { return makeIntrusive<Tavola::ContentWidget>(); });
    component->setName(name);
    return component;
}

class ListeningInstance final : public WidgetInstance
{
public:
    using WidgetInstance::WidgetInstance;
    ~ListeningInstance() override { ++destroyed; }
    void componentAddedToSlot(const QByteArray& slot, std::shared_ptr<Component> component) override
    {
        heard.push_back("+" + slot + " " + component->name().toUtf8());
    }
    void componentRemovedFromSlot(const QByteArray& slot, std::shared_ptr<Component> component) override
    {
        heard.push_back("-" + slot + " " + component->name().toUtf8());
    }
    std::vector<QByteArray> heard;
    static int destroyed;
};
int ListeningInstance::destroyed = 0;

std::shared_ptr<CustomWidgetInstanceComponent> makeListeningComponent()
{
    auto component = std::make_shared<CustomWidgetInstanceComponent>(
        [] { return makeIntrusive<Trellis::Widget>(); },
        [](std::shared_ptr<Component> owner, IntrusivePtr<Trellis::Widget> widget) {
            return std::make_shared<ListeningInstance>(std::move(owner), std::move(widget));
        });
    component->setName("listening");
    return component;
}
}

TEST_CASE("component: an instance is known by its widget's id exactly while the widget lives")
{
    TestHost host;
    const auto component = makeListeningComponent();
    ListeningInstance::destroyed = 0;
    auto instance = component->createInstance();
    REQUIRE(instance);
    CHECK(instance->component() == component);
    auto widget = instance->widget();
    const long id = widget->id();
    CHECK(host.tavola().widgetInstance(id) == instance);
    instance.reset();
    host.mainWidget().addChild(widget);
    host.frames(2);
    REQUIRE(host.tavola().widgetInstance(id));
    CHECK(host.tavola().widgetInstance(id)->widget() == widget);
    CHECK(ListeningInstance::destroyed == 0);

    widget->removeFromParent();
    host.frame();
    CHECK(host.tavola().widgetInstance(id));
    widget.reset();
    CHECK_FALSE(host.tavola().widgetInstance(id));
    CHECK(ListeningInstance::destroyed == 1);
    CHECK_FALSE(host.tavola().widgetInstance(0));
}

TEST_CASE("component: an instance that is held outlives its widget, which is null then")
{
    TestHost host;
    const auto instance = makeComponent()->createInstance();
    host.frame();
    CHECK_FALSE(instance->widget());
}

TEST_CASE("component: a new widget waits until the end of the frame for a place in the tree")
{
    TestHost host;
    const auto component = makeComponent();
    const auto kept = component->createInstance();
    const auto dropped = component->createInstance();
    const long keptId = kept->widget()->id();
    const long droppedId = dropped->widget()->id();
    host.mainWidget().addChild(kept->widget());
    host.frame();
    CHECK(host.tavola().widgetInstance(keptId));
    CHECK_FALSE(host.tavola().widgetInstance(droppedId));
}

TEST_CASE("component: instances go with the application, whatever holds the widgets")
{
    TestHost host;
    const auto widget = makeComponent()->createContentWidget();
    REQUIRE(widget);
    host.destroyTavola();
    CHECK(widget->referenceCount() == 1);
}

TEST_CASE("component: one that makes nothing is a warning")
{
    TestHost host;
    const auto nothing = std::make_shared<WidgetComponent>([] { return IntrusivePtr<Trellis::Widget>(); });
    nothing->setName("nothing");
    TestSupport::expectWarning("UIComponent::createInstance # Component 'nothing' made no widget");
    CHECK_FALSE(nothing->createInstance());
    TestSupport::expectWarning("UIComponent::createInstance # Component 'nothing' made no widget");
    CHECK_FALSE(nothing->createContentWidget());
    const auto empty = std::make_shared<CustomWidgetInstanceComponent>(nullptr, nullptr);
    TestSupport::expectWarning("UIComponent::createInstance # Component '' made no widget");
    CHECK_FALSE(empty->createInstance());
}

TEST_CASE("component: one whose making throws is an error, and makes nothing")
{
    TestHost host;
    const std::string start = "UIComponent::createInstance # Component 'broken' failed (";
    const auto widgetFails =
        std::make_shared<WidgetComponent>([]() -> IntrusivePtr<Trellis::Widget> { throw std::runtime_error("no paper"); });
    widgetFails->setName("broken");
    TestSupport::expectError(start + "no paper)");
    CHECK_FALSE(widgetFails->createInstance());
    const auto instanceFails = std::make_shared<CustomWidgetInstanceComponent>(
        [] { return makeIntrusive<Trellis::Widget>(); },
        [](const std::shared_ptr<Component>&, const IntrusivePtr<Trellis::Widget>&) -> std::shared_ptr<WidgetInstance> {
            throw 7;
        });
    instanceFails->setName("broken");
    TestSupport::expectError(start + "unknown exception)");
    CHECK_FALSE(instanceFails->createContentWidget());
}

TEST_CASE("component: an assignment that its instance cannot use is an error, and the others are passed on")
{
    struct PickyInstance final : WidgetInstance
    {
        using WidgetInstance::WidgetInstance;
        void componentAddedToSlot(const QByteArray&, std::shared_ptr<Component> component) override
        {
            if (component->name() == "second")
                throw std::runtime_error("not this one");
            names << component->name();
        }
        QStringList names;
    };
    TestHost host;
    const auto component = std::make_shared<CustomWidgetInstanceComponent>(
        [] { return makeIntrusive<Trellis::Widget>(); },
        [](std::shared_ptr<Component> owner, IntrusivePtr<Trellis::Widget> widget) {
            return std::make_shared<PickyInstance>(std::move(owner), std::move(widget));
        });
    component->setName("picky");
    for (const char* name : {"first", "second", "third"})
        component->assign("s", makeComponent(name));
    TestSupport::expectError("UIComponent::createInstance # Component 'picky' failed (not this one)");
    const auto instance = std::dynamic_pointer_cast<PickyInstance>(component->createInstance());
    REQUIRE(instance);
    CHECK(instance->names == QStringList{"first", "third"});
}

TEST_CASE("component: slots keep their order, and every instance is notified of their changes")
{
    TestHost host;
    const auto component = makeListeningComponent();
    const auto first = makeComponent("first");
    const auto second = makeComponent("second");
    CHECK(component->assignments("pictures").empty());
    component->assign("pictures", first);
    const auto early = std::static_pointer_cast<ListeningInstance>(component->createInstance());
    CHECK(early->heard == std::vector<QByteArray>{"+pictures first"});

    component->assign("pictures", second);
    component->assign("sounds", first);
    CHECK(component->assignments("pictures") == std::vector<std::shared_ptr<Component>>{first, second});
    const auto late = std::static_pointer_cast<ListeningInstance>(component->createInstance());
    CHECK(early->heard == std::vector<QByteArray>{"+pictures first", "+pictures second", "+sounds first"});
    CHECK(late->heard == early->heard);

    component->unassign("pictures", first);
    component->unassign("pictures", first);
    component->unassign("films", first);
    CHECK(component->assignments("pictures") == std::vector<std::shared_ptr<Component>>{second});
    CHECK(component->assignments("sounds") == std::vector<std::shared_ptr<Component>>{first});
    CHECK(early->heard.back() == "-pictures first");
    CHECK(late->heard.size() == 4);

    TestSupport::expectWarning("UIComponent::assign # Nothing to put into slot 'pictures' of 'listening'");
    component->assign("pictures", nullptr);
}

TEST_CASE("component: instances that are destroyed are notified of nothing")
{
    TestHost host;
    const auto component = makeListeningComponent();
    ListeningInstance::destroyed = 0;
    CHECK(component->createInstance());
    host.frame();
    CHECK(ListeningInstance::destroyed == 1);
    component->assign("pictures", makeComponent());
    CHECK(component->assignments("pictures").size() == 1);
}

TEST_CASE("component: its properties are applied to every widget it makes")
{
    TestHost host;
    host.style("ContentWidget#map.large { rotation: 1rad }");
    const auto component = makeComponent();
    component->setProperties({{"id", "map"},
                              {"classes", QJsonArray{"large", "old"}},
                              {"attributes",
                               QJsonObject{{"display-name", "A map"},
                                           {"source-tessel-urls", QJsonArray{"/a.pdf", "https://example.org/b"}},
                                           {"location", QJsonArray{100, 50.5}},
                                           {"width", 300},
                                           {"height", "25%"},
                                           {"background-color", "#ff0000"},
                                           {"movable", false}}}});
    const auto widget = component->createContentWidget();
    REQUIRE(widget);
    host.mainWidget().addChild(widget);
    CHECK(widget->cssId() == "map");
    CHECK(widget->cssClasses() == QList<QByteArray>{"large", "old"});
    CHECK(widget->attribute("display-name")->toText() == "A map");
    CHECK(dynamic_cast<Facet::AttributeT<QStringList>&>(*widget->attribute("source-tessel-urls")).value()
          == QStringList{"/a.pdf", "https://example.org/b"});
    CHECK(widget->location() == Vecta::Vector2f(100.f, 50.5f));
    CHECK(widget->size() == Vecta::Vector2f(300.f, 270.f));
    CHECK(widget->attribute("background-color")->visibleLayer() == Facet::kUserLayer);
    CHECK_FALSE(dynamic_cast<Facet::AttributeT<bool>&>(*widget->attribute("movable")).value());
    CHECK(widget->rotation() == doctest::Approx(1.0));
}

TEST_CASE("component: an empty list in its properties is an empty list")
{
    TestHost host;
    const auto component = makeComponent();
    component->setProperties({{"attributes", QJsonObject{{"source-tessel-urls", QJsonArray()}}}});
    const auto widget = component->createContentWidget();
    CHECK(dynamic_cast<Facet::AttributeT<QStringList>&>(*widget->attribute("source-tessel-urls")).value().isEmpty());
}

TEST_CASE("component: a property that does not fit is a warning and costs itself only")
{
    TestHost host;
    const auto component = makeComponent("card");
    component->setProperties(
        {{"id", 3},
         {"classes", QJsonArray{"large", 5}},
         {"attributes",
          QJsonObject{{"display-name", "A map"}, {"no-such", "x"}, {"opacity", "thick"}, {"scale", QJsonObject()}}}});
    const std::string start = "UIComponent # Component 'card': property ";
    TestSupport::expectWarning(start + "\"id\": expected a name; skipped");
    TestSupport::expectWarning(start + "\"classes[1]\": expected a name; skipped");
    TestSupport::expectWarning(start + "\"attributes.no-such\": a ContentWidget has no such attribute; skipped");
    TestSupport::expectWarningStartingWith(start + "\"attributes.opacity\": expected a number");
    TestSupport::expectWarning(start
                               + "\"attributes.scale\": expected a text, a number, true, false or a list of these; skipped");
    auto widget = component->createContentWidget();
    CHECK(widget->cssId().isEmpty());
    CHECK(widget->cssClasses() == QList<QByteArray>{"large"});
    CHECK(widget->attribute("display-name")->toText() == "A map");
    CHECK(widget->opacity() == 1.f);

    component->setProperties({{"classes", "large"}, {"attributes", 3}});
    TestSupport::expectWarning(start + "\"classes\": expected a list of names; skipped");
    TestSupport::expectWarning(start + "\"attributes\": expected an object of names and values; skipped");
    widget = component->createContentWidget();
    CHECK(widget->cssClasses().isEmpty());
}

TEST_CASE("component: its properties may name an attribute that is made on demand")
{
    TestHost host;
    const Cascara::LazyAttributeManager::Registrant registrant(
        "made-on-demand", [](Cascara::Styleable& styleable, const QByteArray& name) -> std::unique_ptr<Facet::Attribute> {
            return std::make_unique<Facet::AttributeT<bool>>(&styleable.node(), name, false);
        });
    const auto component = makeComponent();
    component->setProperties({{"attributes", QJsonObject{{"made-on-demand", true}}}});
    const auto widget = component->createContentWidget();
    REQUIRE(widget->attribute("made-on-demand"));
    CHECK(widget->attribute("made-on-demand")->toText() == "true");
}
