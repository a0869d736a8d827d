#include <Lantern/KeptPicture.hpp>

#include <Lantern/PictureStore.hpp>
#include <Lantern/RenderContext.hpp>
#include <Lantern/Style.hpp>

#include <doctest/doctest.h>

#include <QImage>

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
