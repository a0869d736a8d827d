#include <doctest/doctest.h>

#include "text/TextMeasures.hpp"

#include "Scene.hpp"

#include <Trellis/TextWidget.hpp>

using Trellis::TextFormat;
using Trellis::TextLook;
using Trellis::TextMeasures;
using Vecta::Vector2f;

namespace
{
TextFormat::Pointer formatOfSize(int sizePx)
{
    TextLook look;
    look.sizePx = sizePx;
    return TextFormat::of(look);
}

struct EmptyMeasures
{
    EmptyMeasures() { TextMeasures::clear(); }
    ~EmptyMeasures() { TextMeasures::clear(); }
};
}

TEST_CASE("text measures: a size is found for its text, its format and its width alone")
{
    const EmptyMeasures empty;
    const auto small = formatOfSize(12);
    const auto large = formatOfSize(24);
    CHECK_FALSE(TextMeasures::find("a", small, 100.f));
    TextMeasures::keep("a", small, 100.f, {7.f, 14.f});
    CHECK(TextMeasures::find("a", small, 100.f) == Vector2f(7.f, 14.f));
    CHECK_FALSE(TextMeasures::find("b", small, 100.f));
    CHECK_FALSE(TextMeasures::find("a", large, 100.f));
    CHECK_FALSE(TextMeasures::find("a", small, 101.f));
    TextMeasures::keep("a", small, 100.f, {8.f, 14.f});
    CHECK(TextMeasures::find("a", small, 100.f) == Vector2f(8.f, 14.f));
    TextMeasures::clear();
    CHECK_FALSE(TextMeasures::find("a", small, 100.f));
}

TEST_CASE("text measures: those that were asked for last are kept, and the others go")
{
    const EmptyMeasures empty;
    const auto format = formatOfSize(12);
    const auto keep = [&](int number) { TextMeasures::keep(QString::number(number), format, 10.f, {float(number), 1.f}); };
    const auto isKept = [&](int number) { return TextMeasures::find(QString::number(number), format, 10.f).has_value(); };
    const int most = int(TextMeasures::kKept);
    for (int i = 0; i < most; ++i)
        keep(i);
    for (int i = 0; i < most; ++i)
        CHECK(isKept(i));
    for (int i = 0; i < most; ++i) {
        keep(most + i);
        CHECK(isKept(0)); // which is asked for all the time
    }
    for (int i = 0; i < most; ++i)
        keep(2 * most + i);
    CHECK_FALSE(isKept(1));
    CHECK(isKept(3 * most - 1));
}

TEST_CASE("text measures: a widget with the text, looks and room of another one is as large, and breaks no lines for that")
{
    const EmptyMeasures empty;
    TrellisTest::Scene scene;
    const auto make = [&scene](const char* text, const char* width) {
        const auto widget = Bedrock::makeIntrusive<Trellis::TextWidget>(&scene.root());
        widget->addCSSClass(width);
        widget->setText(QString::fromLatin1(text));
        widget->postConstruct();
        return widget;
    };
    Cascara::StyleEngine::instance().addStyleSheet(
        QStringLiteral(".narrow { width: 80px } .wide { width: 300px } TextWidget { font-size: 20px }"),
        QStringLiteral("test.css"));
    const auto first = make("some words in two lines", "narrow");
    const float height = first->height();
    CHECK(height > 0.f);
    const long before = scene.app.counters().textsLaidOut;
    const auto second = make("some words in two lines", "narrow");
    CHECK(second->height() == height);
    CHECK(scene.app.counters().textsLaidOut == before);
    // Another text or another width is measured.
    const auto other = make("some words in three lines, which is more", "narrow");
    CHECK(other->height() > height);
    const auto wide = make("some words in two lines", "wide");
    CHECK(wide->height() < height);
    CHECK(scene.app.counters().textsLaidOut == before + 2);
    // So is a text that changes.
    second->setText(QStringLiteral("some"));
    CHECK(second->height() == wide->height());
    CHECK(first->height() == height);
}
