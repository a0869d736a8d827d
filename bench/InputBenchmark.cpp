// Input: a TUIO frame from the datagram to the sample.

#include "../tests/support/ScriptedDatagrams.hpp"

#include <Tactile/Sample.hpp>
#include <Tactile/TuioEncoder.hpp>
#include <Tactile/TuioInput.hpp>

#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

namespace
{
void fingersMove(benchmark::State& state)
{
    const int fingers = int(state.range(0));
    Tactile::TuioInput input;
    auto owned = std::make_unique<TestSupport::ScriptedDatagrams>();
    auto& datagrams = *owned;
    if (!input.addSource(std::move(owned))) {
        state.SkipWithError("the source does not start");
        return;
    }
    Tactile::TuioEncoder encoder("benchmark@localhost");
    std::vector<std::int32_t> alive;
    for (int i = 0; i < fingers; ++i)
        alive.push_back(i + 1);
    Tactile::Sample sample;
    double now = 0.0;
    std::int32_t frame = 0;
    for (auto _ : state) {
        encoder.begin(Tactile::TuioProfile::Cursors);
        encoder.alive(alive);
        for (const std::int32_t id : alive)
            encoder.setCursor(id, float((frame * 7 + id * 13) % 1000) / 1000.f, float(id) / float(fingers + 1));
        datagrams.send(encoder.finish(++frame));
        input.readSample(now += 1.0 / 60.0, sample);
        benchmark::DoNotOptimize(sample.fingers.data());
    }
    state.SetItemsProcessed(state.iterations() * fingers);
}
BENCHMARK(fingersMove)->Arg(1)->Arg(10)->Arg(100);
}
