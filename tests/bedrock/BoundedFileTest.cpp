#include <Bedrock/BoundedFile.hpp>

#include <doctest/doctest.h>

#include <QTemporaryDir>

#include <QFile>

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
    CHECK_FALSE(readBoundedFile(QStringLiteral("/dev/zero"), 1, error));
    CHECK(error == "it has more, the limit is 1 MiB");
    error.clear();
    CHECK(readBoundedFile(QStringLiteral("/proc/self/cmdline"), 1, error));
    CHECK(error.isEmpty());
    CHECK_FALSE(readBoundedFile(QStringLiteral("/none/list.csv"), 1, error));
    CHECK(error == "No such file or directory");
    CHECK_FALSE(readBoundedFile(QStringLiteral("/"), 1, error));
    CHECK_FALSE(error.isEmpty());
}
