#include <Bedrock/DecodedFiles.hpp>

#include <doctest/doctest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cstdint>
#include <ctime>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using Bedrock::DecodedFiles;

namespace
{
constexpr int kEntryHeadBytes = 56;

/// A presentation's folder, the data of its visitors in it, and a folder of entries that does not exist yet.
struct Decoding
{
    explicit Decoding(qint64 bytes = 1 << 20) : mostBytes(bytes)
    {
        REQUIRE(QDir(dir.path()).mkpath(QStringLiteral("show/data")));
        REQUIRE(QDir(dir.path()).mkpath(QStringLiteral("other")));
    }
    DecodedFiles files() const { return DecodedFiles({entries(), mostBytes, path("show"), {path("show/data")}}); }
    QString path(const char* name) const { return dir.filePath(QString::fromLatin1(name)); }
    QString entries() const { return path("cache/tavola/decoded"); }
    QStringList names() const { return QDir(entries()).entryList(QDir::Files | QDir::Hidden); }
    QString entry() const
    {
        REQUIRE(names().size() == 1);
        return entries() + QLatin1Char('/') + names().first();
    }

    QString write(const char* name, const QByteArray& bytes) const
    {
        QFile file(path(name));
        REQUIRE(file.open(QIODevice::WriteOnly));
        REQUIRE(file.write(bytes) == bytes.size());
        return file.fileName();
    }
    /// Keeps what came of a file, which must be one of which something is kept.
    void keep(const QString& file, const QByteArray& decoded, const QByteArray& wanted = "large") const
    {
        DecodedFiles kept = files();
        const auto source = kept.source(file, wanted);
        REQUIRE(source);
        kept.keep(*source, decoded);
    }
    /// What is found in another run of the program.
    std::optional<QByteArray> find(const QString& file, const QByteArray& wanted = "large") const
    {
        const DecodedFiles kept = files();
        const auto source = kept.source(file, wanted);
        REQUIRE(source);
        const auto found = kept.find(*source);
        return found ? std::optional<QByteArray>(QByteArray(found->data(), int(found->size()))) : std::nullopt;
    }
    /// Changes one byte of the only entry.
    void damage(int at) const
    {
        QFile file(entry());
        REQUIRE(file.open(QIODevice::ReadWrite));
        REQUIRE(file.seek(at));
        char byte = 0;
        REQUIRE(file.read(&byte, 1) == 1);
        byte = char(byte ^ 4);
        REQUIRE(file.seek(at));
        REQUIRE(file.write(&byte, 1) == 1);
    }

    QTemporaryDir dir;
    qint64 mostBytes;
};

void setUsed(const QString& file, std::time_t secondsAgo)
{
    const struct timespec time = {std::time(nullptr) - secondsAgo, 0};
    const struct timespec times[] = {time, time};
    REQUIRE(::utimensat(AT_FDCWD, QFile::encodeName(file).constData(), times, 0) == 0);
}

/// Bytes of which no two parts are the same.
QByteArray decodedBytes(int count)
{
    QByteArray bytes;
    for (int i = 0; i < count; ++i)
        bytes.append(char(i * 7 + i / 256));
    return bytes;
}
}

TEST_CASE("decoded files: what was kept of a file is found by the next run, byte for byte")
{
    const Decoding decoding;
    const QString file = decoding.write("show/a.png", "a");
    for (const int count : {0, 1, 31, 32, 33, 5000}) {
        CAPTURE(count);
        decoding.keep(file, decodedBytes(count));
        CHECK(decoding.find(file) == decodedBytes(count));
    }
    CHECK(decoding.names().size() == 1); // each replaced the one before
}

TEST_CASE("decoded files: nothing is found of what was never kept, of another file, or when another result is wanted")
{
    const Decoding decoding;
    const QString a = decoding.write("show/a.png", "a");
    const QString b = decoding.write("show/b.png", "b");
    CHECK_FALSE(decoding.find(a));
    decoding.keep(a, "pixels");
    CHECK_FALSE(decoding.find(b));
    CHECK_FALSE(decoding.find(a, "small"));
    decoding.keep(a, "few pixels", "small");
    CHECK(decoding.find(a) == QByteArray("pixels"));
    CHECK(decoding.find(a, "small") == QByteArray("few pixels"));
}

TEST_CASE("decoded files: of a file that has changed nothing is found, even with its old length and time")
{
    const Decoding decoding;
    const QString file = decoding.write("show/a.png", "a");
    setUsed(file, 100000);
    const struct timespec before = [&file] {
        struct stat status = {};
        REQUIRE(::stat(QFile::encodeName(file).constData(), &status) == 0);
        return status.st_mtim;
    }();
    decoding.keep(file, "pixels");
    REQUIRE(decoding.find(file));
    // A new file in the place of the old one: the clock of the file system may stand still between two changes of one file.
    const QString other = decoding.write("show/new.png", "b");
    const struct timespec times[] = {before, before};
    REQUIRE(::utimensat(AT_FDCWD, QFile::encodeName(other).constData(), times, 0) == 0);
    REQUIRE(::rename(QFile::encodeName(other).constData(), QFile::encodeName(file).constData()) == 0);
    CHECK_FALSE(decoding.find(file));
}

TEST_CASE("decoded files: what came of a file that changed while it was decoded is not kept")
{
    const Decoding decoding;
    const QString file = decoding.write("show/a.png", "a");
    DecodedFiles kept = decoding.files();
    const auto source = kept.source(file, "large");
    REQUIRE(source);
    decoding.write("show/a.png", "longer");
    kept.keep(*source, "old pixels");
    CHECK_FALSE(decoding.find(file));
    CHECK(decoding.names().isEmpty());
}

TEST_CASE("decoded files: a damaged entry is not found, wherever the damage lies, and can be kept anew")
{
    const Decoding decoding;
    const QString file = decoding.write("show/a.png", "a");
    for (const int at :
         {0, 15, 16, 35, 36, 40, 48, 55, kEntryHeadBytes, kEntryHeadBytes + 31, kEntryHeadBytes + 32, kEntryHeadBytes + 99}) {
        CAPTURE(at);
        decoding.keep(file, decodedBytes(100));
        REQUIRE(decoding.find(file));
        decoding.damage(at);
        CHECK_FALSE(decoding.find(file));
    }
    decoding.keep(file, decodedBytes(100));
    CHECK(decoding.find(file) == decodedBytes(100));
}

TEST_CASE("decoded files: an entry that was cut short or has become longer is not found")
{
    const Decoding decoding;
    const QString file = decoding.write("show/a.png", "a");
    for (const int length : {0, 10, kEntryHeadBytes, kEntryHeadBytes + 99, kEntryHeadBytes + 101}) {
        CAPTURE(length);
        decoding.keep(file, decodedBytes(100));
        REQUIRE(QFile::resize(decoding.entry(), length));
        CHECK_FALSE(decoding.find(file));
    }
}

TEST_CASE("decoded files: an entry under the name of another one is not found")
{
    const Decoding decoding;
    const QString a = decoding.write("show/a.png", "a");
    const QString b = decoding.write("show/b.png", "b");
    decoding.keep(b, "of b");
    const QString entryOfB = decoding.entry();
    REQUIRE(QFile::remove(entryOfB));
    decoding.keep(a, "of a");
    REQUIRE(QFile::rename(decoding.entry(), entryOfB));
    CHECK_FALSE(decoding.find(b));
}

TEST_CASE("decoded files: links, pipes and what others may write are no entries")
{
    const Decoding decoding;
    const QString file = decoding.write("show/a.png", "a");
    decoding.keep(file, "pixels");
    const QString entry = decoding.entry();
    const QByteArray name = QFile::encodeName(entry);

    REQUIRE(::chmod(name.constData(), 0620) == 0);
    CHECK_FALSE(decoding.find(file));
    REQUIRE(::chmod(name.constData(), 0600) == 0);
    CHECK(decoding.find(file));

    const QString moved = decoding.path("other/moved");
    REQUIRE(QFile::rename(entry, moved));
    REQUIRE(QFile::link(moved, entry));
    CHECK_FALSE(decoding.find(file));

    REQUIRE(QFile::remove(entry));
    REQUIRE(::mkfifo(name.constData(), 0600) == 0);
    CHECK_FALSE(decoding.find(file)); // at once: nothing writes to the pipe
}

TEST_CASE("decoded files: a folder that others may write to, or that is a link, is neither read nor written")
{
    const Decoding decoding;
    const QString file = decoding.write("show/a.png", "a");
    decoding.keep(file, "pixels");
    const QByteArray folder = QFile::encodeName(decoding.entries());
    REQUIRE(::chmod(folder.constData(), 0770) == 0);
    CHECK_FALSE(decoding.find(file));
    decoding.keep(file, "other");
    REQUIRE(::chmod(folder.constData(), 0700) == 0);
    CHECK(decoding.find(file) == QByteArray("pixels"));

    REQUIRE(::rename(folder.constData(), QByteArray(folder + "-real").constData()) == 0);
    REQUIRE(::symlink(QByteArray(folder + "-real").constData(), folder.constData()) == 0);
    CHECK_FALSE(decoding.find(file));
}

TEST_CASE("decoded files: folder and entries are open to their user alone, and their names say nothing")
{
    const mode_t before = ::umask(0);
    const Decoding decoding;
    decoding.keep(decoding.write("show/visitors.png", "a"), "pixels");
    ::umask(before);
    for (const QString& made : {decoding.entries(), decoding.entry()}) {
        struct stat status = {};
        REQUIRE(::stat(QFile::encodeName(made).constData(), &status) == 0);
        CHECK((status.st_mode & 077) == 0);
    }
    CHECK_FALSE(decoding.entry().contains(QLatin1String("visitors")));
    QFile entry(decoding.entry());
    REQUIRE(entry.open(QIODevice::ReadOnly));
    CHECK_FALSE(entry.readAll().contains("visitors"));
}

TEST_CASE("decoded files: nothing is kept of files outside of the presentation, nor of visitors' data in it")
{
    const Decoding decoding;
    const DecodedFiles kept = decoding.files();
    CHECK(kept.source(decoding.write("show/a.png", "a"), "large"));
    CHECK_FALSE(kept.source(decoding.write("other/a.png", "a"), "large"));
    CHECK_FALSE(kept.source(decoding.write("shower.png", "a"), "large"));
    CHECK_FALSE(kept.source(decoding.path("show/../other/a.png"), "large"));
    const QString visitors = decoding.write("show/data/photo.png", "a");
    CHECK_FALSE(kept.source(visitors, "large"));
    const QString link = decoding.path("show/link.png");
    REQUIRE(QFile::link(visitors, link));
    CHECK_FALSE(kept.source(link, "large"));
    CHECK_FALSE(kept.source(decoding.path("show/missing.png"), "large"));
    CHECK_FALSE(kept.source(decoding.path("show/data"), "large"));
}

TEST_CASE(
    "decoded files: a folder of visitors' data above the presentation takes nothing away, the presentation's folder itself all")
{
    const Decoding decoding;
    const QString file = decoding.write("show/a.png", "a");
    const DecodedFiles above({decoding.entries(), 1000, decoding.path("show"), {decoding.dir.path()}});
    CHECK(above.source(file, "large"));
    const DecodedFiles same({decoding.entries(), 1000, decoding.path("show"), {decoding.path("show")}});
    CHECK_FALSE(same.source(file, "large"));
}

TEST_CASE("decoded files: beyond the limit the entry goes whose use lies back furthest")
{
    const Decoding decoding(3 * (kEntryHeadBytes + 100));
    std::vector<QString> files;
    for (const char* name : {"show/a", "show/b", "show/c"}) {
        files.push_back(decoding.write(name, name));
        const QStringList before = decoding.names();
        decoding.keep(files.back(), decodedBytes(100));
        for (const QString& entry : decoding.names())
            if (!before.contains(entry))
                setUsed(decoding.entries() + QLatin1Char('/') + entry, 90000 - 10000 * int(files.size()));
    }
    CHECK(decoding.names().size() == 3);
    CHECK(decoding.find(files[0])); // which is a use
    const QString last = decoding.write("show/d", "d");
    decoding.keep(last, decodedBytes(100));
    CHECK(decoding.names().size() == 3);
    CHECK(decoding.find(files[0]));
    CHECK_FALSE(decoding.find(files[1]));
    CHECK(decoding.find(files[2]));
    CHECK(decoding.find(last));
}

TEST_CASE("decoded files: what is larger than the limit is not kept, and removes nothing")
{
    const Decoding decoding(kEntryHeadBytes + 100);
    const QString a = decoding.write("show/a", "a");
    decoding.keep(a, decodedBytes(100));
    decoding.keep(decoding.write("show/b", "b"), decodedBytes(101));
    CHECK(decoding.names().size() == 1);
    CHECK(decoding.find(a));
}

TEST_CASE("decoded files: an entry that is replaced does not push out another one")
{
    const Decoding decoding(2 * (kEntryHeadBytes + 100));
    const QString a = decoding.write("show/a", "a");
    const QString b = decoding.write("show/b", "b");
    decoding.keep(a, decodedBytes(100));
    decoding.keep(b, decodedBytes(100));
    decoding.keep(b, decodedBytes(99));
    CHECK(decoding.find(a));
    CHECK(decoding.find(b) == decodedBytes(99));
}

TEST_CASE("decoded files: what was given up while it was written is removed, and files of others stay")
{
    const Decoding decoding;
    const QString file = decoding.write("show/a", "a");
    decoding.keep(file, "pixels");
    const QString old = decoding.write("cache/tavola/decoded/new-1-old", "half");
    setUsed(old, 7200);
    const QString young = decoding.write("cache/tavola/decoded/new-2-young", "half");
    const QString foreign = decoding.write("cache/tavola/decoded/README", "mine");
    setUsed(foreign, 7200);
    decoding.keep(file, "pixels");
    CHECK_FALSE(QFileInfo::exists(old));
    CHECK(QFileInfo::exists(young));
    CHECK(QFileInfo::exists(foreign));
}

TEST_CASE("decoded files: the process keeps nothing until it is given a folder")
{
    CHECK(DecodedFiles::shared() == nullptr);
    const Decoding decoding;
    DecodedFiles::setShared(
        std::make_shared<DecodedFiles>(DecodedFiles::Settings{decoding.entries(), 1000, decoding.path("show"), {}}));
    CHECK(DecodedFiles::shared() != nullptr);
    DecodedFiles::setShared(nullptr);
    CHECK(DecodedFiles::shared() == nullptr);
}

TEST_CASE("decoded files: what was found stays as it is when its entry is replaced and removed")
{
    const Decoding decoding;
    const QString file = decoding.write("show/a", "a");
    decoding.keep(file, "first");
    const DecodedFiles kept = decoding.files();
    const auto found = kept.find(*kept.source(file, "large"));
    REQUIRE(found);
    decoding.keep(file, "other");
    REQUIRE(QFile::remove(decoding.entry()));
    CHECK(found->view() == "first");
    CHECK(reinterpret_cast<std::uintptr_t>(found->data()) % 4 == 0);
}
