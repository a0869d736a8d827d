#include <doctest/doctest.h>

#include "picture/ImageLoader.hpp"

#include "EventLoop.hpp"
#include "ImageScene.hpp"
#include "LogCapture.hpp"

#include <Bedrock/Inbox.hpp>

#include <QDateTime>
#include <QFile>

using namespace TestSupport;
using namespace TrellisTest;
using Trellis::ImageKey;
using Trellis::ImageLoader;
using Trellis::ImageSize;
using Trellis::ImageWidget;

namespace
{
void setTime(const QString& path, int secondsFromNow)
{
    QFile file(path);
    REQUIRE(file.open(QIODevice::ReadWrite));
    REQUIRE(file.setFileTime(QDateTime::currentDateTime().addSecs(secondsFromNow), QFileDevice::FileModificationTime));
}

/// A loader without widgets, and files for it.
struct Reading
{
    Reading() { loader.shutDown(); }
    ~Reading()
    {
        loader.shutDown();
        Bedrock::Inbox::instance().clear();
    }

    QString save(const char* name, const QImage& image)
    {
        const QString path = folder.filePath(QString::fromLatin1(name));
        REQUIRE(image.save(path));
        return path;
    }
    static ImageKey key(const QString& path, int edgePx = 64) { return {path, {ImageSize::Side::Longest, edgePx}}; }
    const ImageLoader::Picture* request(const ImageKey& key)
    {
        return loader.request(key, [this](const ImageLoader::Picture& picture) { told.push_back(picture); });
    }
    void settle()
    {
        REQUIRE(pumpUntil([this] {
            (void)Bedrock::Inbox::instance().deliver();
            return loader.pending() == 0;
        }));
    }

    ImageLoader& loader = ImageLoader::instance();
    QTemporaryDir folder;
    std::vector<ImageLoader::Picture> told;
};
}

TEST_CASE("image loader: a picture is read once for all requests while it is under way")
{
    Reading reading;
    const ImageKey key = Reading::key(reading.save("a.png", halves(32, 16)));
    const long before = reading.loader.filesRead();
    for (int i = 0; i < 5; ++i)
        CHECK(reading.request(key) == nullptr);
    CHECK(reading.loader.pending() == 1);
    CHECK(reading.told.empty()); // never inside the call
    reading.settle();
    CHECK(reading.loader.filesRead() == before + 1);
    REQUIRE(reading.told.size() == 5);
    CHECK(reading.told[4].image.size() == QSize(32, 16));
    CHECK(reading.told[4].fullSize == QSize(32, 16));
}

TEST_CASE("image loader: each wanted size is a reading of its own")
{
    Reading reading;
    const QString path = reading.save("a.png", halves(400, 200));
    CHECK(reading.request(Reading::key(path, 64)) == nullptr);
    CHECK(reading.request(Reading::key(path, 128)) == nullptr);
    CHECK(reading.loader.pending() == 2);
    reading.settle();
    REQUIRE(reading.told.size() == 2);
    CHECK(reading.told[0].image.width() + reading.told[1].image.width() == 64 + 128);
    CHECK(reading.told[0].fullSize == QSize(400, 200));
}

TEST_CASE("image loader: a picture that was read is given at once, and a file that stayed as it is answers no request again")
{
    Reading reading;
    const ImageKey key = Reading::key(reading.save("a.png", halves(32, 32)));
    CHECK(reading.request(key) == nullptr);
    reading.settle();
    const long before = reading.loader.filesRead();
    const auto* known = reading.request(key);
    REQUIRE(known);
    CHECK(known->image.size() == QSize(32, 32));
    CHECK(reading.loader.pending() == 1); // it is looked at all the same
    reading.settle();
    CHECK(reading.told.size() == 1);
    CHECK(reading.loader.filesRead() == before);
}

TEST_CASE("image loader: a request that was given a picture is answered when its file has changed")
{
    Reading reading;
    const ImageKey key = Reading::key(reading.save("a.png", halves(32, 32)));
    (void)reading.request(key);
    reading.settle();
    SUBCASE("for another picture")
    {
        reading.save("a.png", halves(16, 16));
        setTime(key.path, 60);
        REQUIRE(reading.request(key));
        reading.settle();
        REQUIRE(reading.told.size() == 2);
        CHECK(reading.told[1].image.size() == QSize(16, 16));
        REQUIRE(reading.request(key));
        CHECK(reading.request(key)->image.size() == QSize(16, 16));
    }
    SUBCASE("for none")
    {
        REQUIRE(QFile::remove(key.path));
        expectWarning("ImageWidget # Failed to load image " + key.path.toStdString() + " (no such file)");
        REQUIRE(reading.request(key));
        reading.settle();
        REQUIRE(reading.told.size() == 2);
        CHECK(reading.told[1].image.isNull());
    }
    reading.settle();
}

TEST_CASE("image loader: a file that cannot be read is warned of anew only when it has changed")
{
    Reading reading;
    const QString path = reading.folder.filePath(QStringLiteral("broken.png"));
    const auto writeBroken = [&] {
        QFile file(path);
        REQUIRE(file.open(QIODevice::WriteOnly));
        file.write("no picture");
    };
    writeBroken();
    setTime(path, -120);
    expectWarningStartingWith("ImageWidget # Failed to load image " + path.toStdString() + " (");
    for (int i = 0; i < 3; ++i) {
        CHECK(reading.request(Reading::key(path, 64 << i)) == nullptr);
        reading.settle();
        CHECK(reading.told.back().image.isNull());
    }
    CHECK(reading.told.size() == 3);
    setTime(path, -60);
    expectWarningStartingWith("ImageWidget # Failed to load image " + path.toStdString() + " (");
    CHECK(reading.request(Reading::key(path)) == nullptr);
    reading.settle();
    CHECK(reading.loader.readNow(Reading::key(path)).image.isNull());
}

TEST_CASE("image loader: a reading in the call serves everybody after it")
{
    Reading reading;
    const ImageKey key = Reading::key(reading.save("a.png", halves(32, 32)));
    const long before = reading.loader.filesRead();
    CHECK(reading.loader.readNow(key).image.size() == QSize(32, 32));
    CHECK(reading.loader.pending() == 0);
    CHECK(reading.loader.readNow(key).image.size() == QSize(32, 32));
    CHECK(reading.request(key));
    reading.settle();
    CHECK(reading.loader.filesRead() == before + 1);
    setTime(key.path, 60);
    CHECK_FALSE(reading.loader.readNow(key).image.isNull());
    CHECK(reading.loader.filesRead() == before + 2);
}

TEST_CASE("image loader: what is announced is pending until its token goes, also after a shutdown")
{
    Reading reading;
    auto first = reading.loader.announce();
    auto second = reading.loader.announce();
    CHECK(reading.loader.pending() == 2);
    const auto copy = first;
    first.reset();
    CHECK(reading.loader.pending() == 2);
    second.reset();
    CHECK(reading.loader.pending() == 1);
    reading.loader.shutDown();
    CHECK(reading.loader.pending() == 1);
}

TEST_CASE("image loader: a shutdown drops what is under way, also what waits in the inbox, and the loader serves again")
{
    Reading reading;
    const ImageKey key = Reading::key(reading.save("a.png", halves(32, 32)));
    CHECK(reading.request(key) == nullptr);
    REQUIRE(pumpUntil([] { return Bedrock::Inbox::instance().isWaiting(); }));
    CHECK(reading.request(Reading::key(key.path, 128)) == nullptr);
    reading.loader.shutDown();
    CHECK(reading.loader.pending() == 0);
    (void)Bedrock::Inbox::instance().deliver();
    CHECK(reading.told.empty());
    CHECK(reading.request(key) == nullptr);
    reading.settle();
    CHECK(reading.told.size() == 1);
}

TEST_CASE("image loader: an answered request may make the next one")
{
    Reading reading;
    const ImageKey first = Reading::key(reading.save("a.png", halves(32, 32)));
    const ImageKey second = Reading::key(reading.save("b.png", halves(16, 16)));
    const ImageLoader::Picture* again = nullptr;
    CHECK(reading.loader.request(first, [&](const ImageLoader::Picture&) {
        again = reading.request(first);
        CHECK(reading.request(second) == nullptr);
    }) == nullptr);
    reading.settle();
    CHECK(again);
    REQUIRE(reading.told.size() == 1);
    CHECK(reading.told[0].image.size() == QSize(16, 16));
}

// ---- As widgets see it -------------------------------------------------------------------------------------------------

TEST_CASE("image loader: many widgets with one picture read it once")
{
    ImageScene scene(kSmall);
    const QString path = scene.save("a.png", halves(100, 100));
    const long before = scene.app.counters().imagesRead;
    for (int i = 0; i < 20; ++i)
        scene.widget({float(i), 0, 100, 100}).load(path);
    scene.settle();
    CHECK(scene.app.counters().imagesRead == before + 1);
    for (const auto& child : scene.root().children())
        CHECK(static_cast<ImageWidget&>(*child).isLoaded());

    ImageWidget& later = scene.widget({0, 0, 98, 98});
    later.load(path);
    scene.frame();
    CHECK(later.isLoaded()); // from the cache, without waiting
    scene.settle();
    CHECK(scene.app.counters().imagesRead == before + 1);
}

TEST_CASE("image loader: a file that was replaced is read again")
{
    ImageScene scene(kSmall);
    const QString path = scene.save("a.png", halves(100, 100));
    ImageWidget& first = scene.widget({0, 0, 100, 100});
    first.load(path);
    scene.settle();
    scene.save("a.png", halves(100, 100, Qt::green, Qt::green));
    QFile file(path);
    REQUIRE(file.open(QIODevice::ReadWrite));
    REQUIRE(file.setFileTime(QDateTime::currentDateTime().addSecs(60), QFileDevice::FileModificationTime));
    file.close();
    ImageWidget& second = scene.widget({100, 0, 100, 100});
    second.load(path);
    scene.settle();
    CHECK(scene.picture().pixelColor(120, 50) == QColor(Qt::green));
}

TEST_CASE("image loader: a picture that cannot be read is one warning, however many request it")
{
    ImageScene scene(kSmall);
    const QString missing = scene.path("missing.png");
    QFile broken(scene.path("broken.png"));
    REQUIRE(broken.open(QIODevice::WriteOnly));
    broken.write("\x89PNG\r\n\x1a\n and then nothing of the kind");
    broken.close();
    expectWarning("ImageWidget # Failed to load image " + missing.toStdString() + " (no such file)");
    expectWarningStartingWith("ImageWidget # Failed to load image " + broken.fileName().toStdString() + " (");
    expectWarning("ImageWidget # Failed to load image " + scene.folder.path().toStdString() + " (not a file)");
    ImageWidget& widget = scene.widget({0, 0, 100, 100});
    widget.load(missing);
    for (int i = 0; i < 5; ++i) {
        scene.widget({0, 0, 100, 100}).load(missing);
        scene.widget({0, 0, 100, 100}).load(broken.fileName());
    }
    scene.widget({0, 0, 10, 10}).load(scene.folder.path());
    scene.settle();
    CHECK_FALSE(widget.isLoaded());
    CHECK(litBounds(scene.picture()).isNull());

    // The file appears; the same load is another try.
    scene.save("missing.png", halves(100, 100));
    widget.load(missing);
    scene.settle();
    CHECK(widget.isLoaded());
}

TEST_CASE("image loader: the application ends while pictures are under way, and the next one reads them")
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("a.png"));
    REQUIRE(halves(1500, 1500).save(path));
    {
        ImageScene scene(kSmall);
        for (int i = 1; i < 10; ++i)
            scene.widget({0, 0, float(64 << i), 100}).load(path);
        scene.frame();
        CHECK(scene.app.pendingImages() > 0);
    }
    ImageScene scene(kSmall);
    CHECK(scene.app.pendingImages() == 0);
    ImageWidget& widget = scene.widget({0, 0, 100, 100});
    widget.load(path);
    scene.settle();
    CHECK(widget.isLoaded());
}
