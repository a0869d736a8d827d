#include "components/TemporaryWidgets.hpp"

#include <ScriptedInput.hpp>
#include <Tavola/Utils.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/Widget.hpp>

#include <doctest/doctest.h>

using namespace Host;

namespace
{
struct Fixture
{
    Fixture()
    {
        layer->postConstruct();
        layer->setSize({800, 600});
        application.mainLayer()->addChild(layer);
        layer->addOperator(Bedrock::makeIntrusive<TemporaryWidgets>(10.f));
        application.addInputSource(input);
    }
    ~Fixture() { application.removeInputSource(input); }

    Trellis::Widget& add(bool isTemporary, Vecta::Vector2f location)
    {
        auto widget = Bedrock::makeIntrusive<Trellis::Widget>();
        widget->postConstruct();
        if (isTemporary)
            widget->addCSSClass(Tavola::Utils::temporaryWidgetCSSClass());
        layer->addChild(widget);
        widget->setLocation(location);
        widget->setSize({100, 100});
        return *widget;
    }
    void pass(int seconds)
    {
        for (int i = 0; i < seconds * 10; ++i)
            application.frame(0.1);
    }
    std::size_t count() const { return layer->children().size(); }

    TestSupport::ScriptedInput input;
    Trellis::Application application{{800.f, 600.f}};
    Bedrock::IntrusivePtr<Trellis::Widget> layer = Bedrock::makeIntrusive<Trellis::Widget>();
};
}

TEST_CASE("temporary widgets: content that was not touched for the time fades away")
{
    Fixture f;
    f.add(true, {0, 0});
    f.pass(9);
    CHECK(f.count() == 1);
    CHECK(f.layer->children()[0]->opacity() == 1.f);
    f.pass(4);
    CHECK(f.count() == 0);
}

TEST_CASE("temporary widgets: a touch begins the time anew")
{
    Fixture f;
    f.add(true, {0, 0});
    f.pass(8);
    f.input.tap(1, {50, 50});
    f.pass(8);
    CHECK(f.count() == 1);
    f.pass(5);
    CHECK(f.count() == 0);
}

TEST_CASE("temporary widgets: what is there to stay stays")
{
    Fixture f;
    f.add(false, {0, 0});
    f.add(true, {200, 0});
    f.pass(60);
    CHECK(f.count() == 1);
}
