#include "../Folder.hpp"

#include "services/email/OutboxFiles.hpp"

#include <doctest/doctest.h>

#include <QBuffer>
#include <QTcpSocket>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Host;

namespace
{
using Copy = OutboxFiles::Copy;

struct Bench
{
    Folder folder;
    OutboxFiles files{folder.path("files")};
    QString error;
    QString home = files.makeFolder(error);
    qint64 size = -1;

    Copy copy(QIODevice& source) { return files.copy(source, home, 0, size, error); }
    QByteArray copied() const
    {
        QFile file(files.path(home, 0));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("nothing");
    }
};

/// A device whose disk fails in the middle.
class BrokenDevice final : public QIODevice
{
public:
    bool isSequential() const override { return false; }
    qint64 size() const override { return 1000000; }

protected:
    qint64 readData(char* data, qint64 most) override
    {
        if (pos() >= 200000) {
            setErrorString(QStringLiteral("the disk is gone"));
            return -1;
        }
        memset(data, 'x', std::size_t(most));
        return most;
    }
    qint64 writeData(const char*, qint64) override { return -1; }
};
}

TEST_CASE("outbox files: a file is copied from its beginning, wherever it was read to")
{
    Bench bench;
    const QByteArray bytes = QByteArray("0123456789").repeated(50000);
    QFile source(bench.folder.write("a", bytes));
    REQUIRE(source.open(QIODevice::ReadOnly));
    source.seek(1234);
    CHECK(bench.copy(source) == Copy::Done);
    CHECK(bench.size == bytes.size());
    const bool isSame = bench.copied() == bytes;
    CHECK(isSame);
    CHECK(bench.files.finish(bench.home, bench.error));
}

TEST_CASE("outbox files: the outbox may lie in a folder with percent signs in its name")
{
    const Folder folder;
    const OutboxFiles files(folder.path("50%3 %1"));
    CHECK(files.path(QStringLiteral("m"), 7) == folder.path("50%3 %1") + QStringLiteral("/m/7"));
}

TEST_CASE("outbox files: an empty file and bytes in memory are copied too")
{
    Bench bench;
    QFile empty(bench.folder.write("a", ""));
    REQUIRE(empty.open(QIODevice::ReadOnly));
    CHECK(bench.copy(empty) == Copy::Done);
    CHECK(bench.copied() == "");
    QBuffer buffer;
    buffer.setData("in memory");
    REQUIRE(buffer.open(QIODevice::ReadOnly));
    CHECK(bench.copy(buffer) == Copy::Done);
    CHECK(bench.copied() == "in memory");
}

TEST_CASE("outbox files: a pipe is not even read, so that nobody can keep the table waiting")
{
    Bench bench;
    const QString path = bench.folder.path("pipe");
    REQUIRE(::mkfifo(QFile::encodeName(path).constData(), 0600) == 0);
    const int descriptor = ::open(QFile::encodeName(path).constData(), O_RDWR | O_NONBLOCK);
    REQUIRE(descriptor >= 0);
    QFile source;
    REQUIRE(source.open(descriptor, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle));
    CHECK(bench.copy(source) == Copy::Unreadable);
    CHECK(bench.error == "it is no ordinary file");
}

TEST_CASE("outbox files: a device file and a socket are not read either")
{
    Bench bench;
    QFile zero(QStringLiteral("/dev/zero"));
    REQUIRE(zero.open(QIODevice::ReadOnly));
    CHECK(bench.copy(zero) == Copy::Unreadable);
    QTcpSocket socket;
    REQUIRE(socket.open(QIODevice::ReadOnly));
    CHECK(bench.copy(socket) == Copy::Unreadable);
}

TEST_CASE("outbox files: a directory, a closed file and a failing disk are the source's fault")
{
    Bench bench;
    const int descriptor = ::open(QFile::encodeName(bench.folder.path()).constData(), O_RDONLY | O_DIRECTORY);
    QFile folder;
    REQUIRE(folder.open(descriptor, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle));
    CHECK(bench.copy(folder) == Copy::Unreadable);

    QFile closed(bench.folder.write("a", "x"));
    CHECK(bench.copy(closed) == Copy::Unreadable);
    CHECK(bench.error == "it is not open for reading");

    BrokenDevice broken;
    REQUIRE(broken.open(QIODevice::ReadOnly | QIODevice::Unbuffered));
    CHECK(bench.copy(broken) == Copy::Unreadable);
    CHECK(bench.error == "the disk is gone");
    CHECK(bench.copied() == "nothing");
}

TEST_CASE("outbox files: a folder that cannot be written is our fault")
{
    Bench bench;
    QBuffer buffer;
    buffer.setData("x");
    REQUIRE(buffer.open(QIODevice::ReadOnly));
    CHECK(bench.files.copy(buffer, QStringLiteral("no-such-folder"), 0, bench.size, bench.error) == Copy::DiskFault);
    const OutboxFiles nowhere(bench.folder.write("file", "x") + "/below");
    CHECK(nowhere.makeFolder(bench.error).isEmpty());
}

TEST_CASE("outbox files: what belongs to no message is removed")
{
    Bench bench;
    const QString other = bench.files.makeFolder(bench.error);
    bench.files.removeAllBut({other});
    CHECK(QDir(bench.folder.path("files")).entryList(QDir::Dirs | QDir::NoDotAndDotDot) == QStringList{other});
    bench.files.remove(QString());
    CHECK(QFileInfo::exists(bench.folder.path("files")));
}
