#include <doctest/doctest.h>

#include "Scene.hpp"

#include <Lantern/ImageTarget.hpp>
#include <Lantern/RenderContext.hpp>

using namespace TrellisTest;
using Trellis::Widget;

namespace
{
/// Counts how often it is painted.
class Counted final : public Widget
{
public:
    using Widget::Widget;
    void renderContent(Lantern::RenderContext& context) const override
    {
        Widget::renderContent(context);
        ++paints;
    }
    mutable int paints = 0;
};

/// A group with a child on a table whose children are kept as pictures.
struct Table
{
    Table()
    {
        place(main, {0, 0, kSmall.x, kSmall.y});
        scene.app.keepPicturesOf(main);
        place(group, {40, 40, 60, 50});
        set(group, "background-color", kRed);
        group.setRotation(0.3f);
        place(child, {10, 10, 20, 20});
        set(child, "background-color", kBlue);
    }
    void draw()
    {
        scene.frame();
        target.paint(scene.app.collectDamage(), [this](Lantern::RenderContext& context) { scene.app.render(context); });
    }
    [[nodiscard]] std::size_t kept() const { return scene.app.keptPictures().count; }

    Scene scene{kSmall};
    Lantern::ImageTarget target{QSize(int(kSmall.x), int(kSmall.y))};
    Widget& main = *new Widget(&scene.root());
    Widget& group = *new Widget(&main);
    Counted& child = *new Counted(&group);
};
}

TEST_CASE("layer keeper: a widget is kept from the second frame on in which it stands still, and then moved without painting")
{
    Table table;
    table.draw();
    CHECK(table.kept() == 0);
    table.draw();
    CHECK(table.kept() == 1);
    const int paints = table.child.paints;
    for (int i = 0; i < 5; ++i) {
        table.group.setLocation(table.group.location() + Vecta::Vector2f{3.f, 1.f});
        table.draw();
    }
    table.group.setOpacity(0.5f);
    table.draw();
    CHECK(table.child.paints == paints);
    CHECK(table.kept() == 1);
    CHECK(table.target.image() == table.scene.picture());
}

TEST_CASE("layer keeper: what turns, grows, hides or leaves is not kept, and is again when it stands still")
{
    Table table;
    const auto settle = [&] {
        table.draw();
        table.draw();
        CHECK(table.kept() == 1);
    };
    settle();
    table.group.setRotation(0.4f);
    table.draw();
    CHECK(table.kept() == 0);
    table.group.setRotation(0.5f);
    table.draw();
    CHECK(table.kept() == 0);
    settle();
    table.group.setScale(1.5f);
    table.draw();
    CHECK(table.kept() == 0);
    settle();
    table.group.setOpacity(0.f);
    table.draw();
    CHECK(table.kept() == 0);
    table.group.setOpacity(1.f);
    settle();
    table.group.removeFromParent();
    table.draw();
    CHECK(table.kept() == 0);
}

TEST_CASE("layer keeper: a change in a kept widget repaints what it touches, and the picture shows it")
{
    Table table;
    auto& other = *new Counted(&table.group);
    place(other, {45, 35, 10, 10});
    set(other, "background-color", kGreen);
    table.draw();
    table.draw();
    const int paints = table.child.paints, others = other.paints;
    set(table.child, "background-color", kWhite);
    table.draw();
    CHECK(table.child.paints == paints + 1);
    CHECK(other.paints == others);
    CHECK(table.kept() == 1);
    CHECK(table.target.image() == table.scene.picture());
    table.child.setLocation({30, 25});
    table.draw();
    CHECK(table.target.image() == table.scene.picture());
}

TEST_CASE("layer keeper: an upright box without children, and what does not fit the budget, are drawn directly")
{
    Table table;
    table.child.removeFromParent();
    table.group.setRotation(0.f);
    table.draw();
    table.draw();
    table.draw();
    CHECK(table.kept() == 0);
    table.group.setRotation(0.2f);
    table.draw();
    table.draw();
    CHECK(table.kept() == 1);
    table.scene.app.setPictureBudget(1000);
    table.group.setSize({70, 50});
    table.draw();
    table.draw();
    CHECK(table.kept() == 0);
    CHECK(table.target.image() == table.scene.picture());
}

TEST_CASE("layer keeper: surfaces of fading groups count in the memory of kept pictures until they are not used any more")
{
    Table table;
    // Until those of earlier tests are gone.
    for (int i = 0; i < 70; ++i)
        table.draw();
    const std::size_t picture = table.scene.app.keptPictures().bytes;
    auto& fading = box(table.group, {5, 5, 20, 20}, kRed);
    box(fading, {2, 2, 9, 9}, kBlue);
    fading.setOpacity(0.5f);
    table.draw();
    CHECK(table.scene.app.keptPictures().bytes > picture);
    for (int i = 0; i < 70; ++i)
        table.draw();
    CHECK(table.scene.app.keptPictures().bytes == picture);
    CHECK(table.target.image() == table.scene.picture());
}
