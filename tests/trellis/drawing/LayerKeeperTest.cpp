#include <doctest/doctest.h>

#include "Scene.hpp"

#include <Lantern/ImageTarget.hpp>
#include <Lantern/RenderContext.hpp>

#include <QTransform>

#include <cmath>

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
    explicit Table(float screenScale = 1.f)
        : target(QSize(int(std::ceil(kSmall.x * screenScale)), int(std::ceil(kSmall.y * screenScale))))
    {
        setScale(screenScale);
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
        QRegion damage;
        for (const QRect& rect : scene.app.collectDamage())
            damage += toScreen.mapRect(QRectF(rect)).toAlignedRect();
        paint(target, damage);
    }
    void paint(Lantern::ImageTarget& on, const QRegion& damage)
    {
        on.paint(damage, [this](Lantern::RenderContext& context) {
            context.pushTransform(Vecta::Transform::scaling(scale));
            scene.app.render(context);
            context.pop();
        });
    }
    /// What `target` shows if all of it is drawn.
    [[nodiscard]] QImage whole()
    {
        Lantern::ImageTarget other(target.size());
        paint(other, QRect(QPoint(), target.size()));
        return other.image();
    }
    void setScale(float screenScale)
    {
        scale = screenScale;
        toScreen = QTransform::fromScale(qreal(scale), qreal(scale));
        scene.app.setScreenScale({scale, scale});
    }
    [[nodiscard]] std::size_t kept() const { return scene.app.keptPictures().count; }

    Scene scene{kSmall};
    Lantern::ImageTarget target;
    float scale = 1.f;
    QTransform toScreen;
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

TEST_CASE("layer keeper: frames are wanted until what stands still is kept")
{
    Table table;
    table.draw();
    CHECK(table.scene.app.needsFrame());
    table.draw();
    CHECK(table.kept() == 1);
    table.draw();
    CHECK_FALSE(table.scene.app.needsFrame());
}

TEST_CASE("layer keeper: children that are cut off, or are not any more, show so in the kept picture")
{
    Table table;
    place(table.child, {50, 10, 25, 20});
    // The shadow reaches further than the child, so that the picture keeps its size.
    style(table.group, "box-shadow: 0 0 30px black; overflow: hidden");
    table.draw();
    table.draw();
    CHECK(table.kept() == 1);
    const QImage cut = table.target.image();
    for (const char* overflow : {"overflow: visible", "overflow: hidden", "overflow: visible"}) {
        CAPTURE(overflow);
        style(table.group, overflow);
        table.draw();
        CHECK(table.kept() == 1);
        CHECK(table.target.image() == table.scene.picture());
    }
    CHECK(table.target.image() != cut);
}

TEST_CASE("layer keeper: below a shift by parts of a pixel, and in what cuts its children off, nothing is kept")
{
    Table table;
    const auto settled = [&] {
        for (int i = 0; i < 3; ++i)
            table.draw();
        CHECK(table.target.image() == table.scene.picture());
        return table.kept();
    };
    table.main.setLocation({0.5f, 0.f});
    CHECK(settled() == 0);
    table.main.setLocation({1.f, 0.f});
    CHECK(settled() == 1);
    style(table.main, "overflow: hidden");
    CHECK(settled() == 0);
}

TEST_CASE("layer keeper: below a turn, and a shift by parts of a pixel in either direction, nothing waits to be kept")
{
    Table table;
    const auto waits = [&] {
        table.group.setScale(1.2f);
        table.draw();
        table.group.setScale(1.f);
        table.draw();
        return table.scene.app.needsFrame();
    };
    for (const Vecta::Vector2f place : {Vecta::Vector2f{0.5f, 0.f}, {0.f, 0.5f}, {0.1f, 0.f}, {0.f, 0.9f}}) {
        CAPTURE(place.x);
        table.main.setLocation(place);
        CHECK_FALSE(waits());
    }
    // As whole as numbers are that a table has computed.
    table.main.setLocation({1.f + 1.f / 128.f, -1.f / 128.f});
    CHECK(waits());
    table.main.setRotation(0.2f);
    CHECK_FALSE(waits());
}

TEST_CASE("layer keeper: an upright box without children that throws a shadow or has a picture behind it is kept")
{
    for (const char* look : {"box-shadow: 0 4px 12px black", "background-image: linear-gradient(red, blue)"}) {
        CAPTURE(look);
        Table table;
        table.child.removeFromParent();
        table.group.setRotation(0.f);
        style(table.group, look);
        table.draw();
        table.draw();
        CHECK(table.kept() == 1);
        CHECK(table.target.image() == table.scene.picture());
    }
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
    table.scene.app.setPictureBudget(10000);
    table.group.setSize({70, 50});
    table.draw();
    table.draw();
    CHECK(table.kept() == 0);
    CHECK(table.target.image() == table.scene.picture());
}

TEST_CASE("layer keeper: what needs more than the budget, at four bytes a pixel, is not waited for, and what needs less is kept")
{
    for (const bool fits : {false, true}) {
        CAPTURE(fits);
        Table table;
        table.group.setRotation(0.f);
        // Until the surfaces of earlier tests are gone, which count, too.
        for (int i = 0; i < 70; ++i)
            table.draw();
        CHECK(table.kept() == 1);
        table.scene.app.setPictureBudget(fits ? 5 * 60 * 50 : 3 * 60 * 50);
        table.group.setScale(2.f);
        table.draw();
        table.group.setScale(1.f);
        table.draw();
        CHECK(table.scene.app.needsFrame() == fits);
        table.draw();
        CHECK(table.kept() == std::size_t(fits ? 1 : 0));
    }
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

TEST_CASE(
    "layer keeper: on a screen that shows the table larger or smaller a widget is kept in that scale and moved without painting")
{
    for (const float scale : {2.f, 1.25f, 0.667f, 1.0666667f}) {
        CAPTURE(scale);
        Table table(scale);
        table.draw();
        table.draw();
        CHECK(table.kept() == 1);
        const int paints = table.child.paints;
        for (int i = 0; i < 8; ++i) {
            table.group.setLocation(table.group.location() + Vecta::Vector2f{3.3f, 1.7f});
            table.draw();
        }
        table.group.setOpacity(0.5f);
        table.draw();
        CHECK(table.child.paints == paints);
        CHECK(table.target.image() == table.whole());
        CHECK(table.child.paints == paints);
        set(table.child, "background-color", kGreen);
        table.draw();
        CHECK(table.child.paints == paints + 1);
        CHECK(table.target.image() == table.whole());
    }
}

TEST_CASE("layer keeper: a widget that is upright and has no children is kept where the screen has another scale")
{
    Table table(1.5f);
    table.child.removeFromParent();
    table.group.setRotation(0.f);
    table.draw();
    table.draw();
    CHECK(table.kept() == 1);
    CHECK(table.target.image() == table.whole());
}

TEST_CASE("layer keeper: when the scale of the screen changes what is kept is painted anew in it, and counts so in the budget")
{
    Table table(1.f);
    table.draw();
    table.draw();
    const std::size_t bytes = table.scene.app.keptPictures().bytes;
    table.setScale(0.5f);
    table.draw();
    CHECK(table.kept() == 0);
    table.draw();
    CHECK(table.kept() == 1);
    CHECK(table.scene.app.keptPictures().bytes < bytes / 3);
    Lantern::ImageTarget shown(table.target.size());
    table.paint(shown, QRect(QPoint(), shown.size()));
    table.group.setLocation({70.f, 50.f});
    QRegion damage;
    table.scene.frame();
    for (const QRect& rect : table.scene.app.collectDamage())
        damage += table.toScreen.mapRect(QRectF(rect)).toAlignedRect();
    table.paint(shown, damage);
    CHECK(shown.image() == table.whole());
    // The picture would take four times of what is left.
    table.scene.app.setPictureBudget(2 * bytes);
    table.setScale(2.f);
    table.draw();
    table.draw();
    CHECK(table.kept() == 0);
    for (const float nonsense : {0.f, -1.f, std::nanf("")})
        table.scene.app.setScreenScale({nonsense, 1.f});
    table.setScale(1.f);
    table.draw();
    table.draw();
    CHECK(table.kept() == 1);
}

TEST_CASE("layer keeper: where the table is drawn in another scale than the screen's, what is kept is drawn anew")
{
    const QImage expected = pictureOf([](Scene& scene) {
        auto& main = *new Widget(&scene.root());
        place(main, {0, 0, kSmall.x, kSmall.y});
        auto& group = box(main, {40, 40, 60, 50}, kRed);
        group.setRotation(0.3f);
        box(group, {10, 10, 20, 20}, kBlue);
    });
    Table table(2.f);
    table.draw();
    table.draw();
    const int paints = table.child.paints;
    CHECK(table.scene.picture() == expected);
    CHECK(table.child.paints == paints + 1);
    CHECK(table.kept() == 1);
}

TEST_CASE("layer keeper: a kept picture has the pixels that the tips of what is turned in it colour beyond their bounds")
{
    Table table;
    table.group.removeFromParent();
    Widget& upright = box(table.main, {80, 80, 20, 20}, {0, 0, 0, 0});
    framedTips(upright, {60.5f, 60.5f});
    framedTips(upright, {-39.5f, -39.5f});
    table.scene.frame();
    const QImage direct = table.whole();
    REQUIRE(table.kept() == 0);
    REQUIRE(litBounds(direct) == QRect(26, 26, 129, 129));
    table.scene.frame();
    const QImage kept = table.whole();
    CHECK(table.kept() == 1);
    CHECK_PICTURE(kept, direct, 0);
}

TEST_CASE("layer keeper: what is kept from now on is drawn anew with the pixels that its tips colour")
{
    // On a ground, two half transparent pixels are rounded otherwise when they are put together first.
    Table table;
    table.group.removeFromParent();
    set(table.main, "background-color", Bedrock::Color{0.9f, 0.7f, 0.5f, 1.f});
    Widget& upright = box(table.main, {20, 20, 20, 20}, {0, 0, 0, 0});
    for (int i = 0; i < 3; ++i)
        framedTips(upright, {60.5f, 60.5f}, {0.9f, 0.2f, 0.4f, 0.35f});
    table.draw();
    const QImage direct = table.target.image();
    const QPoint tip(80 + 14, 80);
    REQUIRE(direct.pixel(tip) != direct.pixel(150, 150));
    table.draw();
    REQUIRE(table.kept() == 1);
    REQUIRE(table.whole().pixel(tip) != direct.pixel(tip));
    CHECK_PICTURE(table.target.image(), table.whole(), 0);
}
