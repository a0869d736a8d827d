#include <doctest/doctest.h>

#include "ImageScene.hpp"
#include "RecordingContext.hpp"

#include <Trellis/ImageTileWidget.hpp>

using namespace TestSupport;
using namespace TrellisTest;
using Call = RecordingContext::Call;
using Trellis::ImageTileWidget;
using Trellis::ImageWidget;

namespace
{
ImageTileWidget& tiles(ImageScene& scene, const Vecta::Rect& rect, const QImage& tile)
{
    auto made = Bedrock::makeIntrusive<ImageTileWidget>();
    scene.root().addChild(made);
    place(*made, rect);
    made->load(scene.save("tile.png", tile), ImageWidget::kBlocking);
    return *made;
}
}

TEST_CASE("image tile widget: a picture repeats in its own size over the widget")
{
    ImageScene scene(kSmall);
    auto made = Bedrock::makeIntrusive<ImageTileWidget>();
    scene.root().addChild(made);
    place(*made, {10, 10, 150, 75});
    made->load(scene.save("tile.png", halves(70, 70)));
    scene.settle();
    const QImage image = scene.picture();
    CHECK(litBounds(image) == QRect(10, 10, 150, 75));
    for (int x = 0; x < 150; ++x)
        if (x % 35 > 1 && x % 35 < 33)
            CHECK(image.pixelColor(10 + x, 12) == QColor(x % 70 < 35 ? Qt::red : Qt::blue));
    RecordingContext context;
    scene.app.render(context);
    CHECK(context.count(Call::Kind::Image) == 6);
}

TEST_CASE("image tile widget: a ground of tiny tiles takes few drawings and looks the same")
{
    ImageScene scene(kSmall);
    auto made = Bedrock::makeIntrusive<ImageTileWidget>();
    scene.root().addChild(made);
    place(*made, {0, 0, 200, 200});
    made->load(scene.save("tiny.png", halves(2, 2)), ImageWidget::kBlocking);
    RecordingContext context;
    scene.app.render(context);
    CHECK(context.count(Call::Kind::Image) == 16);
    const QImage image = scene.picture();
    for (int x = 0; x < 200; ++x)
        CHECK(image.pixelColor(x, 100) == QColor(x % 2 == 0 ? Qt::red : Qt::blue));
}

TEST_CASE("image tile widget: tiles that are small in one direction are drawn together in that direction")
{
    struct Row
    {
        QSize tile;
        int drawings; ///< on 160 by 160 pixels
    };
    for (const Row& row : {Row{{40, 80}, 4}, Row{{80, 40}, 4}, Row{{80, 80}, 4}, Row{{160, 10}, 3}}) {
        CAPTURE(row.tile.width());
        CAPTURE(row.tile.height());
        ImageScene scene(kSmall);
        tiles(scene, {0, 0, 160, 160}, halves(row.tile.width(), row.tile.height()));
        RecordingContext context;
        scene.app.render(context);
        CHECK(context.count(Call::Kind::Image) == row.drawings);
    }
}

TEST_CASE("image tile widget: without a picture it shows its ground only")
{
    ImageScene scene(kSmall);
    auto made = Bedrock::makeIntrusive<ImageTileWidget>();
    scene.root().addChild(made);
    place(*made, {10, 10, 50, 50});
    CHECK(made->cssType() == "ImageTileWidget");
    CHECK(litBounds(scene.picture()).isNull());
    set(*made, "background-color", kGreen);
    CHECK(litBounds(scene.picture()) == QRect(10, 10, 50, 50));
}

TEST_CASE("image tile widget: the tiles begin inside the padding, and are cut off by it and by the rounded corners")
{
    ImageScene scene(kSmall);
    ImageTileWidget& widget = tiles(scene, {0, 0, 100, 100}, halves(70, 70));
    const auto ten = Trellis::Length::pixels(10);
    set(widget, "padding", Trellis::Edges{ten, ten, ten, ten});
    QImage image = scene.picture();
    CHECK(litBounds(image) == QRect(10, 10, 80, 80));
    CHECK(image.pixelColor(11, 50) == QColor(Qt::red));
    CHECK(image.pixelColor(50, 50) == QColor(Qt::blue));
    CHECK(image.pixelColor(85, 50) == QColor(Qt::red));
    set(widget, "border-radius", 30.f);
    image = scene.picture();
    CHECK(image.pixelColor(12, 12) == QColor(Qt::black));
    CHECK(image.pixelColor(87, 87) == QColor(Qt::black));
    CHECK(image.pixelColor(50, 12) == QColor(Qt::blue));
    set(widget, "padding", Trellis::Edges{ten, Trellis::Length::pixels(60), ten, Trellis::Length::pixels(60)});
    CHECK(litBounds(scene.picture()).isNull()); // no room is left
}

TEST_CASE("image tile widget: the tile is as large as its file, however small it had to be read")
{
    ImageScene scene(kSmall);
    ImageTileWidget& widget = tiles(scene, {0, 0, 200, 30}, halves(3000, 30));
    CHECK(widget.image().width() == 2048);
    RecordingContext context;
    scene.app.render(context);
    REQUIRE(context.count(Call::Kind::Image) >= 1);
    const Call& tile = context.calls().back();
    CHECK(tile.rect.width == doctest::Approx(200.f));
    CHECK(tile.source.width == doctest::Approx(200.f * 2048.f / 3000.f));
}

TEST_CASE("image tile widget: tiles outside the part that is drawn are left out")
{
    ImageScene scene(kSmall);
    tiles(scene, {0, 0, 200, 200}, halves(100, 100));
    RecordingContext whole;
    scene.app.render(whole);
    CHECK(whole.count(Call::Kind::Image) == 4);
    RecordingContext corner({0.f, 0.f, 50.f, 50.f});
    scene.app.render(corner);
    CHECK(corner.count(Call::Kind::Image) == 1);
}

TEST_CASE("image tile widget: another source replaces the tiles, tiny ones too")
{
    ImageScene scene(kSmall);
    ImageTileWidget& widget = tiles(scene, {0, 0, 100, 100}, halves(2, 2));
    CHECK(scene.picture().pixelColor(0, 50) == QColor(Qt::red));
    widget.load(scene.save("green.png", halves(2, 2, Qt::green, Qt::green)), ImageWidget::kBlocking);
    CHECK(scene.picture().pixelColor(0, 50) == QColor(Qt::green));
    widget.load(QString());
    CHECK(litBounds(scene.picture()).isNull());
}
