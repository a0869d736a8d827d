// A frame: one in which nothing happens, and one in which one of many widgets moves and is drawn.

#include <Lantern/PainterContext.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/TextWidget.hpp>
#include <Trellis/Widget.hpp>

#include <QImage>
#include <QPainter>
#include <QRegion>

#include <benchmark/benchmark.h>

namespace
{
struct Table
{
    explicit Table(int count) : application({1920.f, 1080.f})
    {
        for (int i = 0; i < count; ++i) {
            auto* card = new Trellis::Widget(application.mainLayer().get());
            card->setSize({120.f, 90.f});
            card->setLocation({float(i * 37 % 1800), float(i * 53 % 980)});
            card->setRotation(float(i % 7) * 0.1f);
            auto* text = new Trellis::TextWidget(card);
            text->setText(QStringLiteral("Card %1").arg(i));
            mover = card;
        }
        application.frame(0.016);
        (void)application.collectDamage();
    }
    Trellis::Application application;
    Trellis::Widget* mover = nullptr;
};

void idleFrame(benchmark::State& state)
{
    Table table(int(state.range(0)));
    for (auto _ : state)
        table.application.frame(0.016);
}
BENCHMARK(idleFrame)->Arg(10)->Arg(100)->Arg(1000);

/// A point of a widget so many levels down, while the layout is up to date.
void mapToScene(benchmark::State& state)
{
    Trellis::Application application({1920.f, 1080.f});
    Trellis::Widget* widget = application.mainLayer().get();
    for (int i = 0; i < state.range(0); ++i) {
        widget = new Trellis::Widget(widget);
        widget->setLocation({3.f, 5.f});
        widget->setRotation(0.1f);
    }
    application.frame(0.016);
    for (auto _ : state)
        benchmark::DoNotOptimize(widget->mapToScene({1.f, 2.f}));
}
BENCHMARK(mapToScene)->Arg(2)->Arg(5)->Arg(20);

/// A widget as a screen full of tiles makes them.
void makeWidget(benchmark::State& state)
{
    Trellis::Application application({1920.f, 1080.f});
    for (auto _ : state)
        benchmark::DoNotOptimize(Bedrock::makeIntrusive<Trellis::Widget>());
}
BENCHMARK(makeWidget);

void moveOneWidget(benchmark::State& state)
{
    Table table(int(state.range(0)));
    float x = 0.f;
    for (auto _ : state) {
        x = x > 1000.f ? 0.f : x + 3.f;
        table.mover->setLocation({x, 300.f});
        table.application.frame(0.016);
        benchmark::DoNotOptimize(table.application.collectDamage());
    }
}
BENCHMARK(moveOneWidget)->Arg(10)->Arg(100)->Arg(1000);

void drawDamage(benchmark::State& state)
{
    Table table(int(state.range(0)));
    QImage image(1920, 1080, QImage::Format_RGB32);
    image.fill(Qt::black);
    float x = 0.f;
    for (auto _ : state) {
        x = x > 1000.f ? 0.f : x + 3.f;
        table.mover->setLocation({x, 300.f});
        table.application.frame(0.016);
        const QRegion damage = table.application.collectDamage();
        QPainter painter(&image);
        Lantern::PainterContext context(painter, damage);
        table.application.render(context);
    }
}
BENCHMARK(drawDamage)->Arg(10)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);
}
