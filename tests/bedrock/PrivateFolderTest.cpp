#include <Bedrock/PrivateFolder.hpp>

#include <doctest/doctest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <thread>
#include <vector>

using Bedrock::PrivateFolder;
using Bedrock::removeFolder;

namespace
{
struct Base
{
    std::unique_ptr<PrivateFolder> make()
    {
        QString error;
        auto folder = PrivateFolder::make(dir.path(), QStringLiteral("tavola"), error);
        REQUIRE_MESSAGE(folder, error.toStdString());
        return folder;
    }
    QString write(const QString& path)
    {
        QFile file(dir.filePath(path));
        REQUIRE(QDir(dir.path()).mkpath(QFileInfo(path).path()));
        REQUIRE(file.open(QIODevice::WriteOnly));
        file.write("kept");
        return file.fileName();
    }
    QStringList entries() const
    {
        return QDir(dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System);
    }

    QTemporaryDir dir;
};
}

TEST_CASE_FIXTURE(Base, "private folder: it is new, open to its user alone, and gone with everything in it")
{
    ::umask(0);
    const auto first = make();
    const auto second = make();
    ::umask(022);
    CHECK(first->path() != second->path());
    CHECK(QDir(first->path()).isAbsolute());
    struct stat status = {};
    REQUIRE(::lstat(QFile::encodeName(first->path()).constData(), &status) == 0);
    CHECK(S_ISDIR(status.st_mode));
    CHECK((status.st_mode & 0777) == 0700);
    CHECK(status.st_uid == ::geteuid());
    const QString path = first->path();
    REQUIRE(QDir(path).mkpath(QStringLiteral("a/b/c")));
    {
        auto ended = make();
        write(QFileInfo(ended->path()).fileName() + QStringLiteral("/x/y"));
    }
    CHECK(entries().size() == 2);
}

TEST_CASE_FIXTURE(Base, "private folder: what a killed process left is removed, what a running one has stays")
{
    const auto running = make();
    write(QStringLiteral("tavola-dead01/.lock"));
    write(QStringLiteral("tavola-dead01/deep/file"));
    write(QStringLiteral("other-dead01/.lock"));
    const auto next = make();
    CHECK(QDir(running->path()).exists());
    CHECK(QDir(next->path()).exists());
    CHECK_FALSE(entries().contains(QLatin1String("tavola-dead01")));
    CHECK(entries().contains(QLatin1String("other-dead01")));
}

TEST_CASE_FIXTURE(Base, "private folder: one without a lock is being made, until it is an hour old")
{
    REQUIRE(QDir(dir.path()).mkdir(QStringLiteral("tavola-making")));
    REQUIRE(QDir(dir.path()).mkdir(QStringLiteral("tavola-killed")));
    const timespec longAgo[2] = {{1000, 0}, {1000, 0}};
    REQUIRE(::utimensat(AT_FDCWD, QFile::encodeName(dir.filePath(QStringLiteral("tavola-killed"))).constData(), longAgo, 0) == 0);
    const auto folder = make();
    CHECK(entries().contains(QLatin1String("tavola-making")));
    CHECK_FALSE(entries().contains(QLatin1String("tavola-killed")));
}

TEST_CASE_FIXTURE(Base, "private folder: one that is being made is no leftover to those that are made at the same time")
{
    std::atomic<int> lost{0};
    std::vector<std::thread> makers;
    for (int maker = 0; maker < 4; ++maker)
        makers.emplace_back([&] {
            for (int i = 0; i < 200; ++i) {
                QString error;
                const auto folder = PrivateFolder::make(dir.path(), QStringLiteral("tavola"), error);
                if (!folder || !QFile::exists(folder->path() + QStringLiteral("/.lock")))
                    ++lost;
            }
        });
    for (std::thread& maker : makers)
        maker.join();
    CHECK(lost.load() == 0);
    CHECK(entries().isEmpty());
}

TEST_CASE_FIXTURE(Base, "private folder: nothing is removed through a link, and a link is no leftover")
{
    const QString kept = write(QStringLiteral("target/file"));
    write(QStringLiteral("target/.lock"));
    REQUIRE(QFile::link(dir.filePath(QStringLiteral("target")), dir.filePath(QStringLiteral("tavola-link01"))));
    write(QStringLiteral("tavola-dead01/.lock"));
    REQUIRE(QFile::link(dir.filePath(QStringLiteral("target")), dir.filePath(QStringLiteral("tavola-dead01/inner"))));
    REQUIRE(QFile::link(kept, dir.filePath(QStringLiteral("tavola-dead01/file"))));
    const auto folder = make();
    CHECK(entries().contains(QLatin1String("tavola-link01")));
    CHECK_FALSE(entries().contains(QLatin1String("tavola-dead01")));
    CHECK(QFile::exists(kept));

    CHECK_FALSE(removeFolder(dir.path(), QStringLiteral("tavola-link01")));
    CHECK(QFile::exists(kept));
    CHECK(removeFolder(dir.path(), QStringLiteral("target")));
    CHECK_FALSE(QFile::exists(kept));
}

TEST_CASE_FIXTURE(Base, "private folder: where none can be made the reason is told")
{
    QString error;
    CHECK_FALSE(PrivateFolder::make(dir.filePath(QStringLiteral("none")), QStringLiteral("tavola"), error));
    CHECK(error.startsWith(
        QStringLiteral("Cannot make a folder for temporary files in %1 (").arg(dir.filePath(QStringLiteral("none")))));
}
