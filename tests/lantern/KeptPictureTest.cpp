#include <Lantern/KeptPicture.hpp>

#include <Pictures.hpp>

#include <Lantern/ImageTarget.hpp>
#include <Lantern/PictureStore.hpp>
#include <Lantern/RenderContext.hpp>
#include <Lantern/Style.hpp>

#include <doctest/doctest.h>

#include <QImage>

#include <cstdlib>

using namespace Lantern;

namespace
{
struct Fixture
{
    const QImage* pixels()
    {
        return picture.pixels([this](RenderContext& context) {
            ++paints;
            isWholeVisible = context.isVisible({-8.f, -8.f, 2.f, 2.f});
            context.drawRect({-5.f, -5.f, 20.f, 10.f}, 0.f, Style().setFill(color));
        });
    }
    PictureStore store;
    KeptPicture picture{store};
    Bedrock::Color color{1.f, 0.f, 0.f, 1.f};
    int paints = 0;
    bool isWholeVisible = false;
};
}

TEST_CASE("kept picture: it is painted once, around its origin on a transparent ground, and then kept")
{
    Fixture f;
    CHECK_FALSE(f.pixels());
    CHECK(f.picture.cover(QRect(-10, -10, 40, 30)));
    const QImage* image = f.pixels();
    REQUIRE(image);
    CHECK(image->size() == QSize(40, 30));
    CHECK(image->pixel(5, 5) == 0xffff0000u);
    CHECK(image->pixel(24, 14) == 0xffff0000u);
    CHECK(image->pixel(4, 5) == 0u);
    CHECK(image->pixel(25, 14) == 0u);
    CHECK(f.pixels() == image);
    CHECK(f.paints == 1);
    CHECK(f.store.count() == 1);
}

TEST_CASE("kept picture: damage is painted anew, and nothing else")
{
    Fixture f;
    f.picture.cover(QRect(-10, -10, 40, 30));
    (void)f.pixels();
    CHECK(f.isWholeVisible);
    f.color = {0.f, 0.f, 1.f, 1.f};
    f.picture.damage(QRect(0, -10, 4, 30));
    const QImage* image = f.pixels();
    CHECK(f.paints == 2);
    CHECK_FALSE(f.isWholeVisible);
    CHECK(image->pixel(9, 10) == 0xffff0000u);
    CHECK(image->pixel(10, 10) == 0xff0000ffu);
    CHECK(image->pixel(13, 10) == 0xff0000ffu);
    CHECK(image->pixel(14, 10) == 0xffff0000u);
    f.picture.damage(QRect());
    f.picture.damage(QRect(100, 100, 5, 5));
    (void)f.pixels();
    CHECK(f.paints == 2);
}

TEST_CASE("kept picture: many small damages become one area, near ones at once")
{
    Fixture f;
    f.picture.cover(QRect(-100, -100, 300, 300));
    (void)f.pixels();
    for (int i = 0; i < 40; ++i)
        f.picture.damage(QRect(i * 5, i * 5, 2, 2));
    f.color = {0.f, 1.f, 0.f, 1.f};
    const QImage* image = f.pixels();
    CHECK(f.paints == 2);
    CHECK(image->pixel(100, 100) == 0xff00ff00u);
    CHECK(image->pixel(103, 103) == 0xff00ff00u); // between two of them
}

TEST_CASE("kept picture: a few small damages stay apart, and what lies between them is not painted")
{
    Fixture f;
    f.picture.cover(QRect(-100, -100, 300, 300));
    (void)f.pixels();
    for (int i = 0; i < 12; ++i)
        f.picture.damage(QRect(i * 5, i * 5, 2, 2));
    f.color = {0.f, 1.f, 0.f, 1.f};
    const QImage* image = f.pixels();
    CHECK(image->pixel(100, 100) == 0xff00ff00u);
    CHECK(image->pixel(103, 103) == 0xffff0000u);
}

TEST_CASE("kept picture: it grows in steps, keeps its bounds while they suffice, and shrinks when they are mostly waste")
{
    Fixture f;
    CHECK(f.picture.cover(QRect(0, 0, 100, 100)));
    CHECK(f.picture.bounds() == QRect(0, 0, 100, 100));
    (void)f.pixels();
    CHECK_FALSE(f.picture.cover(QRect(10, 10, 60, 60)));
    CHECK(f.store.count() == 1);
    CHECK(f.picture.cover(QRect(0, 0, 101, 100)));
    CHECK(f.store.count() == 0);
    CHECK(f.picture.bounds().contains(QRect(-10, -10, 120, 120)));
    CHECK_FALSE(f.picture.cover(QRect(-5, 0, 110, 100)));
    CHECK(f.picture.cover(QRect(0, 0, 20, 20)));
    CHECK(f.picture.bounds() == QRect(0, 0, 20, 20));
}

TEST_CASE("kept picture: without room there are no pixels, and a destroyed picture leaves the store")
{
    PictureStore store;
    store.setBudgetBytes(40 * 30 * 4 - 1);
    {
        KeptPicture picture(store);
        picture.cover(QRect(0, 0, 40, 30));
        CHECK_FALSE(picture.pixels([](RenderContext&) { FAIL("painted for nothing"); }));
        store.setBudgetBytes(40 * 30 * 4);
        CHECK(picture.pixels([](RenderContext&) {}));
        CHECK(picture.rows());
        CHECK(store.count() == 1);
    }
    CHECK(store.count() == 0);
}

namespace
{
/// A red box of 20 × 10 at the origin, kept in a scale.
struct Scaled
{
    explicit Scaled(Vecta::Vector2f scale)
    {
        picture.setScale(scale);
        picture.cover(QRect(0, 0, int(20 * scale.x), int(10 * scale.y)));
    }
    QImage drawn(const Vecta::Transform& toScreen, Vecta::Vector2f place, float opacity = 1.f)
    {
        ImageTarget target({100, 60});
        target.paint(QRect(0, 0, 100, 60), [&](RenderContext& context) {
            context.pushTransform(toScreen);
            context.drawKept(picture, place, opacity, [this](RenderContext& inPicture) {
                ++paints;
                inPicture.drawRect({0.f, 0.f, 20.f, 10.f}, 0.f, Style().setFill({1.f, 0.f, 0.f, 1.f}));
                // What overlaps in a faded group does not shine through.
                inPicture.drawRect({0.f, 0.f, 20.f, 10.f}, 0.f, Style().setFill({0.f, 0.f, 1.f, 1.f}));
            });
            context.pop();
        });
        return target.image();
    }
    PictureStore store;
    KeptPicture picture{store};
    int paints = 0;
};
}

TEST_CASE("kept picture: it has the scale that was set, and serves where it is drawn in that scale and on whole pixels")
{
    Scaled scaled({2.f, 3.f});
    Vecta::Transform toScreen = Vecta::Transform::translation({5.f, 7.f});
    toScreen.m11 = 2.f;
    toScreen.m22 = 3.f;
    const QImage shown = scaled.drawn(toScreen, {1.5f, 2.f});
    CHECK(scaled.paints == 1);
    CHECK(TestSupport::litBounds(shown) == QRect(8, 13, 40, 30));
    CHECK(shown.pixel(8, 13) == 0xff0000ffu);
    CHECK(scaled.store.usedBytes() == 40u * 30u * 4u);
    (void)scaled.drawn(toScreen, {4.f, 4.f});
    CHECK(scaled.paints == 1);

    // Elsewhere it is drawn as it would be without being kept.
    CHECK(TestSupport::litBounds(scaled.drawn(toScreen, {1.75f, 2.f})) == QRect(8, 13, 41, 30));
    CHECK(scaled.paints == 2);
    const QImage plain = scaled.drawn({}, {10.f, 20.f}, 0.5f);
    CHECK(scaled.paints == 3);
    CHECK(TestSupport::litBounds(plain) == QRect(10, 20, 20, 10));
    CHECK(qRed(plain.pixel(15, 25)) == 0);
    CHECK(std::abs(qBlue(plain.pixel(15, 25)) - 128) <= 1);
    CHECK(scaled.store.count() == 1);
}

TEST_CASE("kept picture: another scale frees the pixels, the same one does not")
{
    Scaled scaled({2.f, 2.f});
    const Vecta::Transform toScreen = Vecta::Transform::scaling(2.f);
    (void)scaled.drawn(toScreen, {});
    scaled.picture.setScale({2.f, 2.f});
    CHECK(scaled.store.count() == 1);
    scaled.picture.setScale({2.f, 1.f});
    CHECK(scaled.store.count() == 0);
    CHECK(scaled.picture.scale() == Vecta::Vector2f(2.f, 1.f));
    CHECK(scaled.picture.bounds().isEmpty());
}

TEST_CASE("kept picture: without room for it, it is painted in its scale each time")
{
    Scaled scaled({2.f, 2.f});
    scaled.store.setBudgetBytes(0);
    for (int i = 1; i <= 2; ++i) {
        CHECK(TestSupport::litBounds(scaled.drawn(Vecta::Transform::scaling(2.f), {3.f, 4.f})) == QRect(6, 8, 40, 20));
        CHECK(scaled.paints == i);
    }
}
