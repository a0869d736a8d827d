// The costs of events with a payload, and attributes that change.

#include <Facet/AttributeT.hpp>
#include <Facet/Node.hpp>

#include <benchmark/benchmark.h>

namespace
{
void sendEvent(benchmark::State& state)
{
    static const Facet::EventName kEvent("item-added");
    Facet::Node node;
    node.eventAddOut(kEvent);
    long heard = 0;
    for (int i = 0; i < state.range(0); ++i)
        node.eventAddListenerBd(kEvent, [&heard](Bedrock::BinaryData& data) { heard += data.readInt64(); });
    for (auto _ : state) {
        Bedrock::BinaryData payload;
        payload.writeInt64(1);
        node.eventSend(kEvent, payload);
    }
    benchmark::DoNotOptimize(heard);
}
BENCHMARK(sendEvent)->Arg(0)->Arg(1)->Arg(10)->Arg(100);

void changeAttribute(benchmark::State& state)
{
    Facet::Node node;
    Facet::AttributeT<float> attribute(&node, "width", 0.f);
    long heard = 0;
    for (int i = 0; i < state.range(0); ++i)
        attribute.addListener([&heard] { ++heard; });
    float value = 0.f;
    for (auto _ : state)
        attribute.setValue(value += 1.f);
    benchmark::DoNotOptimize(heard);
}
BENCHMARK(changeAttribute)->Arg(0)->Arg(1)->Arg(10);
}
