#include "picture/ImageReading.hpp"
#include "MadePictures.hpp"

#include <QFile>
#include <QTemporaryDir>

#include <doctest/doctest.h>

#include <sys/resource.h>

using Trellis::ImageSize;
using Trellis::readImage;
using Trellis::ReadImage;

namespace
{
constexpr QSize kHuge(14000, 14000);

struct Folder
{
    QTemporaryDir dir;
    QString write(const char* name, const QByteArray& bytes) const
    {
        QFile file(dir.filePath(QString::fromLatin1(name)));
        REQUIRE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return file.fileName();
    }
};

/// The most memory that this process has had.
long mostKilobytes()
{
    rusage usage{};
    REQUIRE(getrusage(RUSAGE_SELF, &usage) == 0);
    return usage.ru_maxrss;
}
}

TEST_CASE("image reading: a small file that announces a huge picture is refused by its header, and costs no memory")
{
    const Folder folder;
    const QByteArray png = TestSupport::blackPng(kHuge);
    CHECK(png.size() < 100'000);
    const QString path = folder.write("huge.png", png);
    const long before = mostKilobytes();
    const ReadImage read = readImage(path, {ImageSize::Side::Longest, 1024});
    CHECK(read.image.isNull());
    CHECK(
        read.error
        == "14000 x 14000 pixels need 775 MB of memory to decode, and the limit is 256 MB; make it smaller, or save it as JPEG, "
           "which is decoded scaled down");
    CHECK(mostKilobytes() - before < 50 * 1024);

    // The largest that fit are shown.
    CHECK(readImage(folder.write("large.png", TestSupport::blackPng({6000, 6000})), {ImageSize::Side::Longest, 1024}).image.size()
          == QSize(1024, 1024));
}

TEST_CASE("image reading: a huge photograph is decoded scaled down, within the limit however large it is wanted")
{
    const Folder folder;
    const QString path = folder.write("huge.jpg", TestSupport::greyJpeg(kHuge));
    const long before = mostKilobytes();
    const ReadImage read = readImage(path, {ImageSize::Side::Longest, 1024});
    CHECK(read.error.isEmpty());
    CHECK(read.fullSize == kHuge);
    CHECK(read.image.size() == QSize(1024, 1024));
    CHECK(read.image.pixelColor(1000, 1000) == QColor(128, 128, 128));
    CHECK(mostKilobytes() - before < 100 * 1024);

    const ReadImage enlarged = readImage(path, {ImageSize::Side::Longest, 1 << 15});
    CHECK(enlarged.fullSize == kHuge);
    CHECK(enlarged.image.width() > 4096);
    CHECK(enlarged.image.width() < kHuge.width());
    CHECK(enlarged.image.sizeInBytes() < Trellis::kMostDecodingBytes);
}

TEST_CASE("image reading: a huge progressive JPEG is refused, since its decoder holds all of it")
{
    const Folder folder;
    const QString path = folder.write("huge.jpg", TestSupport::greyJpeg(kHuge, '\xc2'));
    const ReadImage read = readImage(path, {ImageSize::Side::Longest, 1024});
    CHECK(read.image.isNull());
    CHECK(read.error.startsWith(QLatin1String("14000 x 14000 pixels need ")));
    CHECK(read.error.endsWith(QLatin1String("make it smaller, or save it as a JPEG that is not progressive")));
}

TEST_CASE("image reading: an icon does not hide a huge picture, and what announces no size is not decoded")
{
    const Folder folder;
    CHECK(readImage(folder.write("huge.ico", TestSupport::iconWith(TestSupport::blackPng(kHuge))), {})
              .error.startsWith(QLatin1String("14000 x 14000 pixels need ")));
    CHECK(readImage(folder.write("torn.png", TestSupport::pngHeader(kHuge).left(20)), {}).error
          == "damaged, or of a kind (png) that does not announce its size; save it as PNG or JPEG");
    CHECK(readImage(folder.write("text.png", "no picture"), {}).error
          == "no picture of a kind that can be read; save it as PNG or JPEG");
    CHECK(readImage(folder.write("small.ico", TestSupport::iconWith(TestSupport::blackPng({16, 16}))), {}).image.size()
          == QSize(16, 16));
}

TEST_CASE("image reading: texts in a small picture cost no memory, and scans no time")
{
    const Folder folder;
    QByteArray texts = TestSupport::blackPng({10, 10});
    constexpr int kAfterHeader = 33;
    const QByteArray text = QByteArray::fromHex("00001f40") + "zTXt" + QByteArray(8004, 'x');
    texts.insert(kAfterHeader, text.repeated(6));
    CHECK(readImage(folder.write("texts.png", texts), {}).error
          == "the texts in it may take more than 128 MB of memory; save it without them");
    CHECK(readImage(folder.write("texts.ico", TestSupport::iconWith(texts)), {})
              .error.startsWith(QLatin1String("the texts in it")));
    QByteArray scans = TestSupport::greyJpeg({16, 16});
    scans.insert(scans.size() - 2, QByteArray("\xff\xda").repeated(64));
    CHECK(readImage(folder.write("scans.jpg", scans), {}).error
          == "it has more than 64 scans; save it as a JPEG that is not progressive");
}
