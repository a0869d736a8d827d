// Row 6: a frame of a table full of tiles in which nothing happens, against one of an empty table.

#include "TileScene.hpp"
#include "support/Compare.hpp"
#include "support/Options.hpp"

namespace
{
void idleFrame(benchmark::State& state, int tiles)
{
    Bench::TileScene scene(tiles);
    const auto frames = [&](long times) {
        for (long i = 0; i < times; ++i)
            scene.application.frame(0.016);
    };
    const auto showTiles = [&](bool shown) {
        if (shown)
            scene.application.mainLayer()->addChild(scene.table);
        else
            scene.table->removeFromParent();
        scene.settle();
    };
    Bench::compare(state, {frames, [&] { showTiles(true); }}, {frames, [&] { showTiles(false); }});
}

const Bench::Row kRow([] {
    for (const int tiles : {10, 100, 1000})
        Bench::add("row06/idle/" + std::to_string(tiles),
                   [size = Bench::options().sizeOr(tiles, 10)](benchmark::State& state) { idleFrame(state, size); });
});
}
