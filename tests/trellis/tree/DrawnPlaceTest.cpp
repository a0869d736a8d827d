#include <doctest/doctest.h>

#include "Scene.hpp"

using namespace TrellisTest;
using Trellis::Widget;

namespace
{
/// A table of which the children of one widget are kept as pictures.
struct Table
{
    Table()
    {
        place(main, {0, 0, kSmall.x, kSmall.y});
        scene.app.keepPicturesOf(main);
    }
    QImage picture()
    {
        scene.frames(3);
        return scene.picture();
    }
    Scene scene{kSmall};
    Widget& main = *new Widget(&scene.root());
};
}

TEST_CASE("drawn place: children of a widget whose children are kept stand on whole pixels, what is in them does not")
{
    Table table;
    Widget& group = box(table.main, {20.4f, 30.6f, 50, 40}, kRed);
    CHECK(litBounds(table.picture()) == QRect(20, 31, 50, 40));
    CHECK(qRed(table.picture().pixel(20, 31)) == 255);
    Widget& inner = box(group, {-10.5f, 5, 10, 10}, kRed);
    const QImage image = table.picture();
    CHECK(qRed(image.pixel(9, 40)) > 100);
    CHECK(qRed(image.pixel(9, 40)) < 160);
    inner.removeFromParent();
    group.setLocation({20.6f, 31.f});
    CHECK(litBounds(table.picture()) == QRect(21, 31, 50, 40));
    group.setLocation({-0.5f, -0.6f});
    CHECK(litBounds(table.picture()) == QRect(0, 0, 50, 39));
}

TEST_CASE("drawn place: what is moved by fractions of a pixel keeps its pixels")
{
    Table table;
    Widget& group = box(table.main, {40, 40, 50, 40}, kRed);
    box(group, {10, 10, 15, 15}, kBlue);
    group.setRotation(0.4f);
    const QImage before = table.picture();
    group.setLocation({40.3f, 39.8f});
    CHECK(table.picture() == before);
    group.setLocation({52.2f, 31.9f});
    const QImage moved = table.picture();
    CHECK(moved.copy(12, 0, 150, 150) == before.copy(0, 8, 150, 150));
}

TEST_CASE("drawn place: a finger finds a widget where it is, not where it is drawn")
{
    Table table;
    Widget& group = box(table.main, {20.4f, 30.f, 50, 40}, kRed);
    table.scene.frames(2);
    CHECK(group.location().x == near(20.4f));
    CHECK_POINT(group.transformToScene().map(Vecta::Vector2f{0.f, 0.f}), 20.4, 30.0);
}

TEST_CASE("drawn place: elsewhere widgets are drawn where they are")
{
    Scene scene(kSmall);
    box(scene.root(), {20.5f, 30, 50, 40}, kRed);
    scene.frames(3);
    const int half = qRed(scene.picture().pixel(20, 40));
    CHECK(half > 100);
    CHECK(half < 160);
}
