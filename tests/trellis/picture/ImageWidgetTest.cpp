#include <doctest/doctest.h>

#include "EventLoop.hpp"
#include "ImageScene.hpp"
#include "LogCapture.hpp"
#include "MadePictures.hpp"
#include "RecordingContext.hpp"

#include <Trellis/ImageWidget.hpp>

#include <QBuffer>
#include <QFile>
#include <QImage>
#include <QImageWriter>
#include <QUrl>
#include <QtEndian>

using namespace TestSupport;
using namespace TrellisTest;
using Trellis::ImageWidget;

namespace
{
void setFit(ImageWidget& widget, const char* fit)
{
    Facet::StyleValue value;
    value.terms.append({Facet::StyleTerm::Kind::Ident, QString::fromLatin1(fit), 0.0, {}});
    REQUIRE(widget.attribute("fit")->setStyleValue(value, Facet::kUserLayer, nullptr));
}

/// A JPEG file's EXIF segment that says how the picture was held.
QByteArray withExifOrientation(const QByteArray& jpeg, char orientation)
{
    QByteArray tiff("MM\0*\0\0\0\x08", 8);
    tiff += QByteArray("\0\x01", 2); // one entry
    tiff += QByteArray("\x01\x12\0\x03\0\0\0\x01\0", 9) + orientation + QByteArray("\0\0", 2);
    tiff += QByteArray("\0\0\0\0", 4); // no further directory
    const QByteArray content = QByteArray("Exif\0\0", 6) + tiff;
    QByteArray length(2, 0);
    qToBigEndian(quint16(content.size() + 2), length.data());
    return jpeg.left(2) + QByteArray("\xFF\xE1", 2) + length + content + jpeg.mid(2);
}
}

TEST_CASE("image widget: a picture appears after some frames, and says so once")
{
    ImageScene scene(kSmall);
    ImageWidget& widget = scene.widget({20, 20, 100, 100});
    int loaded = 0;
    widget.eventAddListener("image-loaded", [&] { ++loaded; });
    widget.load(scene.save("a.png", halves(100, 100)));
    CHECK(scene.app.pendingImages() == 1);
    CHECK_FALSE(widget.isLoaded());
    CHECK(litBounds(scene.picture()).isNull());
    scene.settle();
    CHECK(widget.isLoaded());
    CHECK(loaded == 1);
    const QImage image = scene.picture();
    CHECK(litBounds(image) == QRect(20, 20, 100, 100));
    CHECK(image.pixelColor(40, 60) == QColor(Qt::red));
    CHECK(image.pixelColor(100, 60) == QColor(Qt::blue));
}

TEST_CASE("image widget: the area of a picture that arrives is damaged")
{
    ImageScene scene(kSmall);
    ImageWidget& widget = scene.widget({20, 20, 100, 100});
    widget.load(scene.save("a.png", halves(100, 100)));
    scene.frame();
    (void)scene.app.collectDamage();
    REQUIRE(pumpUntil([&] {
        scene.frame();
        return widget.isLoaded();
    }));
    CHECK(scene.app.collectDamage() == QRegion(20, 20, 100, 100));
}

TEST_CASE("image widget: a blocking load shows at once")
{
    ImageScene scene(kSmall);
    ImageWidget& widget = scene.widget({20, 20, 100, 100});
    widget.load(scene.save("a.png", halves(100, 100)), ImageWidget::kBlocking);
    CHECK(widget.isLoaded());
    CHECK(litBounds(scene.picture()) == QRect(20, 20, 100, 100));
    scene.settle();
    CHECK(widget.isLoaded());
}

TEST_CASE("image widget: a source may be written as a file url")
{
    ImageScene scene(kSmall);
    ImageWidget& widget = scene.widget({20, 20, 100, 100});
    widget.load(QUrl::fromLocalFile(scene.save("a b.png", halves(100, 100))).toString(QUrl::FullyEncoded));
    scene.settle();
    CHECK(widget.isLoaded());
}

TEST_CASE("image widget: contain shows all, cover fills, stretch distorts")
{
    ImageScene scene(kSmall);
    ImageWidget& widget = scene.widget({0, 0, 100, 100});
    widget.load(scene.save("wide.png", halves(200, 100)), ImageWidget::kBlocking);
    CHECK(litBounds(scene.picture()) == QRect(0, 25, 100, 50));

    setFit(widget, "cover");
    scene.settle();
    QImage image = scene.picture();
    CHECK(litBounds(image) == QRect(0, 0, 100, 100));
    RecordingContext context;
    scene.app.render(context);
    CHECK(context.calls().back().source == Vecta::Rect{50, 0, 100, 100});

    setFit(widget, "stretch");
    scene.settle();
    image = scene.picture();
    CHECK(litBounds(image) == QRect(0, 0, 100, 100));
    CHECK(image.pixelColor(2, 50) == QColor(Qt::red));
    CHECK(image.pixelColor(97, 50) == QColor(Qt::blue));
}

TEST_CASE("image widget: the picture stays inside the padding and follows the rounded corners")
{
    ImageScene scene(kSmall);
    ImageWidget& widget = scene.widget({0, 0, 100, 100});
    const auto ten = Trellis::Length::pixels(10);
    set(widget, "padding", Trellis::Edges{ten, ten, ten, ten});
    widget.load(scene.save("a.png", halves(80, 80)), ImageWidget::kBlocking);
    CHECK(litBounds(scene.picture()) == QRect(10, 10, 80, 80));
    set(widget, "border-radius", 30.f);
    CHECK(scene.picture().pixelColor(12, 12) == QColor(Qt::black));
    CHECK(scene.picture().pixelColor(50, 50) != QColor(Qt::black));
}

TEST_CASE("image widget: an auto height follows the picture's proportions, and so does an auto width")
{
    ImageScene scene(kSmall);
    auto byWidth = Bedrock::makeIntrusive<ImageWidget>();
    scene.root().addChild(byWidth);
    set(*byWidth, "width", Trellis::Length::pixels(80));
    auto byHeight = Bedrock::makeIntrusive<ImageWidget>();
    scene.root().addChild(byHeight);
    Facet::StyleValue value;
    value.terms.append({Facet::StyleTerm::Kind::Ident, QStringLiteral("inline"), 0.0, {}});
    REQUIRE(byHeight->attribute("display")->setStyleValue(value, Facet::kUserLayer, nullptr));
    set(*byHeight, "height", Trellis::Length::pixels(30));
    const QString path = scene.save("wide.png", halves(200, 100));
    byWidth->load(path);
    byHeight->load(path);
    scene.settle();
    CHECK(byWidth->size() == Vecta::Vector2f{80, 40});
    CHECK(byHeight->size() == Vecta::Vector2f{60, 30});
}

TEST_CASE("image widget: a large picture is read about as large as it is shown")
{
    ImageScene scene(kSmall);
    ImageWidget& widget = scene.widget({0, 0, 100, 100});
    widget.load(scene.save("large.jpg", halves(2000, 1000)));
    scene.settle();
    CHECK(widget.image().width() >= 100);
    CHECK(widget.image().width() <= 224);
    CHECK(widget.image().width() == 2 * widget.image().height());
}

TEST_CASE("image widget: a small picture is not read larger than it is")
{
    ImageScene scene(kSmall);
    ImageWidget& widget = scene.widget({0, 0, 150, 150});
    widget.load(scene.save("small.png", halves(20, 10)));
    scene.settle();
    CHECK(widget.image().size() == QSize(20, 10));
}

TEST_CASE("image widget: a widget that is enlarged a lot gets a sharper picture, drawn or not")
{
    ImageScene scene(kSmall);
    ImageWidget& widget = scene.widget({0, 0, 100, 100});
    widget.load(scene.save("large.png", halves(1600, 1600)));
    scene.settle();
    const int before = widget.image().width();
    widget.setScale(1.1f);
    scene.settle();
    CHECK(widget.image().width() == before);
    widget.setScale(6.f);
    scene.frame();
    CHECK(scene.app.pendingImages() == 1);
    scene.settle();
    CHECK(widget.image().width() >= 600);
    CHECK(widget.isLoaded());
    // Small again: the sharp one serves as well.
    const int sharp = widget.image().width();
    widget.setScale(0.5f);
    scene.settle();
    CHECK(widget.image().width() == sharp);
}

TEST_CASE("image widget: one that grows with its parent, or while it is hidden, gets a sharper picture when it shows")
{
    ImageScene scene(kSmall);
    auto& parent = *new Trellis::Widget(&scene.root());
    place(parent, {0, 0, 100, 100});
    ImageWidget& widget = scene.widget({0, 0, 100, 100});
    parent.addChild(widget);
    widget.load(scene.save("large.png", halves(1600, 1600)));
    scene.settle();
    parent.setOpacity(0.f);
    parent.setScale(3.f);
    scene.frame();
    CHECK(scene.app.pendingImages() == 0);
    parent.setOpacity(1.f);
    scene.settle();
    CHECK(widget.image().width() == 512);
    parent.setScale(6.f);
    scene.settle();
    CHECK(widget.image().width() == 1024);
    // Drawing asks for nothing.
    const long read = scene.app.counters().imagesRead;
    (void)scene.picture();
    scene.settle();
    CHECK(scene.app.counters().imagesRead == read);
}

TEST_CASE("image widget: another source replaces the picture, an empty one shows nothing")
{
    ImageScene scene(kSmall);
    ImageWidget& widget = scene.widget({0, 0, 100, 100});
    widget.load(scene.save("a.png", halves(100, 100)));
    widget.load(scene.save("b.png", halves(100, 100, Qt::green, Qt::green)));
    int loaded = 0;
    widget.eventAddListener("image-loaded", [&] { ++loaded; });
    scene.settle();
    CHECK(loaded == 1);
    CHECK(scene.picture().pixelColor(10, 50) == QColor(Qt::green));
    widget.load(QString());
    CHECK_FALSE(widget.isLoaded());
    scene.settle();
    CHECK(litBounds(scene.picture()).isNull());
}

TEST_CASE("image widget: a source replaced while its picture is under way does not show")
{
    ImageScene scene(kSmall);
    ImageWidget& widget = scene.widget({0, 0, 100, 100});
    widget.load(scene.save("a.png", halves(100, 100)));
    scene.frame(); // the reading has begun
    widget.load(scene.save("b.png", halves(100, 100, Qt::green, Qt::green)));
    int loaded = 0;
    widget.eventAddListener("image-loaded", [&] { ++loaded; });
    scene.settle();
    CHECK(loaded == 1);
    CHECK(scene.picture().pixelColor(10, 50) == QColor(Qt::green));
}

TEST_CASE("image widget: a picture with too many pixels is refused by its header")
{
    ImageScene scene(kSmall);
    QFile file(scene.path("huge.png"));
    REQUIRE(file.open(QIODevice::WriteOnly));
    file.write(pngHeader({60000, 50000}));
    file.close();
    expectWarning("ImageWidget # Failed to load image " + file.fileName().toStdString()
                  + " (60000 x 50000 pixels are more than 200 megapixels; make it smaller)");
    ImageWidget& widget = scene.widget({0, 0, 100, 100});
    widget.load(file.fileName());
    scene.settle();
    CHECK_FALSE(widget.isLoaded());
}

TEST_CASE("image widget: one whose picture cannot be read has failed, until it has another source")
{
    ImageScene scene(kSmall);
    ImageWidget& widget = scene.widget({0, 0, 100, 100});
    int failures = 0;
    widget.eventAddListenerBd("image-failed", [&failures](Bedrock::BinaryData&) { ++failures; });
    widget.load(scene.save("good.png", halves(10, 10)));
    scene.settle();
    CHECK_FALSE(widget.hasFailed());
    expectWarningStartingWith("ImageWidget # Failed to load image ");
    widget.load(scene.path("none.png"));
    CHECK_FALSE(widget.hasFailed());
    scene.settle();
    CHECK(widget.hasFailed());
    CHECK(widget.hasPseudoClass("failed"));
    CHECK(failures == 1);
    widget.load(scene.path("good.png"));
    CHECK_FALSE(widget.hasFailed());
    scene.settle();
    CHECK(widget.isLoaded());
    widget.load(scene.path("none.png"), ImageWidget::kBlocking);
    CHECK(widget.hasFailed());
    CHECK(failures == 2);
    widget.load(QString());
    CHECK_FALSE(widget.hasFailed());
}

TEST_CASE("image widget: a photograph is turned as its camera says")
{
    ImageScene scene(kSmall);
    QByteArray jpeg;
    QBuffer buffer(&jpeg);
    REQUIRE(halves(200, 100).save(&buffer, "JPEG", 95));
    QFile file(scene.path("turned.jpg"));
    REQUIRE(file.open(QIODevice::WriteOnly));
    file.write(withExifOrientation(jpeg, 6)); // a quarter turn clockwise to see it upright
    file.close();
    ImageWidget& widget = scene.widget({0, 0, 50, 100});
    SUBCASE("at its full size")
    {
        widget.load(file.fileName(), ImageWidget::kBlocking);
    }
    SUBCASE("smaller")
    {
        place(widget, {0, 0, 25, 50});
        widget.setScale(2.f);
        set(widget, "padding", Trellis::Edges{});
        widget.load(file.fileName());
        scene.settle();
        CHECK(widget.image().height() == 112);
    }
    CHECK(widget.image().height() == 2 * widget.image().width());
    const QImage image = scene.picture();
    CHECK(image.pixelColor(25, 10).red() > 200);
    CHECK(image.pixelColor(25, 90).blue() > 200);
}

TEST_CASE("image widget: a widget that goes while its picture is under way is not missed")
{
    const long before = Bedrock::ReferenceCounted::liveObjects();
    {
        ImageScene scene(kSmall);
        const QString path = scene.save("a.png", halves(1000, 1000));
        scene.widget({0, 0, 100, 100}).load(path); // goes before the request
        scene.root().children().back()->removeFromParent();
        ImageWidget& second = scene.widget({0, 0, 100, 100});
        second.load(path);
        scene.frame(); // goes after it
        second.removeFromParent();
        ImageWidget& third = scene.widget({0, 0, 100, 100});
        third.load(path);
        scene.settle();
        CHECK(third.isLoaded());
        CHECK(Bedrock::ReferenceCounted::liveObjects() <= before + 2); // the main layer and the third
    }
    CHECK(Bedrock::ReferenceCounted::liveObjects() == before);
}

TEST_CASE("image widget: a listener to the picture may remove the widget")
{
    ImageScene scene(kSmall);
    const QString path = scene.save("a.png", halves(100, 100));
    for (int i = 0; i < 3; ++i) {
        ImageWidget& widget = scene.widget({0, 0, 100, 100});
        widget.eventAddListener("image-loaded", [&widget] { widget.removeFromParent(); });
        widget.load(path);
    }
    scene.settle();
    CHECK(scene.root().children().empty());
}
