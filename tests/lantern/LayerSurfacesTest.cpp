#include "LayerSurfaces.hpp"

#include <doctest/doctest.h>

using namespace Lantern;

namespace
{
void endFrames(LayerSurfaces& surfaces, int count)
{
    for (int i = 0; i < count; ++i)
        surfaces.endFrame();
}
}

TEST_CASE("layer surfaces: a surface is transparent and clipped to its area, and one inside another is a second one")
{
    LayerSurfaces surfaces;
    LayerSurface& outer = surfaces.acquire({100, 80}, {10, 10, 40, 30});
    outer.painter.fillRect(0, 0, 100, 80, Qt::red);
    CHECK(outer.image.pixel(10, 10) == 0xffff0000u);
    CHECK(outer.image.pixel(49, 39) == 0xffff0000u);
    LayerSurface& inner = surfaces.acquire({100, 80}, {20, 20, 10, 10});
    CHECK(&inner != &outer);
    CHECK(surfaces.bytes() == 2 * 100 * 80 * 4);
    surfaces.release();
    surfaces.release();
    LayerSurface& again = surfaces.acquire({100, 80}, {12, 10, 8, 8});
    CHECK(&again == &outer);
    CHECK(again.image.pixel(12, 10) == 0u);
    CHECK(again.image.pixel(19, 17) == 0u);
    CHECK(again.image.pixel(11, 10) == 0xffff0000u); // outside of what is used
    surfaces.release();
}

TEST_CASE("layer surfaces: a larger target gets a larger surface, a smaller one the same")
{
    LayerSurfaces surfaces;
    (void)surfaces.acquire({100, 80}, {0, 0, 5, 5});
    surfaces.release();
    CHECK(surfaces.acquire({50, 50}, {0, 0, 5, 5}).image.size() == QSize(100, 80));
    surfaces.release();
    CHECK(surfaces.acquire({60, 120}, {0, 0, 5, 5}).image.size() == QSize(100, 120));
    surfaces.release();
    CHECK(surfaces.bytes() == 100 * 120 * 4);
}

TEST_CASE("layer surfaces: what no frame used for a while is freed, the inner ones first")
{
    LayerSurfaces surfaces;
    const auto use = [&](int depth) {
        for (int i = 0; i < depth; ++i)
            (void)surfaces.acquire({100, 80}, {0, 0, 5, 5});
        for (int i = 0; i < depth; ++i)
            surfaces.release();
    };
    use(2);
    endFrames(surfaces, LayerSurfaces::kFramesKept);
    CHECK(surfaces.bytes() == 2 * 100 * 80 * 4);
    use(1);
    endFrames(surfaces, 1);
    CHECK(surfaces.bytes() == 100 * 80 * 4);
    endFrames(surfaces, LayerSurfaces::kFramesKept);
    CHECK(surfaces.bytes() == 0);
}
