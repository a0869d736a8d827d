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

TEST_CASE("drag shadow: it is darkest in the middle and fades to its edge")
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
    const int middle = qGray(picture.pixel(700, 564));
    const int edge = qGray(picture.pixel(700, 500));
    CHECK(middle < edge);
    CHECK(edge < 255);
    CHECK(qGray(picture.pixel(700, 480)) == 255);
}
