// Row 6: what a frame of a table full of tiles allocates in which nothing happens.

#include "TileScene.hpp"
#include "support/Compare.hpp"
#include "support/Memory.hpp"
#include "support/Options.hpp"

namespace
{
void allocationsOfIdleFrame(benchmark::State& state)
{
    Bench::TileScene scene(Bench::options().sizeOr(1000, 10));
    constexpr int kFrames = 100;
    const long before = Bench::allocations();
    for (auto _ : state)
        for (int i = 0; i < kFrames; ++i)
            scene.application.frame(0.016);
    state.counters["value"] = double(Bench::allocations() - before) / kFrames;
}

const Bench::Row kRow([] { Bench::add("row06/allocations", allocationsOfIdleFrame); });
}
