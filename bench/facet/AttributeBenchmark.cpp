// Row 2: an attribute changes and has a listener, against a property with a notifying signal.

#include "QtRivals.hpp"
#include "support/Compare.hpp"

#include <Facet/AttributeT.hpp>
#include <Facet/Node.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/Widget.hpp>

#include <QVariant>

#include <stdexcept>

namespace
{
class GapWidget final : public Trellis::Widget
{
    Facet::AttributeT<float> m_gap{this, "gap", 0.f};
};

void byHandle(benchmark::State& state, int listeners)
{
    Facet::Node node;
    Facet::AttributeT<float> attribute(&node, "gap", 0.f);
    Bench::PropertyObject object;
    long ours = 0;
    long rival = 0;
    int oursValue = 0;
    int rivalValue = 0;
    for (int i = 0; i < listeners; ++i) {
        attribute.addListener([&ours] { ++ours; });
        QObject::connect(&object, &Bench::PropertyObject::gapChanged, [&rival] { ++rival; });
    }
    Bench::compare(
        state,
        [&](long times) {
            for (long i = 0; i < times; ++i)
                attribute.setValue(float(++oursValue % 1000));
        },
        [&](long times) {
            for (long i = 0; i < times; ++i)
                object.setGap(float(++rivalValue % 1000));
        });
    benchmark::DoNotOptimize(ours);
    benchmark::DoNotOptimize(rival);
}

/// As tools write a value: the name is looked up for each change, among all attributes of a widget.
void byName(benchmark::State& state)
{
    Trellis::Application application({1920.f, 1080.f});
    const auto widget = Bedrock::makeIntrusive<GapWidget>();
    Bench::PropertyWidget rivalWidget;
    const QByteArray name("gap");
    long ours = 0;
    long rival = 0;
    int oursValue = 0;
    int rivalValue = 0;
    widget->attribute(name)->addListener([&ours] { ++ours; });
    QObject::connect(&rivalWidget, &Bench::PropertyWidget::gapChanged, [&rival] { ++rival; });
    Bench::compare(
        state,
        [&](long times) {
            for (long i = 0; i < times; ++i)
                if (auto* gap = Facet::findAttribute<float>(*widget, name))
                    gap->setValue(float(++oursValue % 1000));
        },
        [&](long times) {
            for (long i = 0; i < times; ++i)
                rivalWidget.setProperty("gap", QVariant(float(++rivalValue % 1000)));
        });
    if (ours == 0 || rival == 0)
        throw std::runtime_error("no listener was called");
}

const Bench::Row kRow([] {
    for (const int listeners : {0, 1, 10})
        Bench::add("row02/handle/" + std::to_string(listeners), [=](benchmark::State& state) { byHandle(state, listeners); });
    Bench::add("row02/name", byName);
});
}
