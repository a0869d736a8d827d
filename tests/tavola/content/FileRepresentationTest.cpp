#include <doctest/doctest.h>

#include "LogCapture.hpp"
#include "TestHost.hpp"

#include <Facet/AttributeT.hpp>
#include <Tavola/ContentWidget.hpp>
#include <Tavola/FileRepresentation.hpp>
#include <Tavola/LinkWidget.hpp>

#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QTemporaryDir>

using Bedrock::makeIntrusive;
using Tavola::FileRepresentation;
using TestSupport::TestHost;

namespace
{
template <class T>
void set(Trellis::Widget& widget, const char* attribute, const T& value)
{
    dynamic_cast<Facet::AttributeT<T>&>(*widget.attribute(attribute)).setValue(value);
}

/// A widget of another package, without files.
class Poster final : public Trellis::Widget
{
public:
    Facet::AttributeT<QString> source{this, "source"};
    Facet::AttributeT<QString> title{this, "title"};
};

QString touch(const QString& path)
{
    QFile file(path);
    REQUIRE(file.open(QIODevice::WriteOnly));
    return path;
}

QString failureOf(const folly::Future<QString>& future)
{
    try {
        return "no failure: " + future.value();
    } catch (const std::runtime_error& failure) {
        return QString::fromStdString(failure.what());
    }
}

constexpr const char* kRed = "Widget { background-color: #ff0000; width: 200px; height: 100px }";
}

TEST_CASE("file representation: what is known of a widget's content comes from its attributes")
{
    struct Row
    {
        QString source;
        QStringList urls;
        const char* name;
        QString file;
        QStringList sources;
        QStringList files;
        const char* displayName;
    };
    const QTemporaryDir folder;
    const QString dotted = touch(folder.filePath("a.b.png"));
    const QString spaced = touch(folder.filePath("a b.png"));
    const QString named100Percent = touch(folder.filePath("100%.png"));
    const Row rows[] = {
        {"", {}, "", "", {}, {}, ""},
        {"", {}, "Named", "", {}, {}, "Named"},
        // A file that is there is a file, and no source.
        {dotted, {}, "", dotted, {}, {dotted}, "a.b"},
        {folder.filePath("x/../a.b.png"), {}, "", dotted, {}, {dotted}, "a.b"},
        {"file://" + folder.filePath("a%20b.png"), {}, "A", spaced, {}, {spaced}, "A"},
        {named100Percent, {}, "", named100Percent, {}, {named100Percent}, "100%"},
        // One that is not there, or not a file, is a source.
        {"/media/a.b.png", {}, "", "", {"/media/a.b.png"}, {}, "a.b"},
        {"/media/x/../a.png", {}, "", "", {"/media/a.png"}, {}, "a"},
        {"file:///media/a%20b.png", {}, "A", "", {"/media/a b.png"}, {}, "A"},
        {folder.path(), {}, "A", "", {folder.path()}, {}, "A"},
        {"pictures/a.png", {}, "", "", {"pictures/a.png"}, {}, "a"},
        // A web address is a source.
        {"https://example.org/page.html", {}, "", "", {"https://example.org/page.html"}, {}, "page"},
        {"HTTP://example.org", {}, "", "", {"HTTP://example.org"}, {}, "example.org"},
        {"ftp://example.org/a", {}, "A", "", {"ftp://example.org/a"}, {}, "A"},
        // What a document is stands before its cover.
        {dotted, {"https://example.org/a"}, "", "", {"https://example.org/a"}, {}, "a"},
        {dotted, {"", ""}, "", dotted, {}, {dotted}, "a.b"},
        {dotted, {"/no/such/file.pdf"}, "", "", {"/no/such/file.pdf"}, {}, "file"},
        {dotted, {spaced}, "", spaced, {}, {spaced}, "a b"},
    };
    TestHost host;
    for (const Row& row : rows) {
        CAPTURE(row.source.toStdString());
        CAPTURE(row.displayName);
        const auto widget = makeIntrusive<Tavola::ContentWidget>();
        set<QString>(*widget, "source", row.source);
        set<QString>(*widget, "display-name", row.name);
        set<QStringList>(*widget, "source-tessel-urls", row.urls);
        const auto data = FileRepresentation::widgetData(*widget);
        CHECK(data.file == row.file);
        CHECK(data.sources == row.sources);
        CHECK(data.files == row.files);
        CHECK(data.displayName.toStdString() == row.displayName);
        CHECK(data.url.isEmpty());
    }
}

TEST_CASE("file representation: a document's entries are its files where they exist, its sources where they do not")
{
    TestHost host;
    const QTemporaryDir folder;
    const QString first = touch(folder.filePath("first.pdf"));
    const QString second = touch(folder.filePath("second.pdf"));
    const auto widget = makeIntrusive<Tavola::ContentWidget>();
    set<QString>(*widget, "source", touch(folder.filePath("cover.png")));
    set<QStringList>(*widget, "source-tessel-urls",
                     {"https://example.org/a", "/no/such.pdf", first, "file://" + second, folder.path()});
    const auto data = FileRepresentation::widgetData(*widget);
    CHECK(data.sources == QStringList{"https://example.org/a", "/no/such.pdf", folder.path()});
    CHECK(data.files == QStringList{first, second});
    CHECK(data.file == first);
    CHECK(data.displayName == "first");
    CHECK(data.url.isEmpty());
}

TEST_CASE("file representation: every widget with a source is described, and one without is empty")
{
    TestHost host;
    const auto poster = makeIntrusive<Poster>();
    const QTemporaryDir folder;
    const QString file = touch(folder.filePath("poster.png"));
    poster->source = file;
    CHECK(FileRepresentation::widgetData(*poster).displayName == "poster");
    poster->title = QString("The poster");
    CHECK(FileRepresentation::widgetData(*poster).displayName == "The poster");
    CHECK(FileRepresentation::widgetData(*poster).file == file);

    const auto plain = makeIntrusive<Trellis::Widget>();
    const auto nothing = FileRepresentation::widgetData(*plain);
    CHECK(nothing.file.isEmpty());
    CHECK(nothing.sources.isEmpty());
    CHECK(nothing.files.isEmpty());
    CHECK(nothing.displayName.isEmpty());
    CHECK(nothing.url.isEmpty());
}

TEST_CASE("file representation: a link is described by its address")
{
    TestHost host;
    const auto link = makeIntrusive<Tavola::LinkWidget>();
    set<QString>(*link, "source", "https://example.org/");
    set<QString>(*link, "display-name", "An example");
    const auto data = FileRepresentation::widgetData(*link);
    CHECK(data.url.isEmpty()); // mentioned once
    CHECK(data.sources == QStringList{"https://example.org/"});
    CHECK(data.displayName == "An example");
    CHECK(data.file.isEmpty());
}

TEST_CASE("file representation: a copied record does not touch the first one")
{
    FileRepresentation::FileData data{"/a", {"/a"}, {"/a"}, "A", "https://example.org"};
    {
        FileRepresentation::FileData copy = data;
        copy.sources.append("/b");
        copy.file = "/b";
    }
    CHECK(data.file == "/a");
    CHECK(data.sources == QStringList{"/a"});
}

TEST_CASE("file representation: a snapshot is a PNG of the widget, no larger than asked")
{
    TestHost host;
    host.style(kRed);
    const auto widget = makeIntrusive<Trellis::Widget>(&host.mainWidget());
    widget->setRotation(0.7f);
    widget->setLocation({300.f, 300.f});
    host.frame();
    auto future = FileRepresentation::takeWidgetSnapshot(*widget, QString(), 50);
    REQUIRE(host.frameUntil([&] { return future.isReady(); }));
    const QString path = future.value();
    CHECK(QFileInfo(path).isAbsolute());
    QFile file(path);
    REQUIRE(file.open(QIODevice::ReadOnly));
    CHECK(file.read(8) == QByteArray("\x89PNG\r\n\x1a\n"));
    const QImage image(path);
    CHECK(image.width() == 50);
    CHECK(image.height() == 25);
    CHECK(image.pixelColor(25, 12) == QColor(255, 0, 0));
    CHECK(image.pixelColor(2, 2) == QColor(255, 0, 0)); // upright
}

TEST_CASE("file representation: a small widget is photographed in its own size")
{
    TestHost host;
    host.style(kRed);
    const auto widget = makeIntrusive<Trellis::Widget>(&host.mainWidget());
    auto future = FileRepresentation::takeWidgetSnapshot(*widget, QString(), 500);
    REQUIRE(host.frameUntil([&] { return future.isReady(); }));
    CHECK(QImage(future.value()).size() == QSize(200, 100));
}

TEST_CASE("file representation: a snapshot that cannot be taken fails with the reason")
{
    TestHost host;
    host.style(kRed);
    const auto widget = makeIntrusive<Trellis::Widget>(&host.mainWidget());
    SUBCASE("the file cannot be written")
    {
        auto future = FileRepresentation::takeWidgetSnapshot(*widget, "/no/such/folder/a.png", 500);
        REQUIRE(host.frameUntil([&] { return future.isReady(); }));
        CHECK(failureOf(future).toStdString()
              == "cannot write the snapshot /no/such/folder/a.png: Cannot open device for writing: No such file or directory");
    }
    SUBCASE("the widget has no size")
    {
        widget->setSize({0.f, 0.f});
        const auto future = FileRepresentation::takeWidgetSnapshot(*widget, QString(), 500);
        CHECK(failureOf(future) == QString("widget %1 has no size, there is nothing to photograph").arg(widget->id()));
    }
    SUBCASE("the application is gone")
    {
        host.destroyTavola();
        const auto alone = makeIntrusive<Trellis::Widget>();
        const auto future = FileRepresentation::takeWidgetSnapshot(*alone, QString(), 500);
        CHECK(failureOf(future) == "no application is running that could take a snapshot");
    }
}
