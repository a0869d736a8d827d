#include <Lantern/PictureStore.hpp>

#include <Lantern/ImageTarget.hpp>
#include <Lantern/KeptPicture.hpp>
#include <Lantern/RenderContext.hpp>

#include <doctest/doctest.h>

#include <QRegion>

using namespace Lantern;

namespace
{
constexpr std::size_t kBytes = 10 * 10 * 4;

struct Picture
{
    explicit Picture(PictureStore& store) : picture(store) { picture.cover(QRect(0, 0, 10, 10)); }
    /// Whether it had to be painted.
    bool draw()
    {
        bool isPainted = false;
        (void)picture.pixels([&](RenderContext&) { isPainted = true; });
        return isPainted;
    }
    KeptPicture picture;
};

/// A store while no surface is left of an earlier test.
struct EmptyStore : PictureStore
{
    EmptyStore()
    {
        for (int frame = 0; frame < 100; ++frame)
            endFrame();
        REQUIRE(surfaceBytes() == 0);
    }
};

/// Draws something for which a surface of the target's size is needed.
void drawGroup(ImageTarget& target)
{
    target.paint(QRect(QPoint(), target.size()), [](RenderContext& context) {
        context.pushLayer({0.f, 0.f, 50.f, 50.f}, 0.5f);
        context.pop();
    });
}
}

TEST_CASE("picture store: the picture that was drawn the longest time ago makes room")
{
    EmptyStore store;
    store.setBudgetBytes(3 * kBytes);
    Picture a(store), b(store), c(store), d(store);
    CHECK(a.draw());
    CHECK(b.draw());
    CHECK(c.draw());
    CHECK_FALSE(a.draw());
    CHECK(store.count() == 3);
    CHECK(d.draw());
    CHECK(store.count() == 3);
    CHECK_FALSE(a.draw());
    CHECK_FALSE(c.draw());
    CHECK(b.draw());
}

TEST_CASE("picture store: a smaller budget takes effect at once, and with none nothing is kept")
{
    EmptyStore store;
    CHECK(store.budgetBytes() == PictureStore::kUsualBudgetBytes);
    Picture a(store), b(store);
    a.draw();
    b.draw();
    CHECK(store.usedBytes() == 2 * kBytes);
    store.setBudgetBytes(kBytes);
    CHECK(store.count() == 1);
    CHECK_FALSE(b.draw());
    store.setBudgetBytes(0);
    CHECK(store.count() == 0);
    CHECK_FALSE(b.draw());
}

TEST_CASE("picture store: surfaces of groups count, take the place of pictures, and are freed when they are not used")
{
    EmptyStore store;
    ImageTarget target({200, 100});
    store.setBudgetBytes(200 * 100 * 4 + kBytes);
    Picture a(store), b(store);
    a.draw();
    b.draw();
    drawGroup(target);
    CHECK(PictureStore::surfaceBytes() == 200 * 100 * 4);
    CHECK(store.usedBytes() == 2 * kBytes);
    store.endFrame();
    CHECK(store.count() == 1);
    CHECK(PictureStore::surfaceBytes() == 200 * 100 * 4);
    CHECK(store.usedBytes() == kBytes);
    for (int frame = 0; frame < 30; ++frame) {
        store.endFrame();
        drawGroup(target);
    }
    CHECK(PictureStore::surfaceBytes() == 200 * 100 * 4);
    CHECK(store.usedBytes() == kBytes);
    for (int frame = 0; frame < 62; ++frame)
        store.endFrame();
    CHECK(PictureStore::surfaceBytes() == 0);
    CHECK(store.usedBytes() == kBytes);
    CHECK(a.draw());
    CHECK(store.count() == 2);
}
