#include <doctest/doctest.h>

#include <Lantern/ImageTarget.hpp>
#include <Lantern/RenderContext.hpp>
#include <Lantern/Style.hpp>

#include <QRegion>

using Lantern::ImageTarget;

namespace
{
void fillWhite(Lantern::RenderContext& context)
{
    context.drawRect({0, 0, 100, 100}, 0.f, Lantern::Style().setFill({1, 1, 1, 1}));
}
}

TEST_CASE("image target: only the damaged pixels are cleared and drawn")
{
    ImageTarget target({100, 100});
    QRegion damage(10, 10, 5, 5);
    damage += QRect(50, 50, 10, 10);
    target.paint(damage, fillWhite);
    for (int y = 0; y < 100; ++y)
        for (int x = 0; x < 100; ++x)
            REQUIRE((target.image().pixelColor(x, y) == QColor(Qt::white)) == damage.contains(QPoint(x, y)));

    target.paint(QRegion(0, 0, 20, 100), [](Lantern::RenderContext&) {});
    CHECK(target.image().pixelColor(12, 12) == QColor(Qt::black));
    CHECK(target.image().pixelColor(55, 55) == QColor(Qt::white));
}

TEST_CASE("image target: damage outside the picture draws nothing")
{
    ImageTarget target({100, 100});
    int calls = 0;
    target.paint(QRegion(200, 0, 10, 10), [&](Lantern::RenderContext&) { ++calls; });
    target.paint(QRegion(), [&](Lantern::RenderContext&) { ++calls; });
    CHECK(calls == 0);
}

TEST_CASE("image target: a transparent ground stays transparent and keeps half-transparent colours")
{
    ImageTarget target({20, 20}, ImageTarget::Ground::Transparent);
    target.paint(QRegion(0, 0, 20, 20), [](Lantern::RenderContext& context) {
        context.drawRect({0, 0, 10, 20}, 0.f, Lantern::Style().setFill(Bedrock::Color{1, 0, 0, 0.5f}.premultiplied()));
    });
    CHECK(target.image().pixelColor(15, 5).alpha() == 0);
    CHECK(target.image().pixelColor(5, 5).alpha() == doctest::Approx(128).epsilon(0.02));
    CHECK(target.image().pixelColor(5, 5).red() == doctest::Approx(255).epsilon(0.02));
}

TEST_CASE("image target: what is not drawn of a large picture is black, whether a part or all of it is drawn first")
{
    const QImage black = [] {
        QImage image(1300, 1000, QImage::Format_RGB32);
        image.fill(Qt::black);
        return image;
    }();
    CHECK(ImageTarget(black.size()).image() == black);
    for (const QRect& first : {QRect(600, 300, 1, 1), black.rect()}) {
        ImageTarget target(black.size());
        target.paint(first, [](Lantern::RenderContext&) {});
        CHECK(target.image() == black);
        for (const QPoint& place : {QPoint(0, 0), QPoint(600, 300), QPoint(1299, 999)})
            CHECK(reinterpret_cast<const QRgb*>(target.image().constScanLine(place.y()))[place.x()] == 0xff000000u);
    }
}
