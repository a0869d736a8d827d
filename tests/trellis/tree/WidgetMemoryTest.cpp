#include "../../facet/AllocationCounter.hpp"

#include <doctest/doctest.h>

#include <Trellis/Application.hpp>
#include <Trellis/TextWidget.hpp>

#include <memory>

namespace
{
/// Bytes of a widget in the tree of an application, after a frame: the mean of a thousand, with its part of the lists of its
/// parent and of the engines.
template <class Make>
long bytesOfWidget(Make make)
{
    constexpr int kWidgets = 1000;
    Trellis::Application application({1920.f, 1080.f});
    make(*application.mainLayer()); // what the widgets of a class share
    application.frame(0.016);
    const long before = FacetTest::bytesInUse();
    for (int i = 0; i < kWidgets; ++i)
        make(*application.mainLayer());
    application.frame(0.016);
    const long bytes = (FacetTest::bytesInUse() - before) / kWidgets;
    MESSAGE(bytes);
    return bytes;
}
}

TEST_CASE("widget: a plain one in the tree takes at most 1,100 bytes")
{
    CHECK(bytesOfWidget([](Trellis::Widget& parent) { new Trellis::Widget(&parent); }) <= 1100);
}

TEST_CASE("widget: a text in the tree takes at most 1,900 bytes")
{
    CHECK(bytesOfWidget([](Trellis::Widget& parent) { (new Trellis::TextWidget(&parent))->setText(QStringLiteral("Card")); })
          <= 1900);
}
