// Row 19: widgets that style sheets move, on 1920×1080 in memory: a frame with its drawing, against the time between two frames.

#include "support/Compare.hpp"
#include "support/Options.hpp"

#include <Cascara/StyleEngine.hpp>
#include <Lantern/ImageTarget.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/TextWidget.hpp>

#include <QRegion>

#include <stdexcept>

namespace
{
constexpr double kFrameSeconds = 1.0 / 60.0;

const char* const kSheet =
    "@keyframes go { from { location: 0px 0px; opacity: 0.2 } to { location: 1600px 800px } } "
    "@keyframes turn { from { rotation: -0.5turn } to { rotation: 0.5turn } } "
    "@keyframes grow { from { scale: 0.6 } to { scale: 1.2 } } "
    "@keyframes glow { from { background-color: #24435a; opacity: 0.3 } to { background-color: #c4572e } } "
    ".card { position: absolute; width: 200px; height: 140px; padding: 12px; background-color: #fbf8f2; border-color: #e3d7c2; "
    "border-width: 3px; border-radius: 16px; color: #1d2a38; font-size: 20px; "
    "animation-duration: 3s; animation-iteration-count: infinite; animation-direction: alternate } "
    ".go { animation-name: go } .turn { animation-name: turn } .grow { animation-name: grow } .glow { animation-name: glow }";

void motionFrame(benchmark::State& state, const std::vector<const char*>& ways, int cards)
{
    auto& styles = Cascara::StyleEngine::instance();
    QString sheet = QString::fromLatin1(kSheet);
    for (int i = 0; i < cards; ++i) // each somewhere else on its way
        sheet += QStringLiteral(".card-%1 { animation-delay: -%2s } ").arg(i).arg(i * 0.1);
    styles.addStyleSheet(sheet, QStringLiteral("bench.css"));
    {
        Trellis::Application application({1920.f, 1080.f});
        auto* table = new Trellis::Widget(application.mainLayer().get());
        table->setSize(application.size());
        application.keepPicturesOf(*table);
        for (int i = 0; i < cards; ++i) {
            auto* card = new Trellis::Widget(table);
            card->addCSSClass("card");
            const QByteArray way = ways[std::size_t(i) % ways.size()];
            card->addCSSClass(way);
            card->addCSSClass("card-" + QByteArray::number(i));
            if (way != "go") // what is set at run time stays above
                card->setCenterLocation({110.f + float(i % 10) * 190.f, 90.f + float(i / 10) * 180.f});
            (new Trellis::TextWidget(card))->setText(QStringLiteral("Card %1").arg(i));
        }
        Lantern::ImageTarget target({1920, 1080});
        const auto frames = [&](long times) {
            for (long i = 0; i < times; ++i) {
                application.frame(kFrameSeconds);
                target.paint(application.collectDamage(), [&](Lantern::RenderContext& context) { application.render(context); });
            }
        };
        frames(10);
        if (!styles.isMoving())
            throw std::runtime_error("nothing moves");
        Bench::measure(state, frames);
        constexpr double kNanosecondsInMillisecond = 1e6;
        state.counters["value"] = double(state.counters["ours_ns"]) / kNanosecondsInMillisecond;
    }
    styles.clearStyleSheets();
}

const Bench::Row kRow([] {
    const int cards = 60;
    Bench::add("row19/all", [=](benchmark::State& state) { motionFrame(state, {"go", "turn", "grow", "glow"}, cards); });
    Bench::add("row19/go", [=](benchmark::State& state) { motionFrame(state, {"go"}, cards); });
    Bench::add("row19/grow", [=](benchmark::State& state) { motionFrame(state, {"grow"}, cards); });
    Bench::add("row19/turn", [=](benchmark::State& state) { motionFrame(state, {"turn"}, cards); });
});
}
