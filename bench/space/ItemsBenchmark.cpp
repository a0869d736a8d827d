// Row 13: a space with ten, a hundred, a thousand items: what adding, removing and laying out costs for each of them.

#include "SpaceTable.hpp"
#include "support/Compare.hpp"
#include "support/Options.hpp"

#include "personalspace/PersonalSpaceContentWidget.hpp"

namespace
{
using Area = Bench::SpaceTable::Area;

void fill(const Area& area, int items)
{
    for (int i = 0; i < items; ++i)
        (void)area.contents->addItem({});
}

void empty(const Area& area)
{
    while (!area.contents->items().empty())
        area.contents->removeItem(area.contents->items().begin()->first);
}

/// Spaces of so many items, and the work on them. What a turn is measured for is done on all of them; the fading out of what was
/// there before is not.
class Spaces
{
public:
    Spaces(Bench::SpaceTable& table, int spaces, int items) : m_table(table), m_items(items)
    {
        for (int i = 0; i < spaces; ++i)
            m_areas.push_back(table.openArea());
    }
    void fillAll()
    {
        for (const Area& area : m_areas)
            fill(area, m_items);
    }
    void emptyAll()
    {
        for (const Area& area : m_areas)
            empty(area);
    }
    void clear()
    {
        emptyAll();
        m_table.frames(60);
    }
    void prepareFull()
    {
        clear();
        fillAll();
        m_table.frames(60);
    }
    void layOut()
    {
        m_isWide = !m_isWide;
        for (const Area& area : m_areas)
            area.widget->setSize({m_isWide ? 528.f : 400.f, 340.f});
        m_table.application().frame(0.0);
    }

private:
    Bench::SpaceTable& m_table;
    int m_items;
    std::vector<Area> m_areas;
    bool m_isWide = false;
};

enum class What { Add, Remove, LayOut };

Bench::Side sideOf(Spaces& spaces, What what)
{
    switch (what) {
    case What::Add: return {[&spaces](long) { spaces.fillAll(); }, [&spaces] { spaces.clear(); }, 1};
    case What::Remove: return {[&spaces](long) { spaces.emptyAll(); }, [&spaces] { spaces.prepareFull(); }, 1};
    case What::LayOut: break;
    }
    return {[&spaces](long) { spaces.layOut(); }, {}, 1};
}

/// One space with all items against ten with a tenth each: the ratio is what an item costs among many against among few.
void growth(benchmark::State& state, What what)
{
    const int items = Bench::options().sizeOr(1000, 20);
    Bench::SpaceTable table;
    Spaces one(table, 1, items);
    Spaces ten(table, 10, items / 10);
    if (what == What::LayOut) {
        one.fillAll();
        ten.fillAll();
        table.frames(60);
    }
    Bench::compare(state, sideOf(one, what), sideOf(ten, what), items);
}

void each(benchmark::State& state, What what, int items)
{
    Bench::SpaceTable table;
    Spaces one(table, 1, items);
    if (what == What::LayOut) {
        one.fillAll();
        table.frames(60);
    }
    Bench::measure(state, sideOf(one, what), items);
}

const Bench::Row kRow([] {
    const std::pair<const char*, What> works[] = {{"add", What::Add}, {"remove", What::Remove}, {"lay-out", What::LayOut}};
    for (const auto& [name, what] : works) {
        Bench::add(std::string("row13/") + name + "-growth", [what = what](benchmark::State& state) { growth(state, what); });
        for (const int items : {10, 100, 1000})
            Bench::add(
                "row13/" + std::string(name) + "/" + std::to_string(items),
                [what = what, size = Bench::options().sizeOr(items, 10)](benchmark::State& state) { each(state, what, size); });
    }
});
}
