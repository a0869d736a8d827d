// Style sheets: reading one, and changing the class of one widget among many.

#include <Cascara/StyleEngine.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/Widget.hpp>

#include <benchmark/benchmark.h>

namespace
{
/// Rules of the kinds that presentations have, half of which no widget matches.
QString styleSheet(int rules)
{
    QString text;
    for (int i = 0; i < rules; ++i)
        text += QStringLiteral(".panel%1 > .tile:not(.gone) { width: %2px; opacity: 0.%3; }\n#w%1 .sign { height: 10px; }\n")
                    .arg(i)
                    .arg(i + 1)
                    .arg(i % 9 + 1);
    return text + QStringLiteral(".tile.lit { background-color: #ff8800; }\n.open .sign { border-width: 2px; }\n");
}

/// `count` tiles in panels of ten.
struct Tree
{
    explicit Tree(int count) : application({1920.f, 1080.f})
    {
        Trellis::Widget* panel = nullptr;
        for (int i = 0; i < count; ++i) {
            if (i % 10 == 0) {
                panel = new Trellis::Widget(application.mainLayer().get());
                panel->addCSSClass("panel" + QByteArray::number(i / 10));
            }
            tile = new Trellis::Widget(panel);
            tile->addCSSClass("tile");
            (new Trellis::Widget(tile))->addCSSClass("sign");
        }
    }
    Trellis::Application application;
    Trellis::Widget* tile = nullptr;
};

void readStyleSheet(benchmark::State& state)
{
    const QString text = styleSheet(int(state.range(0)));
    for (auto _ : state) {
        Cascara::StyleEngine::instance().addStyleSheet(text, QStringLiteral("benchmark"));
        Cascara::StyleEngine::instance().clearStyleSheets();
    }
    state.SetBytesProcessed(state.iterations() * text.size());
}
BENCHMARK(readStyleSheet)->Arg(10)->Arg(100)->Arg(1000);

void lightOneTile(benchmark::State& state)
{
    Tree tree(int(state.range(0)));
    Cascara::StyleEngine::instance().addStyleSheet(styleSheet(100), QStringLiteral("benchmark"));
    bool lit = false;
    for (auto _ : state) {
        lit = !lit;
        if (lit)
            tree.tile->addCSSClass("lit");
        else
            tree.tile->removeCSSClass("lit");
    }
    Cascara::StyleEngine::instance().clearStyleSheets();
}
BENCHMARK(lightOneTile)->Arg(10)->Arg(100)->Arg(1000);

void styleEverything(benchmark::State& state)
{
    Tree tree(int(state.range(0)));
    Cascara::StyleEngine::instance().addStyleSheet(styleSheet(100), QStringLiteral("benchmark"));
    for (auto _ : state)
        tree.application.mainLayer()->updateStyle();
    Cascara::StyleEngine::instance().clearStyleSheets();
}
BENCHMARK(styleEverything)->Arg(10)->Arg(100)->Arg(1000);
}
