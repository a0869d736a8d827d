#include <Http/BearerKeys.hpp>

#include <doctest/doctest.h>

#include <QFile>
#include <QTemporaryDir>

#include <sys/stat.h>

using Http::BearerKeys;

namespace
{
const QByteArray kHex = "00112233445566778899aabbccddeeff";
const QByteArray kBase64 = "Zm9vYmFyYmF6cXV4cXV1eA";

struct KeyFile
{
    explicit KeyFile(const QByteArray& text, mode_t mode = 0600)
    {
        QFile file(path());
        REQUIRE(file.open(QIODevice::WriteOnly));
        file.write(text);
        file.close();
        REQUIRE(::chmod(path().toLocal8Bit().constData(), mode) == 0);
    }
    QString path() const { return folder.filePath(QStringLiteral("key")); }
    /// What is wrong with it, without the part that names the file.
    QString fault() const
    {
        const auto keys = BearerKeys::read(path());
        if (keys)
            return {};
        const QString start = QStringLiteral("The key file \"%1\" ").arg(path());
        REQUIRE(keys.error().startsWith(start));
        return keys.error().mid(start.size());
    }
    QTemporaryDir folder;
};

Http::Request requestWith(const QByteArray& authorization)
{
    Http::Request request;
    if (!authorization.isNull())
        request.headers.emplace_back("authorization", authorization);
    return request;
}
}

TEST_CASE("bearer keys: both keys of a file are valid, and the first is the one to send")
{
    const KeyFile file("# since May\n" + kHex + "\n\n  " + kBase64 + "  \r\n");
    const auto keys = BearerKeys::read(file.path());
    REQUIRE(keys);
    CHECK(keys->key() == kHex);
    CHECK(keys->accepts(requestWith("Bearer " + kHex)));
    CHECK(keys->accepts(requestWith("Bearer " + kBase64)));
}

TEST_CASE("bearer keys: anything else is refused")
{
    const KeyFile file(kHex);
    const auto keys = BearerKeys::read(file.path());
    REQUIRE(keys);
    CHECK_FALSE(keys->accepts(requestWith(QByteArray())));
    for (const QByteArray& authorization :
         {QByteArray("Bearer "), QByteArray("Bearer"), kHex, "Basic " + kHex, "bearer" + kHex, "Bearer " + kHex + "0",
          "Bearer " + kHex.left(31), "Bearer " + kHex.left(31) + "0", "Bearer 1" + kHex.mid(1), "Bearer " + kHex.toUpper()}) {
        CAPTURE(authorization.toStdString());
        CHECK_FALSE(keys->accepts(requestWith(authorization)));
    }
}

TEST_CASE("bearer keys: a file that is unsafe or has no good key is refused with the remedy, and no key is told")
{
    struct Row
    {
        QByteArray text;
        mode_t mode;
        const char* fault;
    };
    const Row rows[] = {
        {kHex, 0640, "can be read or changed by other users: chmod 600 it"},
        {kHex, 0602, "can be read or changed by other users: chmod 600 it"},
        {"", 0600, "has no key: make one with \"openssl rand -hex 32\""},
        {"# none\n", 0600, "has no key: make one with \"openssl rand -hex 32\""},
        {kHex.left(31), 0600, "has a key of less than 128 bits in line 1: make one with \"openssl rand -hex 32\""},
        {QByteArray(64, 'a'), 0600, "has a key of less than 128 bits in line 1: make one with \"openssl rand -hex 32\""},
        {QByteArray("12345").repeated(8), 0600,
         "has a key of less than 128 bits in line 1: make one with \"openssl rand -hex 32\""},
        {"\n" + kBase64.left(21), 0600, "has a key of less than 128 bits in line 2: make one with \"openssl rand -hex 32\""},
        {"two words of a key that is long enough", 0600,
         "has a character in line 1 that no key may have: make a key with \"openssl rand -hex 32\""},
        {kHex + '\n' + kBase64 + '\n' + kHex, 0600, "has more than two keys: keep the new one and the one before"},
        {QByteArray(5000, 'a'), 0600, "has more than 4096 bytes"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.text.toStdString());
        CHECK(KeyFile(row.text, row.mode).fault() == QLatin1String(row.fault));
    }
}

TEST_CASE("bearer keys: a link, a folder and a missing file are no key file")
{
    const KeyFile file(kHex);
    const QString link = file.folder.filePath(QStringLiteral("link"));
    REQUIRE(QFile::link(file.path(), link));
    CHECK(BearerKeys::read(link).error().endsWith(QLatin1String("is a symbolic link: name the file itself")));
    CHECK_FALSE(BearerKeys::read(file.folder.filePath(QStringLiteral("missing"))));
    CHECK(BearerKeys::read(file.folder.path()).error().endsWith(QLatin1String("is no regular file")));
}
