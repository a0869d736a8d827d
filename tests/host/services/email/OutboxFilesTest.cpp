#include "Folder.hpp"

#include "services/email/OutboxFiles.hpp"

#include <doctest/doctest.h>

using namespace Host;

namespace
{
struct Bench
{
    Folder folder;
    OutboxFiles files{folder.path("files")};

    QString write(const QString& name) const { return folder.write("files/" + name, "x"); }
    [[nodiscard]] QStringList found() const
    {
        return QDir(folder.path("files")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot, QDir::Name);
    }
};

const QString kOld = QStringLiteral("0b5c1a2e-7f3d-4c6b-9a8e-112233445566"); ///< the folder of a message of version 1
}

TEST_CASE("outbox files: each name is a new one")
{
    CHECK(OutboxFiles::newName() != OutboxFiles::newName());
    CHECK(OutboxFiles::newName().endsWith(".eml"));
}

TEST_CASE("outbox files: the outbox may lie in a folder with percent signs in its name")
{
    const Folder folder;
    CHECK(OutboxFiles(folder.path("50%3 %1")).path("m") == folder.path("50%3 %1") + "/m");
}

TEST_CASE("outbox files: what belongs to no message is removed")
{
    Bench bench;
    const QString kept = OutboxFiles::newName();
    bench.write(kept);
    bench.write(OutboxFiles::newName());
    bench.write(kOld + "/0");
    bench.write(kOld + "/1");
    bench.files.removeAllBut({kept});
    CHECK(bench.found() == QStringList{kept});
    bench.files.remove(kept);
    CHECK(bench.found().isEmpty());
}

TEST_CASE("outbox files: files of other names are never removed")
{
    Bench bench;
    const QStringList others{"notes.eml", "x" + OutboxFiles::newName(), OutboxFiles::newName() + ".bak",
                             OutboxFiles::newName().toUpper(), kOld.left(35)};
    for (const QString& name : others)
        bench.write(name);
    bench.write(kOld + "/notes");
    bench.files.removeAllBut({});
    CHECK(bench.found().size() == others.size() + 1);
    CHECK(QFileInfo::exists(bench.folder.path("files/" + kOld + "/notes")));
    bench.folder.write("outside", "x");
    bench.files.remove("../outside");
    bench.files.remove(QString());
    CHECK(QFileInfo::exists(bench.folder.path("outside")));
    CHECK(QFileInfo::exists(bench.folder.path("files")));
}

TEST_CASE("outbox files: nothing is removed through a symbolic link")
{
    Bench bench;
    const QString target = bench.folder.write("target/0", "precious");
    REQUIRE(QDir().mkpath(bench.folder.path("files/" + kOld)));
    REQUIRE(QFile::link(bench.folder.path("target"), bench.folder.path("files/1" + kOld.mid(1))));
    REQUIRE(QFile::link(target, bench.folder.path("files/" + OutboxFiles::newName())));
    REQUIRE(QFile::link(target, bench.folder.path("files/" + kOld + "/0")));
    bench.files.removeAllBut({});
    QFile precious(target);
    REQUIRE(precious.open(QIODevice::ReadOnly));
    CHECK(precious.readAll() == "precious");
}

TEST_CASE("outbox files: nothing is removed when the folder itself is a symbolic link")
{
    Bench bench;
    const QString name = OutboxFiles::newName();
    const QString target = bench.folder.write("elsewhere/" + name, "precious");
    REQUIRE(QDir(bench.folder.path("files")).removeRecursively());
    REQUIRE(QFile::link(bench.folder.path("elsewhere"), bench.folder.path("files")));
    bench.files.removeAllBut({});
    bench.files.remove(name);
    CHECK(QFileInfo::exists(target));
}
