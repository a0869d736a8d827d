#include <Bedrock/BoundedFile.hpp>

#include <doctest/doctest.h>

#include <QTemporaryDir>

#include <QFile>

#include <sys/stat.h>

using Bedrock::readBoundedFile;

TEST_CASE("bounded file: all of it, or nothing of what is larger than the limit")
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("list.csv"));
    QFile file(path);
    REQUIRE(file.open(QIODevice::WriteOnly));
    REQUIRE(file.write("a\0b", 3) == 3);
    file.close();
    QString error;
    CHECK(readBoundedFile(path, 1, error) == QByteArray("a\0b", 3));
    CHECK(error.isEmpty());

    REQUIRE(QFile::resize(path, 1 << 20));
    const auto whole = readBoundedFile(path, 1, error);
    REQUIRE(whole);
    CHECK(whole->size() == 1 << 20);
    REQUIRE(QFile::resize(path, (1 << 20) + 1));
    CHECK_FALSE(readBoundedFile(path, 1, error));
    CHECK(error == "it has 1.0 MiB, the limit is 1 MiB");
    REQUIRE(QFile::resize(path, qint64(5) << 30)); // sparse
    CHECK_FALSE(readBoundedFile(path, 1, error));
    CHECK(error == "it has 5120.0 MiB, the limit is 1 MiB");
}

TEST_CASE("bounded file: what has no size ends at the limit, and what cannot be read says why")
{
    QString error;
    // Far more than 1 MiB on every Linux, and of size 0.
    CHECK_FALSE(readBoundedFile(QStringLiteral("/proc/kallsyms"), 1, error));
    CHECK(error == "it has more than the limit of 1 MiB");
    error.clear();
    CHECK(readBoundedFile(QStringLiteral("/proc/self/cmdline"), 1, error));
    CHECK(error.isEmpty());
    const auto mappings = readBoundedFile(QStringLiteral("/proc/self/smaps"), 64, error);
    REQUIRE(mappings);
    CHECK(mappings->size() > 4096); // in many pieces, to its end
    CHECK(mappings->endsWith('\n'));
    CHECK_FALSE(readBoundedFile(QStringLiteral("/none/list.csv"), 1, error));
    CHECK(error == "No such file or directory");
    CHECK_FALSE(readBoundedFile(QStringLiteral("/"), 1, error));
    CHECK(error == "it is a folder; name a file");
}

TEST_CASE("bounded file: a pipe without a writer and a device are refused at once, with the remedy")
{
    const QTemporaryDir folder;
    const QString pipe = folder.filePath(QStringLiteral("list.csv"));
    REQUIRE(::mkfifo(QFile::encodeName(pipe).constData(), 0600) == 0);
    for (const QString& path : {pipe, QStringLiteral("/dev/zero")}) {
        CAPTURE(path.toStdString());
        QString error;
        CHECK_FALSE(readBoundedFile(path, 1, error));
        CHECK(error == "it is a pipe or a device; save what it gives in a file and name that");
    }
}
