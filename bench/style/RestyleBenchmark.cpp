// Rows 3 and 4: a class toggled on one leaf of many widgets, and everything styled anew.

#include "QtTree.hpp"
#include "StyleScene.hpp"
#include "support/Compare.hpp"
#include "support/Options.hpp"

#include <Cascara/StyleEngine.hpp>

#include <algorithm>
#include <random>
#include <stdexcept>

namespace
{
constexpr int kRules = 200;

void addSheet(int shade = 0)
{
    Cascara::StyleEngine::instance().addStyleSheet(Bench::styleSheet(kRules, shade), QStringLiteral("bench.css"));
}

long restyledBy(const std::function<void()>& change)
{
    const long before = Cascara::StyleEngine::instance().counters().nodesRestyled;
    change();
    return Cascara::StyleEngine::instance().counters().nodesRestyled - before;
}

/// What a class reaches is restyled, and nothing else: the leaf alone, or the ten signs of the opened panel.
void restyledExactly(benchmark::State& state)
{
    Bench::StyleScene scene(Bench::options().sizeOr(10000, 100));
    addSheet();
    long most = 0;
    for (auto _ : state) {
        for (Trellis::Widget* sign : scene.signs)
            most = std::max(most, restyledBy([&] { sign->addCSSClass("lit"); }));
        for (Trellis::Widget* panel : scene.panels)
            if (const long count = restyledBy([&] { panel->addCSSClass("open"); }); count != 10)
                throw std::runtime_error("an opened panel restyles " + std::to_string(count) + " widgets");
    }
    state.counters["value"] = double(most);
}

void toggle(Trellis::Widget& widget)
{
    if (widget.hasCSSClass("lit"))
        widget.removeCSSClass("lit");
    else
        widget.addCSSClass("lit");
}

/// The leaves whose width the class changes: a rule for their panel that is stronger keeps others as they are, which is less
/// work. All where there is none.
std::vector<Trellis::Widget*> changingLeaves(const Bench::StyleScene& scene)
{
    std::vector<Trellis::Widget*> result;
    for (Trellis::Widget* leaf : scene.signs) {
        const QString before = leaf->attribute("width")->toText();
        leaf->addCSSClass("lit");
        if (leaf->attribute("width")->toText() != before)
            result.push_back(leaf);
        leaf->removeCSSClass("lit");
    }
    return result.empty() ? scene.signs : result;
}

/// The leaves in an order drawn by lot; with `differ` false, one leaf all the time.
std::function<void(long)> toggles(const Bench::StyleScene& scene, bool differ)
{
    auto leaves = changingLeaves(scene);
    std::mt19937 random(Bench::options().seed);
    std::shuffle(leaves.begin(), leaves.end(), random);
    if (!differ)
        leaves.resize(1);
    return [leaves, at = std::size_t(0)](long times) mutable {
        for (long i = 0; i < times; ++i)
            toggle(*leaves[at = (at + 1) % leaves.size()]);
    };
}

void oneLeaf(benchmark::State& state, int widgets, bool differ)
{
    const Bench::StyleScene many(widgets);
    // Of panels that no rule names, so that the class changes their leaves as well.
    const Bench::StyleScene few(100, Bench::StyleScene::Leaves::Plain, kRules);
    addSheet();
    Bench::compare(state, toggles(many, differ), toggles(few, differ));
}

/// Qt styles what it has polished once: no sheet is applied before, and a rival that does nothing would be no rival.
void requireStyled(QWidget& tree, int shade)
{
    const int width = tree.findChild<Bench::Sign*>()->minimumWidth();
    if (width != 1 + shade)
        throw std::runtime_error("the rival's first sign has a least width of " + std::to_string(width));
}

/// The styles of all widgets computed anew from the same sheet.
void everything(benchmark::State& state, int widgets, Bench::Notation notation)
{
    Bench::StyleScene scene(widgets);
    addSheet();
    const auto rival = Bench::makeQtTree(widgets);
    const QString sheet = Bench::qtStyleSheet(kRules, notation);
    rival->setStyleSheet(sheet);
    requireStyled(*rival, 0);
    Bench::compare(
        state,
        [&](long times) {
            for (long i = 0; i < times; ++i)
                scene.root->updateStyle();
        },
        [&](long times) {
            for (long i = 0; i < times; ++i)
                rival->setStyleSheet(sheet);
        });
}

/// The same rules with variables, and with a look that all texts inherit, against the rules without.
void withVariables(benchmark::State& state, int widgets)
{
    Bench::StyleScene scene(widgets, Bench::StyleScene::Leaves::Texts);
    scene.root->addCSSClass("all");
    auto& engine = Cascara::StyleEngine::instance();
    const auto restyle = [&](long times) {
        for (long i = 0; i < times; ++i)
            scene.root->updateStyle();
    };
    const auto sheet = [&](const QString& text) {
        return [&engine, text] {
            engine.clearStyleSheets();
            engine.addStyleSheet(text, QStringLiteral("bench.css"));
        };
    };
    Bench::compare(state, {restyle, sheet(Bench::styleSheetWithVariables(kRules))}, {restyle, sheet(Bench::styleSheet(kRules))});
}

/// A sheet read with its names and values checked, as tables read theirs, against one that is only read.
void checkedSheet(benchmark::State& state, int rules)
{
    auto& engine = Cascara::StyleEngine::instance();
    const QString text = Bench::styleSheet(rules);
    const auto read = [&](bool checks) {
        return [&engine, &text, checks](long times) {
            engine.setChecksNames(checks);
            for (long i = 0; i < times; ++i) {
                engine.clearStyleSheets();
                engine.addStyleSheet(text, QStringLiteral("bench.css"));
            }
        };
    };
    Bench::compare(state, read(true), read(false));
    engine.setChecksNames(false);
    engine.clearStyleSheets();
}

/// A sheet replaced by one with other values: read, applied, and everything that was set before withdrawn.
void anotherSheet(benchmark::State& state, int widgets)
{
    Bench::StyleScene scene(widgets);
    addSheet();
    const auto rival = Bench::makeQtTree(widgets);
    rival->setStyleSheet(Bench::qtStyleSheet(kRules, Bench::Notation::ClassProperty, 1));
    requireStyled(*rival, 1);
    int ours = 0;
    int theirs = 0;
    Bench::compare(
        state,
        [&](long times) {
            for (long i = 0; i < times; ++i) {
                Cascara::StyleEngine::instance().clearStyleSheets();
                addSheet(++ours % 2);
            }
        },
        [&](long times) {
            for (long i = 0; i < times; ++i)
                rival->setStyleSheet(Bench::qtStyleSheet(kRules, Bench::Notation::ClassProperty, ++theirs % 2));
        });
}

const Bench::Row kRow([] {
    Bench::add("row03/restyled", restyledExactly);
    const int rules = Bench::options().sizeOr(5000, 50);
    Bench::add("row04/checked/5000", [rules](benchmark::State& state) { checkedSheet(state, rules); });
    for (const int widgets : {1000, 10000}) {
        const int size = Bench::options().sizeOr(widgets, 100);
        Bench::add("row03/same/" + std::to_string(widgets), [=](benchmark::State& state) { oneLeaf(state, size, false); });
        Bench::add("row03/different/" + std::to_string(widgets), [=](benchmark::State& state) { oneLeaf(state, size, true); });
        Bench::add("row04/again/" + std::to_string(widgets),
                   [=](benchmark::State& state) { everything(state, size, Bench::Notation::ClassProperty); });
        Bench::add("row04/types/" + std::to_string(widgets),
                   [=](benchmark::State& state) { everything(state, size, Bench::Notation::TypesAndIds); });
        Bench::add("row04/variables/" + std::to_string(widgets), [=](benchmark::State& state) { withVariables(state, size); });
        Bench::add("row04/another/" + std::to_string(widgets), [=](benchmark::State& state) { anotherSheet(state, size); });
    }
});
}
