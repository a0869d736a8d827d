#include <doctest/doctest.h>

#include "picture/KeptImage.hpp"

#include "ImageScene.hpp"

#include <Bedrock/DecodedFiles.hpp>

#include <QDir>

using Bedrock::DecodedFiles;
using Trellis::ImageSize;
using Trellis::readImage;
using Trellis::readKeptImage;
using TrellisTest::halves;

namespace
{
constexpr ImageSize kWithin64{ImageSize::Side::Longest, 64};
constexpr int kKeptHeadBytes = 20;

/// A folder of pictures of which the process keeps what they are decoded to.
struct Keeping
{
    Keeping() { DecodedFiles::setShared(files); }
    ~Keeping() { DecodedFiles::setShared(nullptr); }

    QString save(const char* name, const QImage& image) const
    {
        const QString path = folder.filePath(QString::fromLatin1(name));
        REQUIRE(image.save(path));
        return path;
    }
    DecodedFiles::Source source(const QString& path, const char* wanted = "picture longest 64") const
    {
        const auto found = files->source(path, wanted);
        REQUIRE(found);
        return *found;
    }
    QByteArray bytes(const QString& path) const
    {
        const auto found = files->find(source(path));
        REQUIRE(found);
        return QByteArray(found->data(), int(found->size()));
    }
    int count() const { return QDir(entries.path()).entryList(QDir::Files).size(); }

    QTemporaryDir folder;
    QTemporaryDir entries;
    std::shared_ptr<DecodedFiles> files =
        std::make_shared<DecodedFiles>(DecodedFiles::Settings{entries.path(), 10 << 20, folder.path(), {}});
};
}

TEST_CASE("kept image: a picture is the same whether it was decoded or kept, with its alpha and the size of its file")
{
    const Keeping keeping;
    QImage glass(200, 100, QImage::Format_ARGB32);
    glass.fill(QColor(200, 100, 50, 128));
    struct Row
    {
        const char* what;
        QString path;
        ImageSize size;
    };
    const Row rows[] = {{"scaled down", keeping.save("a.png", halves(200, 100)), kWithin64},
                        {"filling", keeping.save("b.png", halves(200, 100)), {ImageSize::Side::Shortest, 64}},
                        {"as large as it is", keeping.save("c.png", halves(33, 7)), {}},
                        {"with alpha", keeping.save("d.png", glass), kWithin64}};
    for (const Row& row : rows) {
        CAPTURE(row.what);
        const int before = keeping.count();
        const auto decoded = readKeptImage(row.path, row.size);
        CHECK(keeping.count() == before + 1);
        const auto kept = readKeptImage(row.path, row.size);
        CHECK(kept.image == decoded.image);
        CHECK(kept.image.format() == decoded.image.format());
        CHECK(kept.image == readImage(row.path, row.size).image);
        CHECK(kept.fullSize == decoded.fullSize);
        CHECK(kept.error.isEmpty());
        CHECK(keeping.count() == before + 1);
    }
}

TEST_CASE("kept image: a picture that is kept is not decoded")
{
    const Keeping keeping;
    const QString path = keeping.save("a.png", halves(200, 100, Qt::red));
    REQUIRE(readKeptImage(path, kWithin64).image.pixelColor(0, 0) == QColor(Qt::red));
    QByteArray bytes = keeping.bytes(path);
    bytes[kKeptHeadBytes + 2] = char(1); // the red of the first pixel
    keeping.files->keep(keeping.source(path), bytes);
    CHECK(readKeptImage(path, kWithin64).image.pixelColor(0, 0) == QColor(1, 0, 0));
    // Another size of it is decoded.
    CHECK(readKeptImage(path, {ImageSize::Side::Longest, 128}).image.pixelColor(0, 0) == QColor(Qt::red));
    CHECK(readKeptImage(path, {ImageSize::Side::Shortest, 64}).image.pixelColor(0, 0) == QColor(Qt::red));
}

TEST_CASE("kept image: kept bytes that are no picture are not shown")
{
    const Keeping keeping;
    const QString path = keeping.save("a.png", halves(200, 100));
    const QImage expected = readKeptImage(path, kWithin64).image;
    const QByteArray bytes = keeping.bytes(path);
    const auto with = [&bytes](int at, char value) {
        QByteArray changed = bytes;
        changed[at] = value;
        return changed;
    };
    const QByteArray rows[] = {{},
                               bytes.left(kKeptHeadBytes - 1),
                               bytes.left(kKeptHeadBytes),
                               bytes.left(bytes.size() - 1),
                               bytes + 'x',
                               with(0, 65),
                               with(3, char(0x80)),
                               with(4, 31),
                               with(7, char(0x80)),
                               QByteArray(kKeptHeadBytes, '\0')};
    for (const QByteArray& row : rows) {
        CAPTURE(row.size());
        keeping.files->keep(keeping.source(path), row);
        CHECK(readKeptImage(path, kWithin64).image == expected);
        CHECK(keeping.bytes(path) == bytes); // and kept anew
    }
}

TEST_CASE("kept image: a file that cannot be decoded gives its reason each time")
{
    const Keeping keeping;
    const QString path = keeping.folder.filePath(QStringLiteral("a.png"));
    QFile file(path);
    REQUIRE(file.open(QIODevice::WriteOnly));
    file.write("no picture");
    file.close();
    for (int i = 0; i < 2; ++i) {
        const auto read = readKeptImage(path, kWithin64);
        CHECK(read.image.isNull());
        CHECK(read.error == readImage(path, kWithin64).error);
    }
    CHECK(keeping.count() == 0);
}

TEST_CASE("kept image: a picture outside of the presentation is decoded each time")
{
    const Keeping keeping;
    QTemporaryDir elsewhere;
    const QString path = elsewhere.filePath(QStringLiteral("a.png"));
    REQUIRE(halves(20, 10).save(path));
    CHECK(readKeptImage(path, kWithin64).image == readImage(path, kWithin64).image);
    CHECK(keeping.count() == 0);
}

TEST_CASE("kept image: a kept picture shows its new pixels when its file is replaced")
{
    const Keeping keeping;
    const QString path = keeping.save("a.png", halves(20, 10, Qt::red));
    REQUIRE(readKeptImage(path, kWithin64).image.pixelColor(0, 0) == QColor(Qt::red));
    const QString next = keeping.save("next.png", halves(20, 10, Qt::green));
    REQUIRE(QFile::remove(path));
    REQUIRE(QFile::rename(next, path));
    CHECK(readKeptImage(path, kWithin64).image.pixelColor(0, 0) == QColor(Qt::green));
}
