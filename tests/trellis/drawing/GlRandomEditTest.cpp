// On a graphics card, too, drawing only the damage gives the pixels of drawing everything.

#include <doctest/doctest.h>

#include "RandomEdits.hpp"

#include "EventLoop.hpp"

#include <Lantern/WindowTarget.hpp>

#include <QRegion>
#include <QScreen>
#include <QWindow>

using namespace TrellisTest;
using Lantern::WindowOptions;

namespace
{
QImage shownBy(const Lantern::WindowTarget& target)
{
    const QWindow& window = target.window();
    return window.screen()->grabWindow(window.winId()).toImage().convertToFormat(QImage::Format_RGB32);
}

int pixelsThatDiffer(const QImage& one, const QImage& other)
{
    int count = 0;
    for (int y = 0; y < one.height(); ++y)
        for (int x = 0; x < one.width(); ++x)
            count += one.pixel(x, y) != other.pixel(x, y);
    return count;
}

/// `mostPixels` may differ after a step, each by one of four samples.
void checkEdits(unsigned seed, Edits::Kept kept, int mostPixels)
{
    WindowOptions options;
    options.size = {int(kTable.x), int(kTable.y)};
    options.drawing = WindowOptions::Drawing::OpenGl;
    Lantern::WindowTarget target(options, nullptr);
    REQUIRE_MESSAGE(target.drawing() == WindowOptions::Drawing::OpenGl, "these tests need OpenGL");
    REQUIRE(TestSupport::pumpUntil([&] { return target.window().isExposed(); }));
    Edits edits(seed, kept);
    const auto draw = [&](Lantern::RenderContext& context) { edits.scene.app.render(context); };
    const QRegion all(QRect(QPoint(), options.size));
    target.paint(all, draw);
    for (int step = 0; step < 300; ++step) {
        edits.step();
        edits.scene.frame();
        target.paint(edits.scene.app.collectDamage(), draw);
        const QImage shown = shownBy(target);
        target.paint(all, draw);
        const QImage whole = shownBy(target);
        CAPTURE(seed);
        CAPTURE(step);
        REQUIRE(pixelsThatDiffer(shown, whole) <= mostPixels);
        REQUIRE(difference(shown, whole) <= 64);
    }
}
}

TEST_CASE("drawing by OpenGL: after random edits the damage drawn alone equals everything drawn anew")
{
    // The driver may give a sample at the edge of a turned box to it in one drawing and not in the other.
    checkEdits(1, Edits::Kept::Nothing, 1);
    checkEdits(2, Edits::Kept::Nothing, 1);
}

TEST_CASE("drawing by OpenGL: the same, to the pixel, with the children of the table kept on the graphics card")
{
    checkEdits(1, Edits::Kept::Children, 0);
    checkEdits(2, Edits::Kept::Children, 0);
}
