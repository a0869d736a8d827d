#include <doctest/doctest.h>

#include "EventLoop.hpp"
#include "LogCapture.hpp"

#include <Lantern/RenderContext.hpp>
#include <Lantern/Style.hpp>
#include <Lantern/WindowListener.hpp>
#include <Lantern/WindowTarget.hpp>

#include <QRegion>
#include <QScreen>
#include <QWindow>

using namespace std::string_literals;
using Lantern::WindowOptions;
using Lantern::WindowTarget;

namespace
{
struct Heard final : Lantern::WindowListener
{
    bool isExposed = false;
    void windowExposed() override { isExposed = true; }
};

WindowOptions smallWindow()
{
    WindowOptions options;
    options.size = {120, 80};
    return options;
}
}

TEST_CASE("window target: a part that is not painted again keeps its look")
{
    Heard heard;
    WindowOptions options = smallWindow();
    SUBCASE("raster") {}
    SUBCASE("OpenGL where there is one")
    {
        options.drawing = WindowOptions::Drawing::OpenGl;
    }
    WindowTarget target(options, &heard);
    REQUIRE(TestSupport::pumpUntil([&] { return heard.isExposed; }));
    const auto fill = [](Bedrock::Color color) {
        return [color](Lantern::RenderContext& c) { c.drawRect({0, 0, 500, 500}, 0.f, Lantern::Style().setFill(color)); };
    };
    target.paint(QRegion(0, 0, 120, 80), fill({1, 0, 0, 1}));
    target.paint(QRegion(0, 0, 60, 80), fill({0, 0, 1, 1}));
    const QImage shown = target.window().screen()->grabWindow(target.window().winId()).toImage();
    REQUIRE_FALSE(shown.isNull());
    CHECK(shown.pixelColor(30, 40) == QColor(Qt::blue));
    CHECK(shown.pixelColor(90, 40) == QColor(Qt::red));
}

TEST_CASE("window target: a window that cannot be seen is not drawn")
{
    WindowTarget target(smallWindow(), nullptr);
    target.window().hide();
    REQUIRE(TestSupport::pumpUntil([&] { return !target.window().isExposed(); }));
    int calls = 0;
    target.paint(QRegion(0, 0, 120, 80), [&](Lantern::RenderContext&) { ++calls; });
    CHECK(calls == 0);
}

TEST_CASE("window target: asked for OpenGL it draws, with it or without it, and says so")
{
    Heard heard;
    WindowOptions options = smallWindow();
    options.drawing = WindowOptions::Drawing::OpenGl;
    WindowTarget target(options, &heard);
    bool isAnnounced = false;
    for (const auto& line : TestSupport::loggedLines())
        isAnnounced |= line.text == "WindowTarget # No OpenGL context can be made, drawing without it"s;
    CHECK(isAnnounced == (target.drawing() == WindowOptions::Drawing::Raster));
    REQUIRE(TestSupport::pumpUntil([&] { return heard.isExposed; }));
    int calls = 0;
    target.paint(QRegion(0, 0, 120, 80), [&](Lantern::RenderContext&) { ++calls; });
    CHECK(calls == 1);
}
