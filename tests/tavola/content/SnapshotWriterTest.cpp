#include <doctest/doctest.h>

#include "content/SnapshotWriter.hpp"

#include "TestHost.hpp"

#include <Bedrock/Inbox.hpp>
#include <Tavola/FileRepresentation.hpp>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>

#include <thread>

using Bedrock::makeIntrusive;
using Tavola::FileRepresentation;
using Tavola::SnapshotWriter;
using TestSupport::TestHost;

namespace
{
constexpr const char* kRedSheet = "Widget { background-color: #ff0000; width: 200px; height: 100px }";

QImage plain(int width, int height, QColor color = Qt::red)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(color);
    return image;
}

std::string writingFailure(const folly::Future<QString>& future)
{
    try {
        return "no failure: " + future.value().toStdString();
    } catch (const std::runtime_error& failure) {
        return failure.what();
    }
}
}

TEST_CASE("snapshot writer: all that was begun is written before it goes, and files with a name stay")
{
    const QTemporaryDir folder;
    std::vector<folly::Future<QString>> futures;
    {
        SnapshotWriter writer;
        for (int i = 1; i <= 30; ++i)
            futures.push_back(writer.write(plain(i, 10), folder.filePath(QStringLiteral("%1.png").arg(i))));
    }
    CHECK(QFile::exists(folder.filePath(QStringLiteral("30.png"))));
    CHECK_FALSE(futures[0].isReady());
    CHECK(Bedrock::Inbox::instance().deliver() == 30);
    for (int i = 1; i <= 30; ++i) {
        REQUIRE(futures[std::size_t(i - 1)].isReady());
        CHECK(QImage(futures[std::size_t(i - 1)].value()).width() == i);
    }
}

TEST_CASE("snapshot writer: without a name equal pictures are one file, and what looks otherwise is another")
{
    std::vector<folly::Future<QString>> futures;
    QStringList paths;
    {
        SnapshotWriter writer;
        const QImage pictures[] = {plain(20, 10), plain(20, 10), plain(10, 20), plain(20, 10, Qt::blue)};
        for (int round = 0; round < 3; ++round)
            for (const QImage& picture : pictures)
                futures.push_back(writer.write(picture, QString()));
        REQUIRE(TestHost().frameUntil(
            [&] { return std::all_of(futures.begin(), futures.end(), [](const auto& future) { return future.isReady(); }); }));
        for (const auto& future : futures)
            paths.append(future.value());
        CHECK(paths[0] == paths[1]);
        CHECK(QImage(paths[2]).size() == QSize(10, 20));
        CHECK(QImage(paths[3]).pixelColor(5, 5) == QColor(Qt::blue));
        paths.removeDuplicates();
        CHECK(paths.size() == 3);
        CHECK(QFileInfo(paths[0]).dir().entryList(QDir::Files).size() == 3);
    }
    CHECK_FALSE(QFileInfo(paths[0]).dir().exists());
}

TEST_CASE("snapshot writer: its promises are completed on the main thread, in the input step, also while a tap is plugged in")
{
    const QTemporaryDir folder;
    for (const bool isTapped : {false, true}) {
        CAPTURE(isTapped);
        std::string taken;
        if (isTapped)
            Bedrock::Inbox::instance().setTap([&](const Bedrock::Arrival& arrival) { taken += arrival.kind; });
        std::thread::id thread;
        SnapshotWriter writer;
        auto future = writer.write(plain(20, 10), folder.filePath(QStringLiteral("a.png"))).thenValue([&](const QString&) {
            thread = std::this_thread::get_id();
        });
        REQUIRE(TestHost().frameUntil([&] { return future.isReady(); }));
        CHECK(thread == std::this_thread::get_id());
        CHECK(taken == (isTapped ? "s" : ""));
        Bedrock::Inbox::instance().setTap(nullptr);
    }
}

TEST_CASE("snapshot writer: each has a folder of its own")
{
    SnapshotWriter first;
    SnapshotWriter second;
    auto one = first.write(plain(20, 10), QString());
    auto other = second.write(plain(20, 10), QString());
    REQUIRE(TestHost().frameUntil([&] { return one.isReady() && other.isReady(); }));
    CHECK(QFileInfo(one.value()).path() != QFileInfo(other.value()).path());
    CHECK(QFileInfo(one.value()).fileName() == QFileInfo(other.value()).fileName());
}

TEST_CASE("snapshot writer: one that cannot be written says why, and the others are written")
{
    const QTemporaryDir folder;
    std::vector<folly::Future<QString>> futures;
    {
        SnapshotWriter writer;
        futures.push_back(writer.write(plain(20, 10), folder.path()));
        futures.push_back(writer.write(QImage(), folder.filePath("none.png")));
        futures.push_back(writer.write(plain(20, 10), folder.filePath("good.png")));
    }
    CHECK(Bedrock::Inbox::instance().deliver() == 3);
    CHECK(writingFailure(futures[0]).find("cannot write the snapshot " + folder.path().toStdString() + ": ") == 0);
    CHECK(writingFailure(futures[1]).find("cannot write the snapshot " + folder.filePath("none.png").toStdString() + ": ") == 0);
    CHECK(QImage(futures[2].value()).size() == QSize(20, 10));
}

TEST_CASE("snapshot writer: where no folder can be made, that is said at once")
{
    const QTemporaryDir folder;
    QFile file(folder.filePath("no-folder"));
    REQUIRE(file.open(QIODevice::WriteOnly));
    const QByteArray before = qgetenv("TMPDIR");
    SnapshotWriter writer;
    qputenv("TMPDIR", file.fileName().toUtf8());
    const auto future = writer.write(plain(20, 10), QString());
    before.isNull() ? qunsetenv("TMPDIR") : qputenv("TMPDIR", before);
    REQUIRE(future.isReady());
    CHECK(writingFailure(future).find("cannot make a folder for snapshots in " + file.fileName().toStdString() + ": ") == 0);
    // The place is there again.
    auto next = writer.write(plain(20, 10), QString());
    REQUIRE(TestHost().frameUntil([&] { return next.isReady(); }));
    CHECK(QImage(next.value()).size() == QSize(20, 10));
}

// ---- As an application uses it -----------------------------------------------------------------------------------------

TEST_CASE("snapshot writer: snapshots without a name are files named by what they show, which go with the application")
{
    QString folder;
    {
        TestHost host;
        host.style(kRedSheet);
        const auto widget = makeIntrusive<Trellis::Widget>(&host.mainWidget());
        auto first = FileRepresentation::takeWidgetSnapshot(*widget, QString(), 500);
        auto second = FileRepresentation::takeWidgetSnapshot(*widget, QString(), 500);
        auto smaller = FileRepresentation::takeWidgetSnapshot(*widget, QString(), 50);
        REQUIRE(host.frameUntil([&] { return first.isReady() && second.isReady() && smaller.isReady(); }));
        CHECK(first.value() == second.value());
        CHECK(first.value() != smaller.value());
        CHECK(QImage(first.value()).size() == QSize(200, 100));
        CHECK(QImage(smaller.value()).size() == QSize(50, 25));
        const QFileInfo file(first.value());
        folder = file.absolutePath();
        CHECK(QDir(folder).entryList(QDir::Files).size() == 2);
        CHECK(folder.startsWith(QDir::tempPath() + QStringLiteral("/tavola-snapshots-")));
        CHECK((QFileInfo(folder).permissions() & (QFile::ReadGroup | QFile::ReadOther)) == 0);
    }
    CHECK_FALSE(QFileInfo::exists(folder));
}

TEST_CASE("snapshot writer: a snapshot is taken also when the temporary folder was cleared")
{
    TestHost host;
    host.style(kRedSheet);
    const auto widget = makeIntrusive<Trellis::Widget>(&host.mainWidget());
    auto first = FileRepresentation::takeWidgetSnapshot(*widget, QString(), 500);
    REQUIRE(host.frameUntil([&] { return first.isReady(); }));
    REQUIRE(QDir(QFileInfo(first.value()).absolutePath()).removeRecursively());
    auto second = FileRepresentation::takeWidgetSnapshot(*widget, QString(), 500);
    REQUIRE(host.frameUntil([&] { return second.isReady(); }));
    CHECK(QImage(second.value()).size() == QSize(200, 100));
}

TEST_CASE("snapshot writer: the application waits for its snapshots before it goes")
{
    QString path;
    folly::Future<QString> future = folly::Future<QString>::makeEmpty();
    const QTemporaryDir folder;
    {
        TestHost host;
        host.style(kRedSheet);
        const auto widget = makeIntrusive<Trellis::Widget>(&host.mainWidget());
        future = FileRepresentation::takeWidgetSnapshot(*widget, folder.filePath("red.png"), 500);
    }
    REQUIRE(future.isReady());
    CHECK(QImage(future.value()).size() == QSize(200, 100));
}

TEST_CASE("snapshot writer: a snapshot is written under the name given")
{
    TestHost host;
    host.style(kRedSheet);
    const QTemporaryDir folder;
    const auto widget = makeIntrusive<Trellis::Widget>(&host.mainWidget());
    auto future = FileRepresentation::takeWidgetSnapshot(*widget, folder.filePath("red.image"), 500);
    REQUIRE(host.frameUntil([&] { return future.isReady(); }));
    CHECK(future.value() == folder.filePath("red.image"));
    CHECK(QImage(future.value(), "png").width() == 200);
}
