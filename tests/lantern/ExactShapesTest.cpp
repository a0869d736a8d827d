#include <doctest/doctest.h>

#include <Pictures.hpp>

#include <Lantern/ImageTarget.hpp>
#include <Lantern/RenderContext.hpp>
#include <Lantern/Style.hpp>

#include <QRegion>

#include <functional>
#include <random>

namespace
{
using Draw = std::function<void(Lantern::RenderContext&)>;

QImage pictureOfShape(const Draw& draw, const QRegion& damage)
{
    Lantern::ImageTarget target({160, 120});
    target.paint(damage, draw);
    return target.image();
}

/// Each part of a drawing has the pixels of the whole.
void checkParts(const char* what, const Draw& draw, std::mt19937& random)
{
    CAPTURE(what);
    const QImage whole = pictureOfShape(draw, QRect(0, 0, 160, 120));
    for (int i = 0; i < 6; ++i) {
        const QRect part = QRect(int(random() % 150), int(random() % 110), 1 + int(random() % 60), 1 + int(random() % 40))
            & QRect(0, 0, 160, 120);
        const QImage image = pictureOfShape(draw, part);
        REQUIRE_MESSAGE(image.copy(part) == whole.copy(part),
                        what << " differs by " << TestSupport::difference(image.copy(part), whole.copy(part)));
    }
}
}

TEST_CASE("exact shapes: each part of a rectangle, an outline, a thin line or an arc has the pixels of the whole")
{
    std::mt19937 random(6);
    const auto number = [&](double low, double high) { return float(low + (high - low) * double(random() % 10000) / 10000.0); };
    for (int i = 0; i < 150; ++i) {
        const Vecta::Transform transform = Vecta::Transform::translation({number(10, 90), number(10, 60)})
            * Vecta::Transform::rotation(i % 3 ? number(-3, 3) : 0.f) * Vecta::Transform::scaling(i % 4 ? number(0.4, 2) : 1.f);
        const Vecta::Rect rect{number(-9, 9), number(-9, 9), number(1, 60), number(1, 50)};
        const Bedrock::Color color = Bedrock::Color{number(0, 1), 1.f, number(0, 1), i % 2 ? 1.f : 0.4f}.premultiplied();
        const float opacity = i % 5 ? 1.f : 0.7f;
        const auto shown = [&](const Draw& draw) {
            return [&transform, opacity, draw](Lantern::RenderContext& context) {
                context.drawRect({0, 0, 160, 120}, 0.f, Lantern::Style().setFill({0.2f, 0.1f, 0.f, 1.f}));
                context.pushTransform(transform);
                context.pushOpacity(opacity);
                draw(context);
                context.pop();
                context.pop();
            };
        };
        checkParts("rectangle", shown([&](auto& c) { c.drawRect(rect, 0.f, Lantern::Style().setFill(color)); }), random);
        for (const float width : {0.3f, 1.f, 4.f}) {
            const Lantern::Style line = Lantern::Style().setStroke(color, width);
            checkParts("outline", shown([&](auto& c) { c.drawRect(rect, 0.f, line); }), random);
            checkParts("round outline", shown([&](auto& c) { c.drawRect(rect, 8.f, line); }), random);
            checkParts("arc", shown([&](auto& c) { c.drawArc({10, 10}, 30.f, 0.3f, 4.f, line); }), random);
        }
    }
}

TEST_CASE("exact shapes: so has a faint rectangle that begins and ends on whole pixels, beyond the picture, in any scale")
{
    std::mt19937 random(7);
    for (const float scale : {1.f, 1.25f, 2.f}) {
        CAPTURE(scale);
        const auto draw = [scale](Lantern::RenderContext& context) {
            context.pushTransform(Vecta::Transform::scaling(scale));
            context.drawRect({0, 0, 300, 300}, 0.f, Lantern::Style().setFill({0.f, 0.f, 0.5f, 0.5f}));
            context.drawRect({8, 4, 72, 60}, 0.f, Lantern::Style().setFill({0.3f, 0.f, 0.f, 0.3f}));
            context.pop();
        };
        for (int i = 0; i < 10; ++i)
            checkParts("faint rectangle", draw, random);
    }
}

TEST_CASE("exact shapes: a rectangle on whole pixels has sharp edges, one that is turned has soft ones")
{
    const auto rectangle = [](const Vecta::Transform& transform) {
        return pictureOfShape(
            [&](Lantern::RenderContext& context) {
                context.pushTransform(transform);
                context.drawRect({0, 0, 40, 30}, 0.f, Lantern::Style().setFill({1.f, 1.f, 1.f, 1.f}));
                context.pop();
            },
            QRect(0, 0, 160, 120));
    };
    const auto between = [](const QImage& image) {
        int count = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                count += qRed(image.pixel(x, y)) > 0 && qRed(image.pixel(x, y)) < 255;
        return count;
    };
    const auto shift = Vecta::Transform::translation({20.f, 30.f});
    CHECK(between(rectangle(shift)) == 0);
    CHECK(TestSupport::litBounds(rectangle(shift)) == QRect(20, 30, 40, 30));
    CHECK(between(rectangle(shift * Vecta::Transform::rotation(0.3f))) > 100);
}
