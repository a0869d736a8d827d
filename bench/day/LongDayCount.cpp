// Row 17: a long day of visits under the manual clock, as fast as it goes: each puts a new card down, collects a thing with its
// snapshot, and leaves. What is in memory at the end against the first hundredth, and the widgets that are left.

#include "space/SpaceTable.hpp"
#include "support/Compare.hpp"
#include "support/Memory.hpp"
#include "support/Options.hpp"

#include "personalspace/PersonalSpaceContentWidget.hpp"
#include "personalspace/PersonalSpaceWidget.hpp"

#include <Bedrock/Color.hpp>
#include <Bedrock/ReferenceCounted.hpp>
#include <Tavola/UserInterface.hpp>

#include <stdexcept>
#include <thread>

namespace
{
class Picture final : public Trellis::Widget
{
    Facet::AttributeT<QString> m_source{this, "source", QStringLiteral("https://example.org/page")};
};

Bedrock::IntrusivePtr<Trellis::Widget> makePicture(Bench::SpaceTable& table)
{
    const Bedrock::IntrusivePtr<Trellis::Widget> picture(new Picture);
    table.application().mainLayer()->addChild(picture);
    picture->setSize({120.f, 90.f});
    picture->setLocation({1700.f, 40.f});
    dynamic_cast<Facet::AttributeT<Bedrock::Color>&>(*picture->attribute("background-color")).setValue({0.2f, 0.4f, 0.6f, 1.f});
    return picture;
}

/// Cranks frames until the item has its snapshot, which another thread writes.
void waitForPreview(Bench::SpaceTable& table, const Tavola::PersonalSpaceContents& contents)
{
    constexpr int kMostFrames = 10'000'000;
    for (int i = 0; i < kMostFrames; ++i) {
        if (!contents.items().begin()->second.preview.isEmpty())
            return;
        table.application().frame(0.0);
        std::this_thread::yield();
    }
    throw std::runtime_error("a snapshot does not come");
}

/// The path of the visit's snapshot.
QString visit(Bench::SpaceTable& table)
{
    const Bench::SpaceTable::Area area = table.openArea();
    const auto picture = makePicture(table);
    area.widget->addItem(picture);
    waitForPreview(table, *area.contents);
    table.frames(30); // the tile fades in
    picture->removeFromParent();
    table.clear();
    table.frames(2);
    return area.contents->items().begin()->second.preview;
}

/// Bytes that one card's stored contents take: its contents with an item as a visit leaves it, and its owner.
double bytesOfContents(Bench::SpaceTable& table, const QString& preview)
{
    constexpr int kCards = 500;
    const auto picture = makePicture(table);
    const long before = Bench::bytesInUse();
    for (int i = 0; i < kCards; ++i) {
        // The same record and a path of its own, as each visit has them.
        const auto contents = Tavola::PersonalSpaceContents::personalContent(table.newCard());
        const long id = contents->addItem({});
        contents->filesReady(id, Tavola::FileRepresentation::widgetData(*picture));
        contents->previewReady(id, QString(preview.constData(), preview.size()));
    }
    const double each = double(Bench::bytesInUse() - before) / kCards;
    picture->removeFromParent();
    table.frames(2);
    return each;
}

/// Bytes that the script of this benchmark takes for each card: it knows the codes that were on the table.
double bytesOfScript()
{
    constexpr int kCards = 500;
    TestSupport::ScriptedInput script;
    Tactile::Sample sample;
    const auto show = [&](unsigned long code) {
        script.markerUp(script.markerDown(code, {}));
        script.readSample(0.0, sample);
    };
    show(1);
    const long before = Bench::bytesInUse();
    for (int i = 0; i < kCards; ++i)
        show(1000ul + unsigned(i));
    return double(Bench::bytesInUse() - before) / kCards;
}

void longDay(benchmark::State& state)
{
    const int visits = Bench::options().sizeOr(20000, 100);
    Bench::SpaceTable table;
    QString preview;
    for (int i = 0; i < 20; ++i)
        preview = visit(table);
    const double ofContents = bytesOfContents(table, preview) + bytesOfScript();
    const long widgets = Bedrock::ReferenceCounted::liveObjects();
    const int first = std::max(1, visits / 100);
    long atFirst = 0;
    for (auto _ : state) {
        for (int i = 0; i < visits; ++i) {
            if (i == first)
                atFirst = Bench::bytesInUse();
            (void)visit(table);
        }
    }
    const double grown = double(Bench::bytesInUse() - atFirst) - ofContents * double(visits - first);
    state.counters["percent"] = 100.0 * grown / double(atFirst);
    state.counters["bytes_a_visit"] = grown / double(visits - first);
    state.counters["bytes_of_contents"] = ofContents;
    state.counters["widgets_left"] = double(Bedrock::ReferenceCounted::liveObjects() - widgets);
}

const Bench::Row kRow([] { Bench::add("row17/day", longDay); });
}
