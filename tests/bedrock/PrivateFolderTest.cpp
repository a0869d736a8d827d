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
    void makeOld(const QString& name)
    {
        const timespec longAgo[2] = {{1000, 0}, {1000, 0}};
        REQUIRE(::utimensat(AT_FDCWD, QFile::encodeName(dir.filePath(name)).constData(), longAgo, 0) == 0);
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
    write(QStringLiteral("tavola-killer/.lock.new"));
    makeOld(QStringLiteral("tavola-killed"));
    makeOld(QStringLiteral("tavola-killer"));
    const auto folder = make();
    CHECK(entries().contains(QLatin1String("tavola-making")));
    CHECK_FALSE(entries().contains(QLatin1String("tavola-killed")));
    CHECK_FALSE(entries().contains(QLatin1String("tavola-killer")));
}

TEST_CASE_FIXTURE(Base, "private folder: old folders with files of another origin stay, whatever their name")
{
    // Without a lock: one with the form of a made name and files in it, next to a new lock or alone.
    const QString photographs = write(QStringLiteral("tavola-museum/photograph"));
    const QString next = write(QStringLiteral("tavola-musee1/photograph"));
    write(QStringLiteral("tavola-musee1/.lock.new"));
    // With the prefix alone, with and without a lock.
    const QStringList others = {QStringLiteral("tavola-"), QStringLiteral("tavola-dead0"), QStringLiteral("tavola-dead012"),
                                QStringLiteral("tavola-de-d01"), QStringLiteral("tavola-backups of May")};
    for (const QString& name : others)
        write(name + QStringLiteral("/.lock"));
    REQUIRE(QDir(dir.path()).mkdir(QStringLiteral("tavola-empty folder")));
    QStringList old = others;
    old << QStringLiteral("tavola-museum") << QStringLiteral("tavola-musee1") << QStringLiteral("tavola-empty folder");
    for (const QString& name : old)
        makeOld(name);
    const auto folder = make();
    for (const QString& name : old)
        CHECK_MESSAGE(entries().contains(name), name.toStdString());
    for (const QString& name : others)
        CHECK_MESSAGE(QFile::exists(dir.filePath(name + QStringLiteral("/.lock"))), name.toStdString());
    CHECK(QFile::exists(photographs));
    CHECK(QFile::exists(next));
    CHECK(QFile::exists(dir.filePath(QStringLiteral("tavola-musee1/.lock.new"))));
}

TEST_CASE_FIXTURE(Base, "private folder: a folder of another user stays, with and without a lock")
{
    if (::geteuid() != 0) {
        MESSAGE("only root can make a folder of another user");
        return;
    }
    const QString file = write(QStringLiteral("tavola-dead01/file"));
    write(QStringLiteral("tavola-dead01/.lock"));
    REQUIRE(QDir(dir.path()).mkdir(QStringLiteral("tavola-killed")));
    makeOld(QStringLiteral("tavola-killed"));
    constexpr uid_t kOther = 65534;
    for (const char* name : {"tavola-dead01", "tavola-killed"})
        REQUIRE(::chown(QFile::encodeName(dir.filePath(QLatin1String(name))).constData(), kOther, kOther) == 0);
    const auto folder = make();
    CHECK(QFile::exists(file));
    CHECK(QFile::exists(dir.filePath(QStringLiteral("tavola-dead01/.lock"))));
    CHECK(entries().contains(QLatin1String("tavola-killed")));
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
    CHECK(error
          == QStringLiteral(
                 "Cannot make a folder for temporary files in %1 (No such file or directory); name another place by TMPDIR")
                 .arg(dir.filePath(QStringLiteral("none"))));
}
