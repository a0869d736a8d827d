#include "../Folder.hpp"

#include "services/email/Base64File.hpp"

#include <doctest/doctest.h>

using namespace Host;

namespace
{
QByteArray everyByte(int size)
{
    QByteArray bytes;
    for (int i = 0; i < size; ++i)
        bytes += char(i * 7 + i / 256);
    return bytes;
}

QByteArray readAll(Base64File& file, int most)
{
    QByteArray all;
    QByteArray piece(most, 0);
    for (;;) {
        const qint64 got = file.read(piece.data(), most);
        REQUIRE(got >= 0);
        if (got == 0)
            return all;
        all += piece.left(int(got));
    }
}
}

TEST_CASE("base64 file: every length decodes to the same bytes, is as long as announced, in lines of 76")
{
    const Folder folder;
    for (const int size : {0, 1, 2, 3, 56, 57, 58, 113, 114, 115, 57 * 1024 - 1, 57 * 1024, 57 * 1024 + 1, 300000}) {
        CAPTURE(size);
        const QByteArray bytes = everyByte(size);
        Base64File file(folder.write("a", bytes));
        REQUIRE(file.open());
        const QByteArray encoded = readAll(file, 1000);
        CHECK(encoded.size() == file.encodedSize());
        const bool isSame = QByteArray::fromBase64(encoded) == bytes;
        CHECK(isSame);
        const int lines = (size + 2) / 3 * 4 / 76;
        CHECK(encoded.count("\r\n") == lines);
        for (int line = 0; line < lines; ++line)
            CHECK(encoded.mid(line * 78 + 76, 2) == "\r\n");
    }
}

TEST_CASE("base64 file: what is read in single characters is the same, and again from the beginning")
{
    const Folder folder;
    Base64File file(folder.write("a", everyByte(1000)));
    REQUIRE(file.open());
    const QByteArray first = readAll(file, 1);
    REQUIRE(file.rewind());
    CHECK(readAll(file, 4096) == first);
}

TEST_CASE("base64 file: a file that shrinks meanwhile is an error, one that grows is taken as it was")
{
    const Folder folder;
    const QString path = folder.write("a", everyByte(200000));
    Base64File shrinking(path);
    REQUIRE(shrinking.open());
    QByteArray piece(300000, 0);
    CHECK(shrinking.read(piece.data(), 100) == 100);
    REQUIRE(QFile::resize(path, 100));
    CHECK(shrinking.read(piece.data(), piece.size()) == -1);

    Base64File growing(path);
    REQUIRE(growing.open());
    const qint64 size = growing.encodedSize();
    REQUIRE(QFile::resize(path, 200));
    CHECK(readAll(growing, 4096).size() == size);
}

TEST_CASE("base64 file: a directory and a missing file do not open")
{
    const Folder folder;
    CHECK_FALSE(Base64File(folder.path()).open());
    CHECK_FALSE(Base64File(folder.path("none")).open());
}
