#include "ImageScene.hpp"

#include <LogCapture.hpp>

using namespace TrellisTest;
using Trellis::Widget;

namespace
{
void showFiles(Widget& widget, const QStringList& files)
{
    const QByteArray name = "bg" + QByteArray::number(qlonglong(widget.id()));
    Cascara::StyleEngine::instance().addStyleSheet(
        QStringLiteral(".%1 {\nbackground-image: url(\"%2\"); background-repeat: no-repeat; }")
            .arg(QString::fromLatin1(name), files.join(QStringLiteral("\"), url(\""))),
        QStringLiteral("test.css"));
    widget.addCSSClass(name);
}
}

TEST_CASE("background fetch: a file shows behind the widget as soon as it is read")
{
    ImageScene scene(kSmall);
    const QString file = scene.save("halves.png", halves(40, 20));
    Widget& widget = *new Widget(&scene.root());
    place(widget, {10, 10, 100, 100});
    showFiles(widget, {file});
    CHECK(scene.app.pendingImages() == 1);
    scene.settle();
    const QImage image = scene.picture();
    CHECK(image.pixelColor(12, 12) == QColor(Qt::red));
    CHECK(image.pixelColor(48, 28) == QColor(Qt::blue));
    CHECK(litBounds(image) == QRect(10, 10, 40, 20));
}

TEST_CASE("background fetch: the first file lies on top, and one that cannot be read leaves its place free")
{
    ImageScene scene(kSmall);
    const QString small = scene.save("small.png", halves(20, 20, Qt::green, Qt::green));
    const QString large = scene.save("large.png", halves(60, 60));
    Widget& widget = *new Widget(&scene.root());
    place(widget, {0, 0, 100, 100});
    TestSupport::expectWarning("ImageWidget # Failed to load image " + scene.path("none.png").toStdString()
                               + " (no such file; named in test.css:2:1)");
    showFiles(widget, {scene.path("none.png"), small, large});
    scene.settle();
    const QImage image = scene.picture();
    CHECK(image.pixelColor(5, 5) == QColor(Qt::green));
    CHECK(image.pixelColor(25, 5) == QColor(Qt::red));
    CHECK(image.pixelColor(50, 50) == QColor(Qt::blue));
}

TEST_CASE("background fetch: a widget that is gone, or shows another file meanwhile, is left alone")
{
    ImageScene scene(kSmall);
    const QString first = scene.save("first.png", halves(60, 60));
    const QString second = scene.save("second.png", halves(30, 30, Qt::green, Qt::green));
    Widget& widget = *new Widget(&scene.root());
    place(widget, {0, 0, 100, 100});
    auto* gone = new Widget(&scene.root());
    showFiles(*gone, {first});
    showFiles(widget, {first});
    gone->removeFromParent();
    showFiles(widget, {second});
    scene.settle();
    CHECK(litBounds(scene.picture()) == QRect(0, 0, 30, 30));
    style(widget, "background-image: none !important");
    scene.frame();
    CHECK(litBounds(scene.picture()).isEmpty());
}
