// Row 5: the memory of a widget in the tree, of a text, and for comparison of Qt's widget.

#include "support/Compare.hpp"
#include "support/Memory.hpp"
#include "support/Options.hpp"

#include <Trellis/Application.hpp>
#include <Trellis/TextWidget.hpp>

#include <QWidget>

namespace
{
/// Bytes that each of many adds to the process, parents' lists included, once a frame has laid them out.
template <class Make, class Settle>
void bytesOfEach(benchmark::State& state, Make make, Settle settle)
{
    const int count = Bench::options().sizeOr(1000, 10);
    // The first ones bring tables that all share.
    for (int i = 0; i < 10; ++i)
        make();
    settle();
    const long before = Bench::bytesInUse();
    for (auto _ : state)
        for (int i = 0; i < count; ++i)
            make();
    settle();
    state.counters["value"] = double(Bench::bytesInUse() - before) / count;
}

void plainWidget(benchmark::State& state)
{
    Trellis::Application application({1920.f, 1080.f});
    bytesOfEach(
        state, [&] { new Trellis::Widget(application.mainLayer().get()); }, [&] { application.frame(0.016); });
}

void text(benchmark::State& state)
{
    Trellis::Application application({1920.f, 1080.f});
    int made = 0;
    bytesOfEach(
        state,
        [&] { (new Trellis::TextWidget(application.mainLayer().get()))->setText(QStringLiteral("Item %1").arg(1000 + ++made)); },
        [&] { application.frame(0.016); });
}

void qtWidget(benchmark::State& state)
{
    QWidget root;
    bytesOfEach(
        state, [&] { new QWidget(&root); }, [] {});
}

const Bench::Row kRow([] {
    Bench::add("row05/widget", plainWidget);
    Bench::add("row05/text", text);
    Bench::add("row05/qt", qtWidget);
});
}
