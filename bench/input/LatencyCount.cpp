// Row 11: frames from a datagram to its change in the painted picture.

#include "../tests/support/ScriptedDatagrams.hpp"
#include "InputScene.hpp"
#include "support/Compare.hpp"

#include <Bedrock/Color.hpp>
#include <Lantern/ImageTarget.hpp>

#include <QRegion>

#include <algorithm>
#include <stdexcept>

namespace
{
constexpr int kMostFrames = 10;

void framesToPicture(benchmark::State& state)
{
    Bench::InputScene scene(1, 0);
    auto owned = std::make_unique<TestSupport::ScriptedDatagrams>();
    auto& datagrams = *owned;
    if (!scene.input.addSource(std::move(owned)))
        throw std::runtime_error("the source does not start");
    Trellis::Widget& thing = *scene.application.mainLayer()->children().front();
    dynamic_cast<Facet::AttributeT<Bedrock::Color>&>(*thing.attribute("background-color")).setValue({1.f, 1.f, 1.f, 1.f});
    Lantern::ImageTarget target({3840, 2160});
    const auto paintFrame = [&] {
        scene.application.frame(Bench::InputScene::kFrameSeconds);
        target.paint(scene.application.collectDamage(),
                     [&](Lantern::RenderContext& context) { scene.application.render(context); });
        return target.image().copy();
    };
    // The finger comes down, and goes further than a tap does.
    QImage before;
    for (int i = 0; i < 20; ++i) {
        datagrams.send(scene.nextPackets().fingers);
        before = paintFrame();
    }
    scene.requireAllHeld();
    int most = 0;
    for (auto _ : state) {
        for (int i = 0; i < 20; ++i) {
            datagrams.send(scene.nextPackets().fingers);
            int frames = 1;
            while (paintFrame() == before && frames < kMostFrames)
                ++frames;
            most = std::max(most, frames);
            before = target.image().copy();
        }
    }
    state.counters["value"] = most;
}

const Bench::Row kRow([] { Bench::add("row11/frames", framesToPicture); });
}
