// On a screen of which one coordinate of a window comes to 1.25 pixels, without a graphics card and with one.

#include <doctest/doctest.h>

#include "EventLoop.hpp"

#include <Lantern/KeptPicture.hpp>
#include <Lantern/PictureStore.hpp>
#include <Lantern/RenderContext.hpp>
#include <Lantern/Style.hpp>
#include <Lantern/WindowTarget.hpp>

#include <QImage>
#include <QRegion>
#include <QScreen>
#include <QWindow>

using namespace Lantern;

namespace
{
constexpr float kRatio = 1.25f;
constexpr QSize kSize{121, 83};

/// A turned box with smooth edges, a round one, and a group that is kept in the screen's scale.
struct Scene
{
    Scene()
    {
        picture.setScale({kRatio, kRatio});
        picture.cover({0, 0, 40, 30});
    }
    void draw(RenderContext& context)
    {
        context.drawRect({0, 0, 300, 300}, 0.f, Style().setFill({0.f, 0.f, 0.5f, 0.5f}));
        context.pushTransform(Vecta::Transform::translation({30.3f, 10.7f}) * Vecta::Transform::rotation(0.3f));
        context.drawRect({0, 0, 70, 41}, 0.f, Style().setFill({0.f, 0.4f, 0.f, 0.8f}));
        context.pop();
        context.drawRect({50, 40, 51, 37}, 9.f, Style().setFill({1.f, 1.f, 1.f, 1.f}));
        context.drawKept(picture, place, 1.f, [this](RenderContext& inPicture) {
            ++paints;
            inPicture.drawRect({0, 0, 32, 24}, 0.f, Style().setFill({1.f, 0.f, 0.f, 1.f}));
        });
    }
    PictureStore store;
    KeptPicture picture{store};
    Vecta::Vector2f place{8.f, 16.f};
    int paints = 0;
};

struct Window
{
    explicit Window(WindowOptions::Drawing drawing) : target(options(drawing), nullptr)
    {
        REQUIRE(target.drawing() == drawing);
        REQUIRE(TestSupport::pumpUntil([&] { return target.window().isExposed(); }));
        REQUIRE(float(target.window().devicePixelRatio()) == kRatio);
    }
    static WindowOptions options(WindowOptions::Drawing drawing)
    {
        WindowOptions result;
        result.size = kSize;
        result.drawing = drawing;
        return result;
    }
    void paint(Scene& scene, const QRegion& damage)
    {
        target.paint(damage, [&](RenderContext& context) { scene.draw(context); });
    }
    [[nodiscard]] QImage shown() const
    {
        return target.window().screen()->grabWindow(target.window().winId()).toImage().convertToFormat(QImage::Format_RGB32);
    }
    WindowTarget target;
};

/// The pixel at a place of the window.
QColor at(const QImage& shown, float x, float y)
{
    return shown.pixelColor(int(x * kRatio), int(y * kRatio));
}

constexpr WindowOptions::Drawing kDrawings[] = {WindowOptions::Drawing::Raster, WindowOptions::Drawing::OpenGl};
}

TEST_CASE("window with a fraction of a pixel: what is drawn anew in parts equals what is drawn whole")
{
    for (const auto drawing : kDrawings) {
        CAPTURE(int(drawing));
        Window window(drawing);
        Scene scene;
        const QRegion all(QRect(QPoint(), window.target.size()));
        window.paint(scene, all);
        const QImage whole = window.shown();
        REQUIRE(whole.width() > kSize.width());
        CHECK(at(whole, 10.f, 20.f) == QColor(Qt::red));
        CHECK(at(whole, 75.f, 60.f) == QColor(Qt::white));
        for (int step = 3; step < 20; step += 4)
            for (int x = 0; x < kSize.width(); x += step) {
                window.paint(scene, QRegion(x, 0, step, kSize.height() / 2) + QRegion(x / 2, 51, step, 7));
                REQUIRE(window.shown() == whole);
            }
    }
}

TEST_CASE("window with a fraction of a pixel: a group is kept in pixels of the screen, and moved without painting")
{
    for (const auto drawing : kDrawings) {
        CAPTURE(int(drawing));
        Window window(drawing);
        Scene scene;
        const QRegion all(QRect(QPoint(), window.target.size()));
        window.paint(scene, all);
        CHECK(scene.paints == 1);
        scene.place = {60.f, 8.f};
        window.paint(scene, all);
        CHECK(scene.paints == 1);
        CHECK(at(window.shown(), 62.f, 10.f) == QColor(Qt::red));
        CHECK(at(window.shown(), 10.f, 20.f) != QColor(Qt::red));
    }
}
