#pragma once

#include "EventLoop.hpp"
#include "Scene.hpp"

#include <Trellis/ImageWidget.hpp>

#include <QImage>
#include <QPainter>
#include <QTemporaryDir>

#include <doctest/doctest.h>

namespace TrellisTest
{
/// Left half of one colour, right half of another.
inline QImage halves(int width, int height, QColor left = Qt::red, QColor right = Qt::blue)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(left);
    QPainter(&image).fillRect(width / 2, 0, width - width / 2, height, right);
    return image;
}

/// A scene with pictures of its own in a folder.
struct ImageScene : Scene
{
    using Scene::Scene;
    QTemporaryDir folder;

    QString path(const char* name) const { return folder.filePath(QString::fromLatin1(name)); }
    QString save(const char* name, const QImage& image)
    {
        REQUIRE(image.save(path(name)));
        return path(name);
    }
    Trellis::ImageWidget& widget(const Vecta::Rect& rect)
    {
        auto made = Bedrock::makeIntrusive<Trellis::ImageWidget>();
        root().addChild(made);
        return place(*made, rect);
    }
    /// Frames until no picture is under way.
    void settle()
    {
        REQUIRE(TestSupport::pumpUntil([this] {
            frame();
            return app.pendingImages() == 0;
        }));
        frame();
    }
};
}
