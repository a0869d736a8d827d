#include <doctest/doctest.h>

#include "Components.hpp"
#include "LogCapture.hpp"
#include "TestHost.hpp"

#include <Tavola/Component.hpp>
#include <Tavola/ContentWidget.hpp>
#include <Tavola/WidgetInstance.hpp>
#include <Trellis/InputGrabber.hpp>

using Bedrock::IntrusivePtr;
using Bedrock::makeIntrusive;
using TestSupport::TestHost;
using Vecta::Vector2f;

namespace
{
IntrusivePtr<Tavola::ContentWidget> addPicture(Trellis::Widget& parent, Vector2f location)
{
    auto picture = makeIntrusive<Tavola::ContentWidget>(&parent);
    picture->setLocation(location);
    picture->setSize({200.f, 200.f});
    return picture;
}

Facet::Node* holderOf(TestHost& host, std::int64_t id)
{
    const auto* grabber = host.app().grabManager()->grabber(id);
    return grabber ? grabber->host() : nullptr;
}
}

TEST_CASE("user interface: the layers lie on each other as large as the table")
{
    TestHost host;
    auto& ui = host.ui();
    const auto& layers = host.app().mainLayer()->children();
    REQUIRE(layers.size() == 4);
    CHECK(layers[0] == ui.background());
    CHECK(layers[1] == ui.mainWidget());
    CHECK(layers[2] == ui.overlayWidget());
    CHECK(layers[3] == ui.internalOverlayWidget());
    CHECK(ui.background()->cssType() == "BackgroundWidget");
    CHECK(ui.background()->hasCSSClass("tavola-background"));
    CHECK(ui.mainWidget()->cssId() == "main");
    CHECK(ui.overlayWidget()->cssId() == "overlay");
    CHECK(ui.internalOverlayWidget()->cssId() == "internal-overlay");
    for (const auto& layer : layers) {
        CHECK(layer->location() == Vector2f());
        CHECK(layer->size() == Vector2f(1920.f, 1080.f));
    }
    host.app().resize({800.f, 600.f});
    for (const auto& layer : layers)
        CHECK(layer->size() == Vector2f(800.f, 600.f));
}

TEST_CASE("user interface: a style sheet may have the layers otherwise")
{
    TestHost host;
    host.style("#main { left: 100px; width: 500px }");
    CHECK(host.mainWidget().location() == Vector2f(100.f, 0.f));
    CHECK(host.mainWidget().size() == Vector2f(500.f, 1080.f));
}

TEST_CASE("user interface: the background takes the cards and fingers that nothing above it takes")
{
    TestHost host;
    const auto picture = addPicture(host.mainWidget(), {100.f, 100.f});
    const auto onGround = host.input.markerDown(1001, {500.f, 500.f});
    const auto onPicture = host.input.markerDown(1002, {200.f, 200.f});
    host.input.fingerDown(1, {600.f, 500.f});
    host.frame();
    CHECK(holderOf(host, onGround) == host.ui().background().get());
    CHECK(holderOf(host, onPicture) == picture.get());
    CHECK(holderOf(host, 1) == host.ui().background().get());
    host.input.fingerMove(1, {800.f, 700.f});
    host.frame();
    CHECK(host.ui().background()->location() == Vector2f());
}

TEST_CASE("user interface: nothing in the overlay takes input")
{
    TestHost host;
    const auto indicator = addPicture(*host.ui().overlayWidget(), {100.f, 100.f});
    const auto inside = addPicture(*indicator, {0.f, 0.f});
    const auto picture = addPicture(host.mainWidget(), {100.f, 100.f});
    const auto card = host.input.markerDown(1001, {150.f, 150.f});
    host.input.fingerDown(1, {200.f, 200.f});
    host.frame();
    CHECK(holderOf(host, card) == picture.get());
    CHECK(holderOf(host, 1) == picture.get());
}

TEST_CASE("user interface: what lies in the internal overlay takes input, the overlay itself does not")
{
    TestHost host;
    const auto button = addPicture(*host.ui().internalOverlayWidget(), {100.f, 100.f});
    host.input.fingerDown(1, {150.f, 150.f});
    host.input.fingerDown(2, {900.f, 900.f});
    host.frame();
    CHECK(holderOf(host, 1) == button.get());
    CHECK(holderOf(host, 2) == host.ui().background().get());
}

TEST_CASE("user interface: a stock widget is one of a registered component")
{
    TestHost host;
    addComponentOf<Tavola::ContentWidget>(host, "picture");
    const auto widget = host.ui().createStockWidget("picture", "main");
    REQUIRE(widget);
    CHECK(widget->cssType() == "ContentWidget");
    CHECK_FALSE(widget->parent());
    REQUIRE(host.tavola().widgetInstance(widget->id()));
    CHECK(host.tavola().widgetInstance(widget->id())->component()->name() == "picture");

    TestSupport::expectWarning("UserInterface::createStockWidget # There is no style 'night' for 'picture', 'main' is used");
    CHECK(host.ui().createStockWidget("picture", "night"));
}

TEST_CASE("user interface: a stock widget that cannot be made is null and a warning")
{
    TestHost host;
    TestSupport::expectWarning("UserInterface::createStockWidget # Component 'picture' is not registered");
    CHECK_FALSE(host.ui().createStockWidget("picture", "main"));

    addComponent(host, "nothing", [] { return nullptr; });
    TestSupport::expectWarning("UIComponent::createInstance # Component 'nothing' made no widget");
    CHECK_FALSE(host.ui().createStockWidget("nothing", "main"));
}

TEST_CASE("user interface: the layers go with the application")
{
    TestHost host;
    host.destroyTavola();
    CHECK(host.app().mainLayer()->children().empty());
}
