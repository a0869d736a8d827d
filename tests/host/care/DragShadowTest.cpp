#include "care/DragShadow.hpp"

#include <TestHost.hpp>

#include <doctest/doctest.h>

#include <QImage>

TEST_CASE("drag shadow: it reaches beyond the widget on all sides, turned and scaled like it, and lies below it on the table")
{
    TestSupport::TestHost host;
    const auto widget = Bedrock::makeIntrusive<Trellis::Widget>();
    widget->postConstruct();
    host.mainWidget().addChild(widget);
    widget->setSize({200.f, 100.f});
    widget->setLocation({600.f, 500.f});
    widget->setScale(2.f);
    widget->setRotationAboutCenter(0.7f);
    const auto shadow = Host::DragShadow::make();
    host.mainWidget().addChild(shadow);
    shadow->follow(*widget);
    CHECK(shadow->size() == Vecta::Vector2f(436.f, 236.f));
    CHECK(shadow->rotation() == doctest::Approx(0.7f));
    const auto by = shadow->mapToScene(shadow->size() / 2.f) - widget->mapToScene(widget->size() / 2.f);
    CHECK(std::abs(by.x) < 0.1f);
    CHECK(by.y == doctest::Approx(14.f).epsilon(0.01));
}

TEST_CASE("drag shadow: it is darkest beside the widget, deeper below it, fades to its edge, and is not under the widget")
{
    TestSupport::TestHost host;
    host.style(".tavola-background { background-color: #ffffff; } DragShadow { position: absolute; }");
    const auto widget = Bedrock::makeIntrusive<Trellis::Widget>();
    widget->postConstruct();
    widget->setSize({200.f, 100.f});
    widget->setLocation({600.f, 500.f});
    const auto shadow = Host::DragShadow::make();
    host.mainWidget().addChild(shadow);
    shadow->follow(*widget);
    host.frame();
    const QImage picture = host.app().renderToImage();
    const auto gray = [&picture](int x, int y) { return qGray(picture.pixel(x, y)); };
    CHECK(gray(700, 550) == 255); // under the widget, which draws nothing here
    const int below = gray(700, 601);
    CHECK(below < 190);
    CHECK(gray(700, 610) > below);
    CHECK(gray(700, 628) > gray(700, 610));
    CHECK(gray(700, 633) == 255);
    CHECK(gray(700, 498) > below); // above the widget there is less of it
    CHECK(gray(700, 480) == 255);
    for (int y = 602; y < 632; ++y) // without bands
        CHECK(gray(700, y) - gray(700, y - 1) < 14);
}

TEST_CASE("drag shadow: however the widget is turned, its shadow lies below it on the table")
{
    TestSupport::TestHost host;
    host.style(".tavola-background { background-color: #ffffff; } DragShadow { position: absolute; }");
    const auto widget = Bedrock::makeIntrusive<Trellis::Widget>();
    widget->postConstruct();
    host.mainWidget().addChild(widget);
    widget->setSize({200.f, 100.f});
    widget->setLocation({600.f, 500.f});
    widget->setRotationAboutCenter(3.14159265f);
    const auto shadow = Host::DragShadow::make();
    host.mainWidget().addChild(shadow);
    shadow->follow(*widget);
    host.frame();
    const QImage picture = host.app().renderToImage();
    CHECK(qGray(picture.pixel(700, 550)) == 255);
    CHECK(qGray(picture.pixel(700, 595)) == 255); // still under the widget
    CHECK(qGray(picture.pixel(700, 606)) < qGray(picture.pixel(700, 494)) - 20);
}
