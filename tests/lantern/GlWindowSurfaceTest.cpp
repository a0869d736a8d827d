// These tests need a window with OpenGL: they run on a screen that exists in memory only, where Mesa draws.
#include <doctest/doctest.h>

#include "EventLoop.hpp"

#include "TestColors.hpp"

#include <Lantern/BoxFill.hpp>
#include <Lantern/BoxShadow.hpp>
#include <Lantern/ImageTarget.hpp>
#include <Lantern/KeptPicture.hpp>
#include <Lantern/PictureStore.hpp>
#include <Lantern/RenderContext.hpp>
#include <Lantern/RoundBox.hpp>
#include <Lantern/Style.hpp>
#include <Lantern/WindowListener.hpp>
#include <Lantern/WindowTarget.hpp>

#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QPainter>
#include <QRegion>
#include <QScreen>
#include <QTextLayout>
#include <QWindow>

#include <algorithm>
#include <cstdlib>

using Lantern::RenderContext;
using Lantern::Style;
using Lantern::WindowOptions;
using LanternTest::kBlue;
using LanternTest::kRed;
using LanternTest::kWhite;

namespace
{
constexpr QSize kSize(240, 160);
const QRegion kAll(QRect(QPoint(), kSize));

Style fill(const Bedrock::Color& color)
{
    return Style().setFill(color.premultiplied());
}

struct Exposure final : Lantern::WindowListener
{
    bool isExposed = false;
    void windowExposed() override { isExposed = true; }
};

class GlWindow
{
public:
    GlWindow() : m_target(options(), &m_exposure)
    {
        REQUIRE_MESSAGE(m_target.drawing() == WindowOptions::Drawing::OpenGl, "these tests need OpenGL");
        REQUIRE(TestSupport::pumpUntil([&] { return m_exposure.isExposed; }));
    }
    void paint(const QRegion& damage, const std::function<void(RenderContext&)>& draw) { m_target.paint(damage, draw); }
    [[nodiscard]] QImage shown()
    {
        const QWindow& window = m_target.window();
        return window.screen()->grabWindow(window.winId()).toImage().convertToFormat(QImage::Format_RGB32);
    }

private:
    static WindowOptions options()
    {
        WindowOptions options;
        options.size = kSize;
        options.drawing = WindowOptions::Drawing::OpenGl;
        return options;
    }

    Exposure m_exposure;
    Lantern::WindowTarget m_target;
};

/// Names of framebuffers that the current context has.
int framebuffers()
{
    QOpenGLFunctions& gl = *QOpenGLContext::currentContext()->functions();
    int count = 0;
    for (GLuint name = 1; name < 200; ++name)
        count += gl.glIsFramebuffer(name) != GL_FALSE;
    return count;
}

QImage withoutCard(const std::function<void(RenderContext&)>& draw)
{
    Lantern::ImageTarget target(kSize);
    target.paint(kAll, draw);
    return target.image().convertToFormat(QImage::Format_RGB32);
}

struct Difference
{
    int worst = 0;     ///< of a colour, 0…255
    double mean = 0.0; ///< over all pixels
};

Difference difference(const QImage& a, const QImage& b)
{
    REQUIRE(a.size() == b.size());
    Difference result;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x) {
            const QRgb one = a.pixel(x, y), two = b.pixel(x, y);
            const int here = std::max(
                {std::abs(qRed(one) - qRed(two)), std::abs(qGreen(one) - qGreen(two)), std::abs(qBlue(one) - qBlue(two))});
            result.worst = std::max(result.worst, here);
            result.mean += here;
        }
    result.mean /= double(a.width()) * a.height();
    return result;
}

/// A red square at (10, 10) that is kept.
struct KeptSquare
{
    KeptSquare() { picture.cover({0, 0, 40, 40}); }
    void draw(RenderContext& context)
    {
        context.drawKept(picture, {10, 10}, 1.f, [this](RenderContext& inPicture) {
            ++paints;
            inPicture.drawRect({0, 0, 40, 40}, 0.f, fill(kRed));
        });
    }

    Lantern::PictureStore store;
    Lantern::KeptPicture picture{store};
    int paints = 0;
};

QImage photograph()
{
    QImage image(64, 48, QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            image.setPixelColor(x, y, QColor(x * 4, y * 5, 255 - x * 3));
    return image;
}
}

TEST_CASE("OpenGL window: shapes, pictures, clips and layers look as they do without a graphics card")
{
    const QImage image = photograph();
    std::function<void(RenderContext&)> draw;
    int worst = 0;
    SUBCASE("upright rectangles are the same")
    {
        draw = [](RenderContext& c) {
            c.drawRect({10, 20, 100, 60}, 0.f, fill(kRed));
            c.drawRect({50, 40, 100, 60}, 0.f, fill({0, 0, 1, 0.5f}));
        };
        worst = 1;
    }
    SUBCASE("an upright picture is the same")
    {
        draw = [&](RenderContext& c) { c.drawImage(image, {30, 20, 64, 48}); };
        worst = 1;
    }
    SUBCASE("an upright clip is the same")
    {
        draw = [](RenderContext& c) {
            c.pushClip({30, 20, 50, 40});
            c.drawRect({0, 0, 240, 160}, 0.f, fill(kWhite));
            c.pop();
        };
        worst = 0;
    }
    SUBCASE("what overlaps in a faded layer does not shine through")
    {
        draw = [](RenderContext& c) {
            c.drawRect({0, 0, 240, 160}, 0.f, fill(kWhite));
            c.pushLayer({10, 10, 200, 100}, 0.5f);
            c.drawRect({20, 20, 80, 60}, 0.f, fill(kRed));
            c.drawRect({60, 40, 80, 60}, 0.f, fill(kBlue));
            c.pop();
        };
        worst = 2;
    }
    SUBCASE("layers in layers")
    {
        draw = [](RenderContext& c) {
            c.pushLayer({0, 0, 200, 150}, 0.5f);
            c.drawRect({20, 20, 80, 60}, 0.f, fill(kRed));
            c.pushLayer({40, 30, 100, 100}, 0.5f);
            c.drawRect({60, 40, 80, 60}, 0.f, fill(kWhite));
            c.pop();
            c.pop();
        };
        worst = 3;
    }
    GlWindow window;
    window.paint(kAll, draw);
    const Difference found = difference(window.shown(), withoutCard(draw));
    CHECK(found.worst <= worst);
}

TEST_CASE("OpenGL window: shadows, gradients, pictures and borders of boxes differ by at most 2 of 255, turned ones too")
{
    const Lantern::RoundBox box{{0, 0, 90, 60}, Lantern::Corners::all(14.f)};
    Lantern::BoxFill linear, radial, tiled;
    linear.gradient = {Lantern::Gradient::Kind::Linear, {0, 0}, {90, 60}, {{0.f, kRed}, {0.4f, kBlue}, {1.f, {0, 0, 0, 0}}}};
    radial.gradient = {Lantern::Gradient::Kind::Radial, {40, 30}, {50, 30}, {{0.f, kWhite}, {1.f, {1, 0, 0, 0.25f}}}};
    linear.tile = radial.tile = box.rect;
    tiled.image = photograph();
    tiled.tile = {5, 5, 32, 24};
    tiled.repeatsX = tiled.repeatsY = true;
    const Lantern::BoxFrame frame{3, 6, 9, 12, kRed, kBlue, kWhite, {0, 1, 0, 0.5f}};
    const auto draw = [&](RenderContext& c) {
        c.drawRect({0, 0, 240, 160}, 0.f, fill({0.2f, 0.4f, 0.6f, 1.f}));
        int place = 0;
        for (const Lantern::BoxFill* boxFill : {&linear, &radial, &tiled}) {
            c.pushTransform(Vecta::Transform::translation({20.f + 70.f * float(place), 20.f + 40.f * float(place)})
                            * Vecta::Transform::rotation(0.3f * float(place)));
            c.drawShadow(box, {{3, 8}, 14.f, 2.f, {0, 0, 0, 0.6f}, false});
            c.drawBox(box, *boxFill);
            c.drawShadow(box, {{0, 4}, 6.f, 0.f, kWhite, true});
            if (place++ != 1)
                c.drawFrame(box, frame);
            c.pop();
        }
        c.pushClip({150, 10, 80, 40}, Lantern::Corners::all(16.f));
        c.pushOpacity(0.5f);
        c.pushTransform(Vecta::Transform::translation({145, 0}));
        c.drawBox(box, linear);
        c.pop();
        c.pop();
        c.pop();
    };
    GlWindow window;
    window.paint(kAll, draw);
    const QImage shown = window.shown();
    QImage expected = withoutCard(draw);
    // The edge of an outline that clips has four samples there, and coverage here.
    QImage compared = shown;
    for (QImage* image : {&compared, &expected})
        for (int y = 8; y < 52; ++y)
            for (int x = 148; x < 232; ++x)
                if (x < 168 || x >= 212 || y < 12 || y >= 48)
                    image->setPixel(x, y, 0);
    CHECK(difference(compared, expected).worst <= 2);
    // In parts as in whole.
    window.paint(QRegion(30, 40, 50, 50) + QRegion(150, 90, 40, 40), draw);
    CHECK(difference(window.shown(), shown).worst <= 1);
}

TEST_CASE("OpenGL window: only edges differ a little where something is turned, rounded or written")
{
    const QImage image = photograph();
    QTextLayout text(QStringLiteral("Kiosk"), QFont(QStringLiteral("Inter"), 24));
    text.beginLayout();
    text.createLine();
    text.endLayout();
    std::function<void(RenderContext&)> draw;
    SUBCASE("turned")
    {
        draw = [&](RenderContext& c) {
            c.pushTransform(Vecta::Transform::translation({100, 30}) * Vecta::Transform::rotation(0.4f));
            c.drawRect({0, 0, 80, 60}, 0.f, fill(kRed));
            c.drawImage(image, {10, 10, 50, 40});
            c.pop();
        };
    }
    SUBCASE("rounded, with a border")
    {
        draw = [](RenderContext& c) { c.drawRect({20, 20, 150, 100}, 24.f, fill(kRed).setStroke(kWhite, 6.f)); };
    }
    SUBCASE("a rounded clip, and a layer in it")
    {
        draw = [&](RenderContext& c) {
            c.pushClip({20, 20, 120, 100}, {{30, 30}, {}, {12, 20}, {5, 5}});
            c.drawRect({0, 0, 240, 160}, 0.f, fill(kBlue));
            c.pushLayer({0, 0, 240, 160}, 0.5f);
            c.drawRect({0, 0, 60, 160}, 0.f, fill(kWhite));
            c.pop();
            c.pop();
        };
    }
    SUBCASE("text")
    {
        draw = [&](RenderContext& c) { c.drawText(text, {30, 40}, kWhite); };
    }
    GlWindow window;
    window.paint(kAll, draw);
    const QImage shown = window.shown();

    const Difference found = difference(shown, withoutCard(draw));
    MESSAGE("worst " << found.worst << ", mean " << found.mean);
    CHECK(found.mean <= 1.0);
    CHECK(difference(shown, withoutCard([](RenderContext&) {})).mean > 1.0); // something shows at all
}

TEST_CASE("OpenGL window: what is drawn anew in parts equals what is drawn whole, faded layers too")
{
    const auto draw = [](RenderContext& c) {
        c.drawRect({0, 0, 240, 160}, 0.f, fill(kWhite));
        c.pushLayer({0, 0, 240, 160}, 0.5f);
        c.drawRect({20, 20, 180, 100}, 20.f, fill(kRed));
        c.pop();
        c.pushClip({100, 60, 100, 80}, Lantern::Corners::all(20.f));
        c.drawRect({0, 0, 240, 160}, 0.f, fill({0, 0, 1, 0.5f}));
        c.pop();
    };
    GlWindow window;
    window.paint(kAll, draw);
    const QImage whole = window.shown();
    // Far apart, so that they stay two; then near, so that they become one.
    window.paint(QRegion(10, 10, 30, 30) + QRegion(180, 110, 30, 30), draw);
    CHECK(difference(window.shown(), whole).worst == 0);
    window.paint(QRegion(90, 50, 30, 30) + QRegion(110, 70, 30, 30), draw);
    CHECK(difference(window.shown(), whole).worst == 0);
}

TEST_CASE("OpenGL window: a kept picture is painted once, moved and faded as it is, and patched where it is damaged")
{
    Lantern::PictureStore store;
    Lantern::KeptPicture picture(store);
    picture.cover({-10, -10, 80, 60});
    Bedrock::Color color = kRed;
    int paints = 0;
    const auto paint = [&](RenderContext& c) {
        ++paints;
        c.drawRect({-10, -10, 80, 60}, 12.f, fill(color));
        c.drawRect({0, 0, 20, 20}, 0.f, fill(kWhite));
    };
    const auto drawAt = [&](Vecta::Vector2f place, float opacity) {
        return [&, place, opacity](RenderContext& c) {
            c.drawRect({0, 0, 240, 80}, 0.f, fill(kBlue));
            c.drawKept(picture, place, opacity, paint);
        };
    };
    const auto fresh = [&](Vecta::Vector2f place, float opacity) {
        return withoutCard([&](RenderContext& c) {
            c.drawRect({0, 0, 240, 80}, 0.f, fill(kBlue));
            c.pushTransform(Vecta::Transform::translation(place));
            c.pushLayer({-10, -10, 80, 60}, opacity);
            c.drawRect({-10, -10, 80, 60}, 12.f, fill(color));
            c.drawRect({0, 0, 20, 20}, 0.f, fill(kWhite));
            c.pop();
            c.pop();
        });
    };
    GlWindow window;
    window.paint(kAll, drawAt({40, 50}, 1.f));
    CHECK(paints == 1);
    CHECK(difference(window.shown(), fresh({40, 50}, 1.f)).mean < 0.1);
    window.paint(kAll, drawAt({130, 70}, 0.5f));
    CHECK(paints == 1);
    CHECK(difference(window.shown(), fresh({130, 70}, 0.5f)).mean < 0.2); // the card rounds otherwise
    color = {0, 1, 0, 1};
    picture.damage({-10, -10, 40, 60});
    window.paint(kAll, drawAt({130, 70}, 1.f));
    CHECK(paints == 2);
    const QImage patched = window.shown();
    CHECK(patched.pixelColor(130 + 25, 70 + 25) == QColor(Qt::green)); // inside the damage
    CHECK(patched.pixelColor(130 + 50, 70 + 25) == QColor(Qt::red));   // as it was
    CHECK(store.usedBytes() == 80 * 60 * 4);
    picture.clear();
    window.paint(kAll, drawAt({130, 70}, 1.f));
    CHECK(paints == 3);
    CHECK(difference(window.shown(), fresh({130, 70}, 1.f)).mean < 0.1);
}

TEST_CASE("OpenGL window: pixels of a kept picture on the card are not read by a picture that is drawn in memory")
{
    KeptSquare square;
    const auto draw = [&](RenderContext& c) { square.draw(c); };
    GlWindow window;
    window.paint(kAll, draw);
    CHECK(withoutCard(draw).pixelColor(20, 20) == QColor(Qt::red)); // a screenshot
    CHECK(square.paints == 2);
    window.paint(kAll, draw);
    CHECK(square.paints == 2); // still kept on the card
    CHECK(square.store.count() == 1);
}

TEST_CASE("OpenGL window: a kept picture outlives the window, and is painted anew for the next one")
{
    KeptSquare square;
    const auto draw = [&](RenderContext& c) { square.draw(c); };
    for (int windows = 1; windows <= 2; ++windows) {
        GlWindow window;
        window.paint(kAll, draw);
        CHECK(square.paints == windows);
        CHECK(window.shown().pixelColor(20, 20) == QColor(Qt::red));
    }
    CHECK(square.store.count() == 1);
}

TEST_CASE("OpenGL window: a text is cut off at the pixel")
{
    QTextLayout text(QStringLiteral("Kiosk"), QFont(QStringLiteral("Inter"), 24));
    text.beginLayout();
    text.createLine();
    text.endLayout();
    GlWindow window;
    for (const bool inLayer : {false, true})
        for (const QRegion& damage : {kAll, QRegion(0, 0, 10, 10) + QRegion(20, 20, 200, 130)}) {
            CAPTURE(inLayer);
            CAPTURE(damage.rectCount());
            window.paint(kAll, [](RenderContext&) {});
            window.paint(damage, [&](RenderContext& c) {
                if (inLayer)
                    c.pushLayer({0, 0, 240, 160}, 0.5f);
                c.pushTransform(Vecta::Transform::translation({30.3f, 40.4f}));
                c.pushClip({0, 0, 100.2f, 18.2f});
                c.drawText(text, {0, 0}, kWhite);
                c.pop();
                c.pop();
                if (inLayer)
                    c.pop();
            });
            const QImage shown = window.shown();
            int lit = 0, below = 0;
            for (int x = 0; x < shown.width(); ++x) {
                lit += qGray(shown.pixel(x, 58)) > 0;
                below += qGray(shown.pixel(x, 59)) > 0;
            }
            CHECK(lit > 0);
            CHECK(below == 0);
        }
}

TEST_CASE("OpenGL window: what is larger than the largest texture is drawn without being kept, faint or not")
{
    Lantern::PictureStore store;
    Lantern::KeptPicture picture(store);
    picture.cover({-100'000, 0, 200'000, 60});
    int paints = 0;
    const auto draw = [&](float opacity) {
        return [&, opacity](RenderContext& c) {
            c.drawKept(picture, {20, 30}, opacity, [&](RenderContext& inPicture) {
                ++paints;
                inPicture.drawRect({0, 0, 100'000, 60}, 0.f, fill(kRed));
            });
        };
    };
    GlWindow window;
    for (const float opacity : {1.f, 0.5f}) {
        CAPTURE(opacity);
        const int before = paints;
        window.paint(kAll, draw(opacity));
        const QImage shown = window.shown();
        CHECK(qRed(shown.pixel(19, 50)) == 0);
        CHECK(std::abs(qRed(shown.pixel(20, 50)) - int(255 * opacity)) <= 1);
        CHECK(std::abs(qRed(shown.pixel(200, 50)) - int(255 * opacity)) <= 1);
        CHECK(paints > before);
    }
    CHECK(store.count() == 0);
}

TEST_CASE("OpenGL window: surfaces of groups are kept while they are used, and freed when they are not")
{
    GlWindow window;
    const QRegion corner(QRect(0, 0, 20, 20));
    int count = 0;
    const auto plain = [&](RenderContext& context) {
        count = framebuffers();
        context.drawRect({0, 0, 20, 20}, 0.f, fill(kRed));
    };
    const auto groups = [&](RenderContext& context) {
        context.pushLayer({0, 0, 20, 20}, 0.5f);
        context.pushLayer({0, 0, 10, 10}, 0.5f);
        context.drawRect({0, 0, 20, 20}, 0.f, fill(kBlue));
        context.pop();
        context.pop();
        count = framebuffers();
    };
    window.paint(kAll, plain);
    window.paint(corner, plain);
    const int without = count;
    window.paint(corner, groups);
    const int with = count;
    CHECK(with > without);
    for (int frame = 0; frame < 30; ++frame)
        window.paint(corner, plain);
    window.paint(corner, plain);
    CHECK(count == with);
    window.paint(corner, groups);
    CHECK(count == with);
    for (int frame = 0; frame < 62; ++frame)
        window.paint(corner, plain);
    CHECK(count == without);
    window.paint(corner, groups);
    CHECK(count == with);
}
