#include "presentation/ScreenView.hpp"

#include <doctest/doctest.h>

#include <QRegion>

using namespace Host;
using Vecta::Rect;
using Vecta::Vector2f;

TEST_CASE("screen view: the layout keeps its size and its proportions, and stands in the middle of the screen")
{
    struct Row
    {
        const char* what;
        Vector2f screen;
        Rect shown;
    };
    const Row rows[] = {
        {"smaller, with bars above and below", {1280.f, 800.f}, {0.f, 40.f, 1280.f, 720.f}},
        {"the same size", {1920.f, 1080.f}, {0.f, 0.f, 1920.f, 1080.f}},
        {"twice as large", {3840.f, 2160.f}, {0.f, 0.f, 3840.f, 2160.f}},
        {"with bars at the left and the right", {2560.f, 1080.f}, {320.f, 0.f, 1920.f, 1080.f}},
    };
    for (const Row& row : rows) {
        CAPTURE(row.what);
        const ScreenView view(ScreenFit::Scale, {1920.f, 1080.f}, row.screen);
        CHECK(view.layout() == Vector2f(1920.f, 1080.f));
        CHECK(view.shown() == row.shown);
        const Vector2f middle = row.screen / 2.f;
        CHECK((view.toLayout(middle) - Vector2f(960.f, 540.f)).length() < 0.01f);
        CHECK((view.toScreen().map({960.f, 540.f}) - middle).length() < 0.01f);
    }
}

TEST_CASE("screen view: both axes are stretched when they differ by 2 % at most")
{
    const ScreenView near(ScreenFit::Stretch, {1920.f, 1080.f}, {1920.f, 1100.f});
    CHECK(near.shown() == Rect{0.f, 0.f, 1920.f, 1100.f});
    CHECK((near.toLayout({1920.f, 1100.f}) - Vector2f(1920.f, 1080.f)).length() < 0.01f);
    for (const Vector2f screen : {Vector2f(1920.f, 1104.f), Vector2f(1962.f, 1080.f)}) {
        const ScreenView far(ScreenFit::Stretch, {1920.f, 1080.f}, screen);
        CHECK(far.shown().width == 1920.f);
        CHECK(far.shown().height == 1080.f);
    }
}

TEST_CASE("screen view: with relayout the layout gets the screen's size")
{
    const ScreenView view(ScreenFit::Relayout, {1920.f, 1080.f}, {1280.f, 800.f});
    CHECK(view.layout() == Vector2f(1280.f, 800.f));
    CHECK(view.toLayout({100.f, 200.f}) == Vector2f(100.f, 200.f));
}

TEST_CASE("screen view: the bars show nothing of the layout, and the screen is as much larger than it")
{
    const ScreenView view(ScreenFit::Scale, {1920.f, 1080.f}, {1280.f, 800.f});
    CHECK_FALSE(view.isOnLayout({640.f, 39.f}));
    CHECK(view.isOnLayout({640.f, 41.f}));
    CHECK(view.isOnLayout({640.f, 759.f}));
    CHECK_FALSE(view.isOnLayout({640.f, 761.f}));
    const Rect screen = view.screenInLayout();
    CHECK(screen.y == doctest::Approx(-60.f));
    CHECK(screen.width == doctest::Approx(1920.f));
    CHECK(screen.height == doctest::Approx(1200.f));
    const auto bars = view.bars();
    CHECK(bars[0].bottom() == doctest::Approx(0.05f));
    CHECK(bars[1].y == doctest::Approx(0.95f));
    CHECK(bars[1].bottom() == doctest::Approx(1.f));
    const auto wide = ScreenView(ScreenFit::Scale, {1920.f, 1080.f}, {2400.f, 1080.f}).bars();
    CHECK(wide[0].right() == doctest::Approx(0.1f));
    CHECK(wide[1].x == doctest::Approx(0.9f));
    for (const Rect& bar : ScreenView({1920.f, 1080.f}).bars())
        CHECK(bar.isEmpty());
}

TEST_CASE("screen view: damage of the layout becomes all pixels of the screen that show it")
{
    const ScreenView view(ScreenFit::Scale, {1920.f, 1080.f}, {1280.f, 800.f});
    const QRect damage = view.toScreen(QRegion(QRect(300, 300, 100, 50))).boundingRect();
    CHECK(damage.contains(QRect(199, 239, 69, 36)));
    CHECK_FALSE(damage.contains(QRect(196, 239, 69, 36)));
    const QRegion same(QRect(3, 4, 5, 6));
    CHECK(ScreenView({1920.f, 1080.f}).toScreen(same) == same);
}

TEST_CASE("screen view: the names of the ways to fit")
{
    CHECK(ScreenView::fitOf(QStringLiteral("scale")) == ScreenFit::Scale);
    CHECK(ScreenView::fitOf(QStringLiteral("stretch")) == ScreenFit::Stretch);
    CHECK(ScreenView::fitOf(QStringLiteral("relayout")) == ScreenFit::Relayout);
    CHECK_FALSE(ScreenView::fitOf(QStringLiteral("zoom")));
}
