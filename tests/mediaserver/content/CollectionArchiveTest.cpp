#include "content/CollectionArchive.hpp"

#include "Folder.hpp"
#include "content/ContentFolder.hpp"

#include <doctest/doctest.h>

#include <QMap>
#include <QProcess>

#include <utility>

using namespace MediaServer;

namespace
{

/// The whole archive; counts its pieces.
QByteArray bytesOf(CollectionArchive& archive, int* pieces = nullptr)
{
    QByteArray bytes;
    for (;;) {
        const auto piece = archive.next();
        REQUIRE(piece);
        CHECK(piece->size() <= 16 * 1024);
        if (piece->isEmpty())
            return bytes;
        bytes += *piece;
        if (pieces)
            ++*pieces;
    }
}

ArchiveEntry entryOf(const ContentFolder& content, const QString& name)
{
    return {name,
            [&content, name] {
                auto opened = content.open(name);
                return opened ? std::move(*opened) : Http::File();
            },
            {}};
}

/// What another program reads out of an archive: each name with its content.
QMap<QString, QByteArray> unpack(const QByteArray& zip)
{
    const Folder folder;
    folder.write(QStringLiteral("all.zip"), zip);
    QProcess python;
    python.start(QStringLiteral("python3"),
                 {QStringLiteral("-c"),
                  QStringLiteral("import sys, zipfile; z = zipfile.ZipFile(sys.argv[1]); assert z.testzip() is None; "
                                 "[print(i.filename.encode().hex(), z.read(i).hex(), i.compress_type) for i in z.infolist()]"),
                  folder.path(QStringLiteral("all.zip"))});
    REQUIRE(python.waitForFinished(60000));
    REQUIRE_MESSAGE(python.exitCode() == 0, python.readAllStandardError().toStdString());
    QMap<QString, QByteArray> result;
    for (const QByteArray& line : python.readAllStandardOutput().split('\n')) {
        const QList<QByteArray> parts = line.split(' ');
        if (parts.size() != 3)
            continue;
        result[QString::fromUtf8(QByteArray::fromHex(parts[0]))] = QByteArray::fromHex(parts[1]);
        CHECK(parts[2] == "0"); // stored
    }
    return result;
}

}

TEST_CASE("collection archive: files and texts are packed under their names, in any script, and twins get numbers")
{
    const Folder folder;
    const ContentFolder content(folder.path());
    folder.write(QStringLiteral("boat.png"), QByteArray(200'000, 'b'));
    folder.write(QString::fromUtf8("käsityö.pdf"), "%PDF");
    const QString finnish = QString::fromUtf8("käsityö.pdf");
    CollectionArchive archive({entryOf(content, QStringLiteral("boat.png")),
                               entryOf(content, finnish),
                               entryOf(content, QStringLiteral("boat.png")),
                               entryOf(content, QStringLiteral("gone.png")),
                               {QStringLiteral("links.html"), {}, "<a>"}});
    int pieces = 0;
    const auto files = unpack(bytesOf(archive, &pieces));
    CHECK(pieces > 40);
    CHECK(files.size() == 4);
    CHECK((files.value(QStringLiteral("boat.png")) == QByteArray(200'000, 'b')));
    CHECK((files.value(QStringLiteral("boat (2).png")) == QByteArray(200'000, 'b')));
    CHECK(files.value(QString::fromUtf8("käsityö.pdf")) == "%PDF");
    CHECK(files.value(QStringLiteral("links.html")) == "<a>");
}

TEST_CASE("collection archive: an empty collection is an archive, too, and its end stays the end")
{
    CollectionArchive archive({});
    CHECK(bytesOf(archive).startsWith("PK"));
    CHECK(archive.next()->isEmpty());
}

TEST_CASE("collection archive: files are opened one after the other")
{
    const Folder folder;
    const ContentFolder content(folder.path());
    folder.write(QStringLiteral("one.png"), QByteArray(100'000, '1'));
    int opened = 0;
    const auto counted = [&] {
        ++opened;
        return std::move(*content.open(QStringLiteral("one.png")));
    };
    CollectionArchive archive({{QStringLiteral("one.png"), counted, {}}, {QStringLiteral("two.png"), counted, {}}});
    CHECK(opened == 0);
    REQUIRE(archive.next());
    CHECK(opened == 1);
    CHECK(bytesOf(archive).size() > 190'000);
    CHECK(opened == 2);
}

TEST_CASE("collection archive: a file that is cut while it is read fails the archive")
{
    const Folder folder;
    const ContentFolder content(folder.path());
    folder.write(QStringLiteral("boat.png"), QByteArray(100'000, 'b'));
    CollectionArchive archive({entryOf(content, QStringLiteral("boat.png"))});
    REQUIRE(archive.next());
    folder.write(QStringLiteral("boat.png"), "short");
    bool isWhole = true;
    for (auto piece = archive.next(); isWhole && !(piece && piece->isEmpty()); piece = archive.next())
        isWhole = piece.has_value();
    CHECK_FALSE(isWhole);
}
