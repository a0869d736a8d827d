// Row 18: what a window with OpenGL asks of the graphics card in a frame. Needs a display.

#include "draw/DrawSide.hpp"
#include "draw/GlCalls.hpp"
#include "support/Compare.hpp"
#include "support/Options.hpp"

#include <Lantern/WindowListener.hpp>
#include <Lantern/WindowTarget.hpp>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QWindow>

#include <algorithm>

namespace
{
/// A window whose OpenGL calls are counted.
class CountedWindow final : public Lantern::PaintTarget
{
public:
    explicit CountedWindow(QSize size) : m_window(optionsOf(size), nullptr)
    {
        const QDeadlineTimer deadline(10'000);
        while (!m_window.window().isExposed() && !deadline.hasExpired())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 100);
    }

    [[nodiscard]] bool canCount() const
    {
        return m_window.drawing() == Lantern::WindowOptions::Drawing::OpenGl && m_window.window().isExposed();
    }
    [[nodiscard]] QSize size() const override { return m_window.size(); }
    void paint(const QRegion& damage, const std::function<void(Lantern::RenderContext&)>& draw) override
    {
        m_window.paint(damage, [&](Lantern::RenderContext& context) {
            Bench::countGlCalls(); // the context is current only here
            draw(context);
        });
    }

private:
    static Lantern::WindowOptions optionsOf(QSize size)
    {
        Lantern::WindowOptions options;
        options.size = size;
        options.drawing = Lantern::WindowOptions::Drawing::OpenGl;
        return options;
    }

    Lantern::WindowTarget m_window;
};

using Change = std::function<void(Bench::DrawSide&, int frame)>;

/// The most that one of some frames asks for, after some in which layers are made.
void count(benchmark::State& state, const Change& change)
{
    const QSize size(1920, 1080);
    const Bench::DrawScene scene = Bench::groupsScene(size, Bench::options().sizeOr(40, 4), Bench::options().seed);
    auto target = std::make_unique<CountedWindow>(size);
    if (!target->canCount()) {
        state.SkipWithError("no window with OpenGL can be opened; run it by xvfb-run where there is no display");
        return;
    }
    const auto side = Bench::makeTrellisSide(scene, std::move(target));
    Bench::GlCalls most;
    for (auto _ : state)
        for (int frame = 0; frame < 20; ++frame) {
            change(*side, frame);
            Bench::glCalls() = {};
            side->draw();
            if (frame < 4)
                continue;
            most.draws = std::max(most.draws, Bench::glCalls().draws);
            most.uploads = std::max(most.uploads, Bench::glCalls().uploads);
        }
    state.counters["draws"] = double(most.draws);
    state.counters["uploads"] = double(most.uploads);
}

const Bench::Row kRow([] {
    const auto add = [](const char* name, const Change& change) {
        Bench::add(name, [change](benchmark::State& state) { count(state, change); });
    };
    add("row18/tile-moved", [](Bench::DrawSide& side, int frame) { side.move(1, 12, {frame % 2 ? 3.0 : -3.0, 2.0}); });
    add("row18/all-drawn", [](Bench::DrawSide& side, int) { side.damageAll(); });
});
}
