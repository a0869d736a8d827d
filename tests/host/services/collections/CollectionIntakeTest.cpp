#include "services/collections/CollectionIntake.hpp"

#include "Folder.hpp"
#include "LogCapture.hpp"

#include <doctest/doctest.h>

#include <QDir>
#include <QStringList>

#include <memory>
#include <vector>

using namespace Host;
using Kind = CollectionIntake::Change::Kind;

namespace
{
/// An intake in a folder of its own, in one run of the program after the other, and what it has passed on.
struct TakenIn
{
    Folder folder;
    QString data = folder.path(QStringLiteral("data"));
    std::vector<CollectionIntake::Change> passed; ///< of the intake's thread, as the next ones: to be read when it is idle
    QStringList left;
    quint64 last = 0;
    std::unique_ptr<CollectionIntake> intake;

    TakenIn() { open(); }
    void open()
    {
        intake.reset();
        passed.clear();
        left.clear();
        last = 0;
        intake = std::make_unique<CollectionIntake>(
            *CollectionPlace::of({}, data + QStringLiteral("/collections.sqlite")),
            CollectionIntake::Handlers{[this](const std::vector<CollectionIntake::Change>& changes) {
                                           for (const auto& change : changes)
                                               left << change.item.key + (change.isPreviewNew ? " new" : "");
                                       },
                                       [this](const std::vector<CollectionIntake::Change>& changes, quint64 number) {
                                           passed.insert(passed.end(), changes.begin(), changes.end());
                                           last = number;
                                       }});
        intake->waitUntilIdle();
    }
    void add(const char* key, const QString& preview = {}, Kind kind = Kind::Add)
    {
        CollectionIntake::Change change{kind, 7, {}};
        change.item.key = QString::fromUtf8(key);
        change.item.preview = preview;
        intake->add(change);
        intake->waitUntilIdle();
    }
    /// The keys in the file.
    QStringList onDisk() const
    {
        int unreadable = 0;
        QStringList keys;
        for (const auto& change : CollectionBacklog(data).read(unreadable))
            keys << change.item.key;
        return keys;
    }
    void written(quint64 number) const
    {
        intake->written(number);
        intake->waitUntilIdle();
    }
};
}

TEST_CASE("collection intake: a change is on the disk before it is passed on, until the database has it and all others")
{
    TakenIn table;
    table.add("a-1");
    table.add("a-2");
    CHECK(table.passed.size() == 2);
    CHECK(table.last == 2);
    CHECK(table.onDisk() == QStringList{"a-1", "a-2"});
    table.written(1);
    CHECK(table.onDisk() == QStringList{"a-1", "a-2"});
    table.written(2);
    CHECK(table.onDisk().isEmpty());
    table.add("a-3");
    CHECK(table.last == 3);
    CHECK(table.onDisk() == QStringList{"a-3"});
    CHECK(table.intake->waiting() == 0);
}

TEST_CASE("collection intake: what an earlier program has left comes first, and stays in the file until it is written")
{
    TakenIn table;
    table.add("a-1");
    table.open();
    CHECK(table.left == QStringList{"a-1 new"});
    table.open();
    CHECK(table.left == QStringList{"a-1 new"});
    table.add("b-1");
    CHECK(table.onDisk() == QStringList{"a-1", "b-1"});
    table.open();
    CHECK(table.left == QStringList{"a-1 new", "b-1 new"});
    table.written(0);
    CHECK(table.onDisk().isEmpty());
    table.open();
    CHECK(table.left.isEmpty());
}

TEST_CASE("collection intake: previews are copied, and only those that are new are called so")
{
    TakenIn table;
    const QString picture = table.folder.write(QStringLiteral("tmp/shot.png"), "picture");
    table.add("a-1", picture);
    REQUIRE(QFile::remove(picture));
    const QString copy = table.data + QStringLiteral("/previews/a-1.png");
    REQUIRE(table.passed.size() == 1);
    CHECK(table.passed[0].item.preview == copy);
    CHECK(table.passed[0].isPreviewNew);
    CHECK(QFile(copy).size() == 7);
    table.add("a-1", copy, Kind::Update);
    CHECK(table.passed[1].item.preview == copy);
    CHECK_FALSE(table.passed[1].isPreviewNew);
    // A picture that is gone is none.
    table.add("a-2", picture);
    CHECK(table.passed[2].item.preview.isEmpty());
    CHECK_FALSE(table.passed[2].isPreviewNew);
    table.add("a-1", picture, Kind::Remove);
    CHECK(table.passed[3].item.preview == picture);
}

TEST_CASE("collection intake: a step is done after the changes before it were passed on")
{
    TakenIn table;
    std::size_t passedBefore = 0;
    for (const char* key : {"a-1", "a-2"}) {
        CollectionIntake::Change change;
        change.item.key = QString::fromUtf8(key);
        table.intake->add(change);
    }
    table.intake->afterwards([&] { passedBefore = table.passed.size(); });
    table.intake->waitUntilIdle();
    CHECK(passedBefore == 2);
}

TEST_CASE(
    "collection intake: a disk that cannot be written is reported with its remedy once, and what was meant for it written later")
{
    TakenIn table;
    table.folder.write(QStringLiteral("data"), "no folder");
    const QString picture = table.folder.write(QStringLiteral("tmp/shot.png"), "picture");
    const std::string reason = ": cannot make the folder " + table.data.toStdString();
    TestSupport::expectWarning(
        "CollectionService # Failed to write " + table.intake->path().toStdString() + reason
        + " (free space on the disk, and let this user write there; until then what waits is lost with the "
          "program)");
    TestSupport::expectWarning("CollectionService # Failed to write " + table.data.toStdString() + "/previews" + reason
                               + "/previews (free space on the disk, and let this user write there)");
    table.add("a-1", picture);
    table.add("a-2");
    REQUIRE(table.passed.size() == 2);
    CHECK(table.passed[0].item.preview == picture); // the database's own attempts may copy it
    REQUIRE(QFile::remove(table.data));
    table.intake->keep();
    table.intake->waitUntilIdle();
    CHECK(table.onDisk() == QStringList{"a-1", "a-2"});
    table.intake->keep();
    table.intake->waitUntilIdle();
    CHECK(table.onDisk() == QStringList{"a-1", "a-2"});
    table.written(2);
    CHECK(table.onDisk().isEmpty());
}

TEST_CASE("collection intake: what the database has got meanwhile is not brought to the disk any more")
{
    TakenIn table;
    table.folder.write(QStringLiteral("data"), "no folder");
    TestSupport::expectWarningStartingWith("CollectionService # Failed to write " + table.intake->path().toStdString());
    table.add("a-1");
    REQUIRE(QFile::remove(table.data));
    table.written(1);
    table.add("a-2");
    CHECK(table.onDisk() == QStringList{"a-2"});
}
