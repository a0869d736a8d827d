#include "content/Thumbnails.hpp"

#include "Folder.hpp"
#include "content/ContentFolder.hpp"

#include <doctest/doctest.h>

#include <QFile>

#include <QImage>

#include <unistd.h>

using namespace MediaServer;

namespace
{

struct ThumbnailsFixture
{
    void paint(const char* name, int width, int height, QImage::Format format = QImage::Format_RGB32)
    {
        QImage image(width, height, format);
        // Noise, so that the file is larger than its thumbnail.
        quint32 state = 1;
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                state = state * 1664525u + 1013904223u;
                image.setPixel(x, y, state);
            }
        }
        REQUIRE(image.save(folder.path(QString::fromUtf8(name))));
    }

    QImage of(const char* name) { return QImage::fromData(bytesOf(name)); }
    QByteArray bytesOf(const char* name) { return thumbnails.of(*content.open(QString::fromUtf8(name))); }

    Folder folder;
    ContentFolder content{folder.path()};
    Thumbnails thumbnails;
};

}

TEST_CASE_FIXTURE(ThumbnailsFixture, "thumbnails: a picture is scaled into the square, with its proportions")
{
    paint("wide.png", 1440, 360);
    paint("high.jpg", 300, 1500);
    paint("clear.png", 900, 900, QImage::Format_ARGB32);
    CHECK(of("wide.png").size() == QSize(720, 180));
    CHECK(of("high.jpg").size() == QSize(144, 720));
    CHECK(bytesOf("wide.png").startsWith("\xff\xd8"));
    CHECK(bytesOf("clear.png").startsWith("\x89PNG"));
    CHECK(of("clear.png").hasAlphaChannel());
}

TEST_CASE_FIXTURE(ThumbnailsFixture, "thumbnails: what is small enough, is no picture or is too large to decode has none")
{
    paint("small.png", 720, 720);
    folder.write(QStringLiteral("text.png"), "no picture");
    folder.write(QStringLiteral("drawing.png"), "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"2000\" height=\"2000\"/>");
    // A header of 20000 x 20000 points, and nothing else.
    folder.write(QStringLiteral("bomb.png"),
                 QByteArray::fromHex("89504e470d0a1a0a0000000d4948445200004e2000004e200802000000")
                     + QByteArray::fromHex("00000000") + QByteArray(64, 0));
    // Compressed texts, of which a decoder keeps 24 MB each.
    paint("wide.png", 1440, 360);
    QFile wide(folder.path(QStringLiteral("wide.png")));
    REQUIRE(wide.open(QIODevice::ReadOnly));
    QByteArray texts = wide.readAll();
    texts.insert(33, (QByteArray::fromHex("00001f40") + "zTXt" + QByteArray(8004, 'x')).repeated(6));
    folder.write(QStringLiteral("texts.png"), texts);
    for (const char* name : {"small.png", "text.png", "drawing.png", "bomb.png", "texts.png"}) {
        CAPTURE(name);
        CHECK(bytesOf(name).isNull());
    }
    CHECK(thumbnails.made() == 0);
}

TEST_CASE_FIXTURE(ThumbnailsFixture, "thumbnails: one is made once, and again when its file has changed")
{
    paint("boat.png", 900, 900);
    const QByteArray first = bytesOf("boat.png");
    CHECK(bytesOf("boat.png") == first);
    CHECK(thumbnails.made() == 1);
    paint("boat.png", 900, 800);
    CHECK(of("boat.png").size() == QSize(720, 640));
    CHECK(thumbnails.made() == 2);
}

TEST_CASE_FIXTURE(ThumbnailsFixture, "thumbnails: within the memory for them the last ones used are kept")
{
    for (const char* name : {"one.png", "two.png", "three.png"})
        paint(name, 900, 900);
    const qint64 each = bytesOf("one.png").size();
    Thumbnails two(each * 5 / 2);
    const auto use = [&](const char* name) { (void)two.of(*content.open(QString::fromUtf8(name))); };
    use("one.png");
    use("two.png");
    use("one.png");
    CHECK(two.made() == 2);
    use("three.png");
    use("one.png");
    CHECK(two.made() == 3);
    use("two.png");
    CHECK(two.made() == 4);
}

TEST_CASE_FIXTURE(ThumbnailsFixture, "thumbnails: a file that was read is at its beginning again")
{
    paint("large.png", 900, 900);
    paint("small.png", 300, 300);
    for (const char* name : {"large.png", "small.png"}) {
        CAPTURE(name);
        const Http::File file = std::move(*content.open(QString::fromUtf8(name)));
        (void)thumbnails.of(file);
        CHECK(::lseek(file.descriptor(), 0, SEEK_CUR) == 0);
    }
}
