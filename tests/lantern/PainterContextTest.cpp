#include <doctest/doctest.h>

#include <Pictures.hpp>

#include <Lantern/BoxFill.hpp>
#include <Lantern/BoxShadow.hpp>
#include <Lantern/ImageTarget.hpp>

#include "TestColors.hpp"
#include <Lantern/PainterContext.hpp>
#include <Lantern/RenderContext.hpp>
#include <Lantern/RoundBox.hpp>
#include <Lantern/Style.hpp>
#include <Vecta/Angle.hpp>

#include <QImage>
#include <QPainter>
#include <QRegion>
#include <QTextLayout>

#include <cmath>
#include <functional>
#include <limits>

using Lantern::RenderContext;
using Lantern::Style;
using LanternTest::kBlue;
using LanternTest::kRed;
using LanternTest::kWhite;

namespace
{

QImage picture(const std::function<void(RenderContext&)>& draw, const QRegion& damage = QRegion(0, 0, 100, 100))
{
    Lantern::ImageTarget target({100, 100});
    target.paint(damage, draw);
    return target.image();
}

Style fill(const Bedrock::Color& color)
{
    return Style().setFill(color.premultiplied());
}

/// Sum of the differences in red, of the red in `b`: tolerant of edges whose pixels are covered a little differently.
double shareThatDiffers(const QImage& a, const QImage& b)
{
    double different = 0, all = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x) {
            different += std::abs(a.pixelColor(x, y).red() - b.pixelColor(x, y).red());
            all += b.pixelColor(x, y).red();
        }
    return different / all;
}

int pixelsLit(const QImage& image)
{
    int count = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            count += image.pixelColor(x, y) != QColor(Qt::black);
    return count;
}
}

TEST_CASE("painter context: a transform maps as the transform says")
{
    const auto transform = Vecta::Transform::translation({50, 20}) * Vecta::Transform::rotation(float(Vecta::kPi / 2));
    const QImage turned = picture([&](RenderContext& c) {
        c.pushTransform(transform);
        c.drawRect({0, 0, 20, 10}, 0.f, fill(kRed));
        c.pop();
        c.drawRect({0, 0, 5, 5}, 0.f, fill(kBlue));
    });
    const QImage straight = picture([&](RenderContext& c) {
        c.drawRect({40, 20, 10, 20}, 0.f, fill(kRed));
        c.drawRect({0, 0, 5, 5}, 0.f, fill(kBlue));
    });
    CHECK_PICTURE(turned, straight, 1);
    CHECK(straight.pixelColor(45, 30) == QColor(Qt::red));
}

TEST_CASE("painter context: nested transforms equal their product")
{
    const auto outer = Vecta::Transform::translation({30, 40}) * Vecta::Transform::rotation(0.4f);
    const auto inner = Vecta::Transform::translation({5, 6}) * Vecta::Transform::scaling(1.5f);
    const QImage nested = picture([&](RenderContext& c) {
        c.pushTransform(outer);
        c.pushTransform(inner);
        c.drawRect({0, 0, 20, 10}, 3.f, fill(kRed));
        c.pop();
        c.pop();
    });
    const QImage product = picture([&](RenderContext& c) {
        c.pushTransform(outer * inner);
        c.drawRect({0, 0, 20, 10}, 3.f, fill(kRed));
        c.pop();
    });
    CHECK_PICTURE(nested, product, 1);
    CHECK(pixelsLit(product) > 100);
}

TEST_CASE("painter context: nested opacities multiply")
{
    const QImage nested = picture([](RenderContext& c) {
        c.pushOpacity(0.5f);
        c.pushOpacity(0.5f);
        c.drawRect({10, 10, 50, 50}, 0.f, fill(kWhite));
        c.pop();
        c.pop();
        c.drawRect({70, 70, 10, 10}, 0.f, fill(kWhite));
    });
    CHECK(nested.pixelColor(30, 30).red() == doctest::Approx(64).epsilon(0.04));
    CHECK(nested.pixelColor(75, 75) == QColor(Qt::white));
}

TEST_CASE("painter context: what overlaps in a layer does not shine through")
{
    const QImage layered = picture([](RenderContext& c) {
        c.pushLayer({10, 10, 60, 60}, 0.5f);
        c.drawRect({10, 10, 40, 40}, 0.f, fill(kRed));
        c.drawRect({30, 30, 40, 40}, 0.f, fill(kBlue));
        c.pop();
    });
    const QImage apart = picture([](RenderContext& c) {
        c.drawRect({10, 10, 40, 40}, 0.f, fill({0.5f, 0, 0, 1}));
        c.drawRect({30, 30, 40, 40}, 0.f, fill({0, 0, 0.5f, 1}));
    });
    CHECK_PICTURE(layered, apart, 2);
}

TEST_CASE("painter context: a layer under a transform, an opacity and a clip lies where its content lies")
{
    const auto transform = Vecta::Transform::translation({20, 30}) * Vecta::Transform::rotation(0.3f);
    const auto scene = [&](bool layer) {
        return picture([&, layer](RenderContext& c) {
            c.pushOpacity(0.5f);
            c.pushClip({0, 0, 60, 100});
            c.pushTransform(transform);
            if (layer)
                c.pushLayer({0, 0, 50, 50}, 1.f);
            c.pushTransform(Vecta::Transform::translation({4, 4}));
            c.drawRect({0, 0, 40, 30}, 5.f, fill(kRed));
            c.pop();
            if (layer)
                c.pop();
            c.pop();
            c.pop();
            c.pop();
        });
    };
    CHECK_PICTURE(scene(true), scene(false), 2);
    CHECK(pixelsLit(scene(true)) > 200);
}

TEST_CASE("painter context: an empty layer and a layer outside the damage leave the stack in order")
{
    const QImage image = picture(
        [](RenderContext& c) {
            c.pushLayer({}, 0.5f);
            c.drawRect({0, 0, 100, 100}, 0.f, fill(kRed));
            c.pop();
            c.pushLayer({80, 80, 10, 10}, 0.5f);
            c.drawRect({0, 0, 100, 100}, 0.f, fill(kRed));
            c.pop();
            c.drawRect({0, 0, 100, 100}, 0.f, fill(kBlue));
        },
        QRegion(0, 0, 50, 50));
    CHECK(image.pixelColor(10, 10) == QColor(Qt::blue));
    CHECK(pixelsLit(image) == 2500);
}

TEST_CASE("painter context: a clip holds until its pop, and clips intersect")
{
    const QImage clipped = picture([](RenderContext& c) {
        c.pushClip({10, 10, 50, 50});
        c.pushClip({40, 40, 50, 50});
        c.drawRect({0, 0, 100, 100}, 0.f, fill(kRed));
        c.pop();
        c.pop();
        c.drawRect({90, 0, 10, 10}, 0.f, fill(kBlue));
    });
    const QImage drawn = picture([](RenderContext& c) {
        c.drawRect({40, 40, 20, 20}, 0.f, fill(kRed));
        c.drawRect({90, 0, 10, 10}, 0.f, fill(kBlue));
    });
    CHECK_PICTURE(clipped, drawn, 0);
}

TEST_CASE("painter context: a rounded clip looks like a rounded rectangle")
{
    const QImage clipped = picture([](RenderContext& c) {
        c.pushClip({10, 10, 60, 60}, Lantern::Corners::all(15.f));
        c.drawRect({0, 0, 100, 100}, 0.f, fill(kRed));
        c.pop();
    });
    const QImage drawn = picture([](RenderContext& c) { c.drawRect({10, 10, 60, 60}, 15.f, fill(kRed)); });
    CHECK(clipped.pixelColor(11, 11) == QColor(Qt::black));
    CHECK_PICTURE(clipped, drawn, 40); // edge pixels round differently
    CHECK(std::abs(pixelsLit(clipped) - pixelsLit(drawn)) < 20);
}

TEST_CASE("painter context: a clip and a picture are round at each corner as far as it says, as a box is")
{
    const Lantern::RoundBox box{{10, 10, 60, 50}, {{30, 30}, {}, {12, 20}, {5, 5}}};
    Lantern::BoxFill red;
    red.color = kRed;
    const QImage drawn = picture([&](RenderContext& c) { c.drawBox(box, red); });
    CHECK(drawn.pixel(12, 12) == 0xff000000u);
    CHECK(drawn.pixel(69, 10) == 0xffff0000u);
    const QImage clipped = picture([&](RenderContext& c) {
        c.pushClip(box.rect, box.corners);
        c.drawRect({0, 0, 100, 100}, 0.f, fill(kRed));
        c.pop();
    });
    CHECK_PICTURE(clipped, drawn, 40); // edge pixels round differently
    CHECK(std::abs(pixelsLit(clipped) - pixelsLit(drawn)) < 20);
    QImage source(10, 10, QImage::Format_RGB32);
    source.fill(Qt::red);
    const QImage image = picture([&](RenderContext& c) { c.drawImage(source, box.rect, {}, box.corners); });
    CHECK_PICTURE(image, drawn, 1);
    const QImage negative = picture([&](RenderContext& c) { c.drawImage(source, box.rect, {}, Lantern::Corners::all(-4.f)); });
    CHECK(pixelsLit(negative) == 60 * 50);
}

TEST_CASE("painter context: a round picture that is sheared or drawn pixel for pixel is cut off by its outline")
{
    const Lantern::RoundBox box{{5, 20, 40, 30}, Lantern::Corners::all(12.f)};
    QImage source(40, 30, QImage::Format_RGB32);
    source.fill(Qt::red);
    Vecta::Transform sheared;
    sheared.m21 = 0.6f;
    for (const Vecta::Transform& transform : {sheared, Vecta::Transform::translation({30, 10})}) {
        const QImage round = picture([&](RenderContext& c) {
            c.pushTransform(transform);
            c.drawImage(source, box.rect, {}, box.corners);
            c.pop();
        });
        const QImage clipped = picture([&](RenderContext& c) {
            c.pushTransform(transform);
            c.pushClip(box.rect, box.corners);
            c.drawImage(source, box.rect);
            c.pop();
            c.pop();
        });
        CHECK_PICTURE(round, clipped, 0);
        CHECK(pixelsLit(round) > 900);
    }
}

TEST_CASE("painter context: visibility follows damage, clip, transform and opacity")
{
    picture(
        [](RenderContext& c) {
            CHECK(c.isVisible({0, 0, 10, 10}));
            CHECK_FALSE(c.isVisible({60, 0, 10, 10}));
            CHECK_FALSE(c.isVisible({std::nanf(""), 0, 10, 10}));
            c.pushTransform(Vecta::Transform::translation({-60, 0}));
            CHECK(c.isVisible({60, 0, 10, 10}));
            CHECK_FALSE(c.isVisible({0, 0, 10, 10}));
            c.pushClip({60, 0, 5, 5});
            CHECK_FALSE(c.isVisible({70, 0, 10, 10}));
            c.pop();
            c.pop();
            c.pushLayer({0, 0, 20, 20}, 0.5f);
            CHECK(c.isVisible({5, 5, 10, 10}));
            CHECK_FALSE(c.isVisible({30, 30, 10, 10}));
            c.pop();
            c.pushOpacity(0.f);
            CHECK_FALSE(c.isVisible({0, 0, 10, 10}));
            c.pop();
        },
        QRegion(0, 0, 50, 50));
}

TEST_CASE("painter context: a whole arc looks like a circle, and an arc runs clockwise from the right")
{
    const Style ring = Style().setStroke(kRed, 6.f);
    const QImage arc = picture([&](RenderContext& c) { c.drawArc({50, 50}, 30.f, 0.f, float(Vecta::kTwoPi), ring); });
    const QImage circle = picture([&](RenderContext& c) { c.drawRect({20, 20, 60, 60}, 30.f, ring); });
    CHECK(shareThatDiffers(arc, circle) < 0.06);

    const QImage quarter = picture([&](RenderContext& c) { c.drawArc({50, 50}, 30.f, 0.f, float(Vecta::kPi / 2), ring); });
    CHECK(quarter.pixelColor(71, 71) == QColor(Qt::red));
    CHECK(quarter.pixelColor(71, 28) == QColor(Qt::black));
    CHECK(quarter.pixelColor(28, 71) == QColor(Qt::black));
}

TEST_CASE("painter context: turns beyond a whole one draw one circle")
{
    const Style ring = Style().setStroke(Bedrock::Color{1, 0, 0, 0.5f}.premultiplied(), 6.f);
    const QImage many = picture([&](RenderContext& c) { c.drawArc({50, 50}, 30.f, 0.f, 1000.f, ring); });
    const QImage one = picture([&](RenderContext& c) { c.drawArc({50, 50}, 30.f, 0.f, float(Vecta::kTwoPi), ring); });
    CHECK_PICTURE(many, one, 2);
}

TEST_CASE("painter context: arcs without a sensible shape draw nothing")
{
    const float inf = std::numeric_limits<float>::infinity();
    const float nan = std::nanf("");
    const Style style = Style().setStroke(kRed, 5.f).setFill(kBlue);
    const QImage image = picture([&](RenderContext& c) {
        c.drawArc({50, 50}, -10.f, 0.f, 3.f, style);
        c.drawArc({50, 50}, 0.f, 0.f, 3.f, style);
        c.drawArc({50, 50}, nan, 0.f, 3.f, style);
        c.drawArc({50, 50}, inf, 0.f, 3.f, style);
        c.drawArc({50, 50}, 10.f, 0.f, inf, style);
        c.drawArc({50, 50}, 10.f, -inf, inf, style);
        c.drawArc({50, 50}, 10.f, inf, inf, style);
        c.drawArc({50, 50}, 10.f, nan, 1.f, style);
        c.drawArc({nan, 50}, 10.f, 0.f, 1.f, style);
        c.drawArc({50, 50}, 10.f, 0.f, 1.f, Style().setStroke(kRed, nan));
        c.drawArc({50, 50}, 10.f, 2.f, 2.f, style);
    });
    CHECK(pixelsLit(image) == 0);
}

TEST_CASE("painter context: a huge or tiny circle ends in time")
{
    const Style ring = Style().setStroke(kRed, 1.f);
    const QImage image = picture([&](RenderContext& c) {
        c.drawArc({50, 50}, 1e6f, 0.f, 7.f, ring);
        c.drawArc({50, 50}, 1e-6f, 0.f, 7.f, ring);
        c.drawArc({50, 50}, 20.f, 1e30f, 1e30f + 7.f, ring);
        c.drawArc({50, 50}, 20.f, 0.f, 7.f, ring, 1 << 30);
    });
    CHECK(image.pixelColor(70, 50).red() > 60);
}

TEST_CASE("painter context: four segments make a square")
{
    const QImage diamond = picture([](RenderContext& c) { c.drawArc({50, 50}, 30.f, 0.f, float(Vecta::kTwoPi), fill(kRed), 4); });
    CHECK(diamond.pixelColor(78, 50) == QColor(Qt::red));
    CHECK(diamond.pixelColor(68, 68) == QColor(Qt::black));
}

TEST_CASE("painter context: a picture is scaled into its target, whole or in part")
{
    QImage source(2, 1, QImage::Format_RGB32);
    source.setPixelColor(0, 0, Qt::red);
    source.setPixelColor(1, 0, Qt::blue);
    const QImage parts = picture([&](RenderContext& c) { c.drawImage(source, {0, 0, 50, 50}, {1, 0, 1, 1}); });
    CHECK(parts.pixelColor(25, 25) == QColor(Qt::blue));
    CHECK(parts.pixelColor(60, 25) == QColor(Qt::black));
    const QImage whole = picture([&](RenderContext& c) { c.drawImage(source, {0, 0, 80, 40}); });
    CHECK(whole.pixelColor(2, 20) == QColor(Qt::red));
    CHECK(whole.pixelColor(77, 20) == QColor(Qt::blue));
}

TEST_CASE("painter context: a picture with rounded corners looks like a rounded rectangle of its colour")
{
    QImage source(10, 10, QImage::Format_RGB32);
    source.fill(Qt::red);
    const QImage image = picture([&](RenderContext& c) {
        c.drawImage(source, {10, 10, 60, 60}, {}, Lantern::Corners::all(20.f));
    });
    const QImage rect = picture([&](RenderContext& c) { c.drawRect({10, 10, 60, 60}, 20.f, fill(kRed)); });
    CHECK(image.pixelColor(11, 11) == QColor(Qt::black));
    CHECK(std::abs(pixelsLit(image) - pixelsLit(rect)) < 20);
}

TEST_CASE("painter context: text shows in its colour at its origin")
{
    QFont font(QStringLiteral("sans-serif"));
    font.setPixelSize(40);
    QTextLayout layout(QStringLiteral("H"), font);
    layout.beginLayout();
    layout.createLine().setLineWidth(100);
    layout.endLayout();
    const QImage left = picture([&](RenderContext& c) { c.drawText(layout, {10, 20}, kRed); });
    const QImage moved = picture([&](RenderContext& c) {
        c.pushTransform(Vecta::Transform::translation({10, 20}));
        c.drawText(layout, {0, 0}, kRed);
        c.pop();
    });
    CHECK(pixelsLit(left) > 50);
    CHECK_PICTURE(left, moved, 0);
    CHECK(pixelsLit(picture([&](RenderContext& c) { c.drawText(layout, {10, 20}, {0, 0, 0, 0}); })) == 0);
}

TEST_CASE("painter context: on a painter that is moved or clipped everything looks the same, in its place")
{
    QImage icon(16, 12, QImage::Format_RGB32);
    icon.fill(Qt::green);
    const auto draw = [&](RenderContext& c) {
        c.drawRect({5, 5, 30, 20}, 0.f, fill(kRed));
        c.pushLayer({0, 0, 60, 60}, 0.5f);
        c.drawRect({20, 20, 30, 30}, 0.f, fill(kBlue));
        c.drawImage(icon, {30, 10, 32, 20});
        c.pop();
        c.pushClip({10, 40, 20, 20}, Lantern::Corners::all(6.f));
        c.drawImage(icon, {5, 35, 40, 40});
        c.pop();
        c.pushClip({50, 50, 10, 30});
        c.drawImage(icon, {40, 40, 40, 40});
        c.pop();
    };
    const QImage plain = picture(draw);
    QImage moved(120, 110, QImage::Format_RGB32), clipped(100, 100, QImage::Format_RGB32);
    {
        QPainter painter(&moved);
        painter.translate(20, 10);
        Lantern::PainterContext context(painter, QRegion(0, 0, 100, 100));
        context.clear(Qt::black);
        draw(context);
    }
    CHECK_PICTURE(moved.copy(20, 10, 100, 100), plain, 1);
    clipped.fill(Qt::black);
    {
        QPainter painter(&clipped);
        painter.setClipRect(0, 0, 45, 100);
        Lantern::PainterContext context(painter, QRegion(0, 0, 100, 100));
        draw(context);
    }
    CHECK_PICTURE(clipped.copy(0, 0, 45, 100), plain.copy(0, 0, 45, 100), 1);
    CHECK(pixelsLit(clipped.copy(45, 0, 55, 100)) == 0);
}

TEST_CASE("painter context: clearing replaces what is inside the damage by the colour, also by nothing")
{
    for (const bool isMoved : {false, true}) {
        QImage image(40, 30, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::red);
        QPainter painter(&image);
        if (isMoved)
            painter.translate(3, 2);
        {
            Lantern::PainterContext context(painter, QRegion(5, 5, 10, 10) + QRegion(20, 5, 4, 4));
            context.clear(Qt::transparent);
        }
        painter.end();
        const QPoint at = isMoved ? QPoint(3, 2) : QPoint();
        CHECK(image.pixel(at + QPoint(5, 5)) == 0u);
        CHECK(image.pixel(at + QPoint(14, 14)) == 0u);
        CHECK(image.pixel(at + QPoint(23, 8)) == 0u);
        CHECK(image.pixel(at + QPoint(4, 5)) == 0xffff0000u);
        CHECK(image.pixel(at + QPoint(15, 14)) == 0xffff0000u);
        CHECK(image.pixel(at + QPoint(17, 6)) == 0xffff0000u);
    }
}

namespace
{
/// A shadow, a gradient and a border, one over the other.
void drawBoxes(RenderContext& context)
{
    const Lantern::RoundBox box{{20, 20, 50, 40}, Lantern::Corners::all(9.f)};
    Lantern::BoxFill gradient;
    gradient.gradient = {Lantern::Gradient::Kind::Linear, {0, 0}, {50, 40}, {{0.f, kRed}, {1.f, {1, 1, 1, 0.5f}}}};
    gradient.tile = box.rect;
    context.drawRect({0, 0, 100, 100}, 0.f, fill({0.1f, 0.3f, 0.2f, 1.f}));
    context.drawShadow(box, {{4, 6}, 10.f, 1.f, {0, 0, 0, 0.7f}, false});
    context.drawBox(box, gradient);
    context.drawFrame(box, {2, 4, 6, 8, kBlue, kWhite, kBlue, kRed});
}
}

TEST_CASE("painter context: shadows, gradients and borders under a round clip are those without it, cut off")
{
    const QImage whole = picture(drawBoxes);
    const QImage cut = picture([](RenderContext& c) {
        c.pushClip({10, 10, 70, 60}, Lantern::Corners::all(20.f));
        drawBoxes(c);
        c.pop();
    });
    for (int y = 30; y < 50; ++y)
        for (int x = 12; x < 78; ++x)
            REQUIRE(cut.pixel(x, y) == whole.pixel(x, y));
    CHECK(cut.pixel(11, 11) == 0xff000000u);
    CHECK(cut.pixel(85, 40) == 0xff000000u);
    const QImage parts = picture(
        [](RenderContext& c) {
            c.pushClip({10, 10, 70, 60}, Lantern::Corners::all(20.f));
            drawBoxes(c);
            c.pop();
        },
        QRegion(20, 20, 30, 30) + QRegion(60, 50, 20, 30));
    CHECK(parts.copy(20, 20, 30, 30) == cut.copy(20, 20, 30, 30));
    CHECK(parts.copy(60, 50, 20, 30) == cut.copy(60, 50, 20, 30));
    CHECK(parts.pixel(55, 40) == 0xff000000u);
}

TEST_CASE("painter context: shadows, gradients and borders fade with what they stand in, and show nothing where that is flat")
{
    const QImage faint = picture([](RenderContext& c) {
        c.pushOpacity(0.5f);
        drawBoxes(c);
        c.pop();
    });
    CHECK(qRed(faint.pixel(40, 40)) == doctest::Approx(qRed(picture(drawBoxes).pixel(40, 40)) / 2).epsilon(0.35));
    const QImage flat = picture([](RenderContext& c) {
        c.pushTransform(Vecta::Transform::scaling(0.f));
        drawBoxes(c);
        c.pop();
        c.pushOpacity(0.f);
        drawBoxes(c);
        c.pop();
        c.drawShadow({{10, 10, -5, 20}, {}}, {{0, 0}, 4.f, 4.f, kWhite, false});
        c.drawBox({{10, 10, std::numeric_limits<float>::quiet_NaN(), 20}, {}}, {});
    });
    CHECK(pixelsLit(flat) == 0);
}

TEST_CASE("painter context: a painter that scales draws shadows, gradients and borders as large as everything else")
{
    QImage large(200, 200, QImage::Format_RGB32);
    large.fill(Qt::black);
    QPainter painter(&large);
    painter.scale(2.0, 2.0);
    {
        Lantern::PainterContext context(painter, QRegion(0, 0, 100, 100));
        drawBoxes(context);
    }
    painter.end();
    const QImage expected = picture([](RenderContext& c) { drawBoxes(c); });
    CHECK(shareThatDiffers(large.scaled(100, 100, Qt::IgnoreAspectRatio, Qt::SmoothTransformation), expected) < 0.03);
}

TEST_CASE("painter context: what is scaled is visible half a pixel beside the damage, what is not is not")
{
    QImage image(64, 64, QImage::Format_ARGB32_Premultiplied);
    Lantern::PainterContext context(image, QRect(20, 20, 10, 10));
    const Vecta::Rect before{10.f, 10.f, 9.75f, 30.f}, above{10.f, 10.f, 30.f, 9.75f};
    CHECK_FALSE(context.isVisible(before));
    CHECK_FALSE(context.isVisible(above));
    CHECK(context.isVisible({10.f, 10.f, 10.25f, 30.f}));
    context.pushTransform(Vecta::Transform::scaling(0.5f));
    CHECK(context.isVisible({20.f, 20.f, 19.5f, 60.f}));
    CHECK(context.isVisible({20.f, 20.f, 60.f, 19.5f}));
    CHECK_FALSE(context.isVisible({20.f, 20.f, 18.5f, 60.f}));
    CHECK_FALSE(context.isVisible({20.f, 20.f, 60.f, 18.5f}));
    CHECK_FALSE(context.isVisible({50.f, 50.f, 0.f, 20.f}));
    context.pop();
}

TEST_CASE("painter context: what holds turned things is visible half a pixel beside the damage, too, and so large is its layer")
{
    QImage image(64, 64, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    Lantern::PainterContext context(image, QRect(20, 20, 10, 10));
    constexpr Vecta::Rect kBefore{10.f, 22.f, 9.75f, 2.f};
    CHECK(context.isVisible(kBefore, Lantern::Edges::Smooth));
    CHECK_FALSE(context.isVisible({10.f, 22.f, 9.25f, 2.f}, Lantern::Edges::Smooth));
    context.pushLayer(kBefore, 1.f, Lantern::Edges::Smooth);
    CHECK(context.isVisible({20.f, 22.f, 1.f, 1.f}));
    CHECK_FALSE(context.isVisible({21.f, 22.f, 1.f, 1.f}));
    context.pop();
    context.pushLayer(kBefore, 1.f);
    CHECK_FALSE(context.isVisible({20.f, 22.f, 1.f, 1.f}));
    context.pop();
}

TEST_CASE("painter context: in an empty clip nothing shows, not the pixel either at which the painter's coordinates begin")
{
    const QImage image = picture([](RenderContext& c) {
        const auto drawDisc = [&c] { c.drawArc({0.f, 0.f}, 8.f, 0.f, 7.f, Lantern::Style().setFill({1.f, 1.f, 1.f, 1.f})); };
        c.pushTransform(Vecta::Transform::translation({20.4f, 20.4f}));
        // Beside the picture, so that the painter is moved and nothing shows.
        c.drawArc({500.f, 500.f}, 8.f, 0.f, 7.f, Lantern::Style().setFill({1.f, 1.f, 1.f, 1.f}));
        for (const Vecta::Rect& clip : {Vecta::Rect{}, Vecta::Rect{-50.f, -50.f, 10.f, 10.f}}) {
            c.pushClip(clip);
            drawDisc();
            c.pop();
        }
        c.pushClip({0.f, 0.f, 4.f, 0.f});
        drawDisc();
        c.pop();
        c.pop();
    });
    CHECK(pixelsLit(image) == 0);
}
