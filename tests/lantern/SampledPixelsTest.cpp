#include <doctest/doctest.h>

#include <Pictures.hpp>

#include <Lantern/ImageTarget.hpp>
#include <Lantern/RenderContext.hpp>
#include <Lantern/Style.hpp>

#include <QRegion>

#include <random>

namespace
{
/// Fine stripes show at once where a sampler began elsewhere.
QImage stripes(QSize size)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < size.height(); ++y)
        for (int x = 0; x < size.width(); ++x)
            image.setPixel(x, y, (x + 2 * y) % 5 < 2 ? qRgba(200, 120, 40, 255) : qRgba(0, 30, 90, 120));
    return image;
}

struct Shown
{
    Vecta::Transform transform;
    Vecta::Rect target;
    Vecta::Rect source;
    float opacity = 1.f;
    bool isGroup = false;
};

QImage sampledFrom(const QImage& image, const Shown& shown, const QRegion& damage)
{
    Lantern::ImageTarget target({420, 330});
    target.paint(damage, [&](Lantern::RenderContext& context) {
        context.pushTransform(shown.transform);
        if (shown.isGroup)
            context.pushLayer(shown.target, shown.opacity);
        else
            context.pushOpacity(shown.opacity);
        context.drawImage(image, shown.target, shown.source);
        context.pop();
        context.pop();
    });
    return target.image();
}
}

TEST_CASE("sampled pixels: each part of a scaled or turned picture shows the pixels of the whole picture")
{
    const QImage image = stripes({150, 110});
    std::mt19937 random(5);
    const auto number = [&](double low, double high) { return float(low + (high - low) * double(random() % 10000) / 10000.0); };
    for (int i = 0; i < 250; ++i) {
        Shown shown;
        shown.transform = Vecta::Transform::translation({number(-80, 200), number(-80, 150)})
            * Vecta::Transform::rotation(i % 3 ? number(-3, 3) : 0.f) * Vecta::Transform::scaling(i % 5 ? number(0.3, 1.5) : 1.f);
        // Small ones are sampled whole, large ones in blocks.
        shown.target = {number(-10, 10), number(-10, 10), number(20, i % 2 ? 100 : 400), number(20, i % 2 ? 100 : 300)};
        if (i % 4 == 0)
            shown.source = {10.f, 7.f, number(20, 120), number(20, 90)};
        shown.opacity = i % 7 ? 1.f : 0.6f;
        shown.isGroup = i % 11 == 0;
        const QImage whole = sampledFrom(image, shown, QRect(0, 0, 420, 330));
        QRegion damage;
        for (unsigned parts = 1 + random() % 3; parts > 0; --parts)
            damage += QRect(int(number(0, 380)), int(number(0, 300)), int(number(1, 120)), int(number(1, 80)));
        const QImage part = sampledFrom(image, shown, damage);
        QImage expected(whole.size(), whole.format());
        expected.fill(Qt::black);
        for (const QRect& rect : damage)
            for (int y = rect.top(); y <= std::min(rect.bottom(), whole.height() - 1); ++y)
                for (int x = rect.left(); x <= std::min(rect.right(), whole.width() - 1); ++x)
                    expected.setPixel(x, y, whole.pixel(x, y));
        REQUIRE_MESSAGE(part == expected, "picture " << i << " differs by " << TestSupport::difference(part, expected));
    }
}

TEST_CASE("sampled pixels: a large picture has no steps")
{
    // A ramp: a seam would be a step that is larger than the others.
    QImage ramp(512, 16, QImage::Format_RGB32);
    for (int y = 0; y < ramp.height(); ++y)
        for (int x = 0; x < ramp.width(); ++x)
            ramp.setPixel(x, y, qRgb(x / 2, x / 2, x / 2));
    Shown shown;
    shown.transform = Vecta::Transform::translation({3.3f, 20.7f}) * Vecta::Transform::rotation(0.05f);
    shown.target = {0, 0, 400, 300};
    const QImage image = sampledFrom(ramp, shown, QRect(0, 0, 420, 330));
    for (int x = 20; x < 380; ++x)
        CHECK(std::abs(qRed(image.pixel(x + 1, 150)) - qRed(image.pixel(x, 150))) <= 2);
}

TEST_CASE("sampled pixels: a picture shown one pixel for one pixel keeps its pixels")
{
    const QImage image = stripes({60, 40});
    Shown shown;
    shown.transform = Vecta::Transform::translation({7.f, 9.f});
    shown.target = {0, 0, 60, 40};
    Lantern::ImageTarget target({420, 330}, Lantern::ImageTarget::Ground::Transparent);
    target.paint(QRect(0, 0, 420, 330), [&](Lantern::RenderContext& context) {
        context.pushTransform(shown.transform);
        context.drawImage(image, shown.target);
        context.pop();
    });
    CHECK(target.image().copy(7, 9, 60, 40) == image);
}

TEST_CASE("sampled pixels: an opaque picture that is faint lets what is below shine through")
{
    QImage white(60, 50, QImage::Format_RGB32);
    white.fill(Qt::white);
    for (const float angle : {0.f, 0.4f}) {
        CAPTURE(angle);
        Lantern::ImageTarget target({420, 330});
        target.paint(QRect(0, 0, 420, 330), [&](Lantern::RenderContext& context) {
            context.drawRect({0, 0, 420, 330}, 0.f, Lantern::Style().setFill({0.f, 0.f, 1.f, 1.f}));
            context.pushTransform(Vecta::Transform::translation({100.f, 90.f}) * Vecta::Transform::rotation(angle));
            context.pushOpacity(0.25f);
            context.drawImage(white, {0, 0, 200, 160});
            context.pop();
            context.pop();
        });
        const QRgb pixel = target.image().pixel(160, 200);
        CHECK(qBlue(pixel) == 255);
        CHECK(std::abs(qRed(pixel) - 64) <= 1);
        CHECK(target.image().pixel(10, 10) == 0xff0000ffu);
    }
}
