#include "CollectionArchive.hpp"

#include "ContentFolder.hpp"
#include "Folder.hpp"

#include <doctest/doctest.h>

#include <QMap>
#include <QProcess>

#include <sys/stat.h>
#include <unistd.h>

using namespace MediaServer;

namespace
{

QByteArray bytesOf(const Http::File& file)
{
    struct stat status;
    REQUIRE(::fstat(file.descriptor(), &status) == 0);
    QByteArray bytes(int(status.st_size), '\0');
    REQUIRE(::pread(file.descriptor(), bytes.data(), std::size_t(bytes.size()), 0) == bytes.size());
    return bytes;
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

} // namespace

TEST_CASE("collection archive: files and texts are packed under their names, in any script, and twins get numbers")
{
    const Folder folder;
    const ContentFolder content(folder.path());
    folder.write(QStringLiteral("boat.png"), QByteArray(200'000, 'b'));
    folder.write(QString::fromUtf8("käsityö.pdf"), "%PDF");
    std::vector<ArchiveEntry> entries;
    entries.push_back({QStringLiteral("boat.png"), std::move(*content.open(QStringLiteral("boat.png"))), {}});
    entries.push_back({QString::fromUtf8("käsityö.pdf"), std::move(*content.open(QString::fromUtf8("käsityö.pdf"))), {}});
    entries.push_back({QStringLiteral("boat.png"), std::move(*content.open(QStringLiteral("boat.png"))), {}});
    entries.push_back({QStringLiteral("links.html"), {}, "<a>"});
    const auto packed = packCollection(entries);
    REQUIRE(packed);
    const auto files = unpack(bytesOf(*packed));
    CHECK(files.size() == 4);
    CHECK((files.value(QStringLiteral("boat.png")) == QByteArray(200'000, 'b')));
    CHECK((files.value(QStringLiteral("boat (2).png")) == QByteArray(200'000, 'b')));
    CHECK(files.value(QString::fromUtf8("käsityö.pdf")) == "%PDF");
    CHECK(files.value(QStringLiteral("links.html")) == "<a>");
}

TEST_CASE("collection archive: an empty collection is an archive, too, and none leaves a file behind")
{
    const auto packed = packCollection({});
    REQUIRE(packed);
    CHECK(bytesOf(*packed).startsWith("PK"));
    struct stat status;
    REQUIRE(::fstat(packed->descriptor(), &status) == 0);
    CHECK(status.st_nlink == 0);
}
