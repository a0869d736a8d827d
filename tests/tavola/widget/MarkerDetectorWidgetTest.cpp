#include "TestHost.hpp"

#include <Tavola/MarkerDetectorWidget.hpp>
#include <Trellis/GrabManager.hpp>

#include <doctest/doctest.h>

using Bedrock::makeIntrusive;
using Tavola::MarkerDetectorWidget;
using TestSupport::TestHost;
using Vecta::Vector2f;

namespace
{
Vector2f sceneCenter(const Trellis::Widget& widget)
{
    return widget.mapToScene(widget.size() * 0.5f);
}

bool isNear(Vector2f a, Vector2f b)
{
    return (a - b).length() < 0.5f;
}
}

TEST_CASE("marker detector: takes no card and no finger by itself")
{
    TestHost host;
    const auto detector = makeIntrusive<MarkerDetectorWidget>(host.ui().internalOverlayWidget().get());
    CHECK(detector->cssType() == "MarkerDetectorWidget");
    CHECK(host.ui().internalOverlayWidget()->findByType("MarkerDetectorWidget") == detector.get());
    const auto card = host.input.markerDown(7, {500.f, 400.f});
    host.frame();
    CHECK(host.app().grabManager()->grabber(card) == &host.ui().background()->inputGrabber());
    CHECK(host.ui().background()->hasCSSClass("tavola-background"));
    CHECK(detector->children().empty());
}

TEST_CASE("marker detector: a card that is handed to it has a mark that follows it and goes with it")
{
    TestHost host;
    const auto detector = makeIntrusive<MarkerDetectorWidget>(host.ui().internalOverlayWidget().get());
    const auto card = host.input.markerDown(7, {500.f, 400.f});
    const auto other = host.input.markerDown(8, {900.f, 400.f});
    host.frame();
    host.app().grabManager()->transferGrab(card, detector->inputGrabber());
    REQUIRE(detector->children().size() == 1);
    const auto mark = detector->children()[0];
    CHECK(mark->hasCSSClass("unknown-card"));
    host.frame();
    CHECK(isNear(sceneCenter(*mark), {500.f, 400.f}));
    host.input.markerMove(card, {600.f, 500.f}, 0.f);
    host.frame();
    CHECK(isNear(sceneCenter(*mark), {600.f, 500.f}));

    host.app().grabManager()->transferGrab(other, detector->inputGrabber());
    CHECK(detector->children().size() == 2);
    host.input.markerUp(card);
    host.frames(4, 0.1);
    CHECK_FALSE(mark->parent());
    CHECK(detector->children().size() == 1);
    CHECK(detector->isUpdating());
    host.input.markerUp(other);
    host.frames(4, 0.1);
    CHECK(detector->children().empty());
    CHECK_FALSE(detector->isUpdating());
}

TEST_CASE("marker detector: a card that another widget grabs is marked no more")
{
    TestHost host;
    const auto detector = makeIntrusive<MarkerDetectorWidget>(host.ui().internalOverlayWidget().get());
    const auto taker = makeIntrusive<Trellis::Widget>(&host.mainWidget());
    const auto card = host.input.markerDown(7, {500.f, 400.f});
    host.frame();
    host.app().grabManager()->transferGrab(card, detector->inputGrabber());
    host.app().grabManager()->transferGrab(card, taker->inputGrabber());
    host.frames(4, 0.1);
    CHECK(detector->children().empty());
    CHECK_FALSE(detector->isUpdating());
}

TEST_CASE("marker detector: it may leave while it holds cards")
{
    TestHost host;
    auto detector = makeIntrusive<MarkerDetectorWidget>(host.ui().internalOverlayWidget().get());
    const auto card = host.input.markerDown(7, {500.f, 400.f});
    host.frame();
    host.app().grabManager()->transferGrab(card, detector->inputGrabber());
    detector->removeFromParent();
    detector.reset();
    host.frame();
    host.input.markerUp(card);
    host.frame();
    CHECK_FALSE(host.ui().internalOverlayWidget()->findByType("MarkerDetectorWidget"));
}
