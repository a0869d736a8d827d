// Row 10: what a second of input allocates, once all fingers and cards are known.

#include "../tests/support/ScriptedDatagrams.hpp"
#include "InputScene.hpp"
#include "support/Compare.hpp"
#include "support/Memory.hpp"
#include "support/Options.hpp"

#include <stdexcept>

namespace
{
void allocationsOfInput(benchmark::State& state)
{
    Bench::InputScene scene(Bench::options().sizeOr(100, 10), 40);
    auto owned = std::make_unique<TestSupport::ScriptedDatagrams>();
    auto& datagrams = *owned;
    if (!scene.input.addSource(std::move(owned)))
        throw std::runtime_error("the source does not start");
    const auto packets = scene.packetsOf(400);
    long before = 0;
    for (auto _ : state) {
        for (std::size_t i = 0; i < packets.size(); ++i) {
            if (i == packets.size() / 2)
                before = Bench::allocations();
            datagrams.send(packets[i].fingers);
            datagrams.send(packets[i].cards);
            if (i % 3 == 0)
                scene.application.frame(Bench::InputScene::kFrameSeconds);
        }
    }
    state.counters["value"] = double(Bench::allocations() - before);
    scene.requireAllHeld();
}

const Bench::Row kRow([] { Bench::add("row10/allocations", allocationsOfInput); });
}
