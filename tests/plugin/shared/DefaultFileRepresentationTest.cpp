#include "shared/DefaultFileRepresentation.hpp"

#include "PluginSupport.hpp"
#include "TestHost.hpp"

#include <QFileInfo>
#include <QImage>

#include <doctest/doctest.h>

using PluginTest::FakeContent;
using PluginTest::PlainContent;
using Tavola::DefaultFileRepresentation;
using Tavola::FileRepresentation;
using TestSupport::TestHost;

TEST_CASE("file representation: a widget that implements it itself is never wrapped")
{
    const auto content = Bedrock::makeIntrusive<FakeContent>();
    const auto representation = Tavola::fileRepresentationOf(content);
    CHECK(representation.get() == static_cast<FileRepresentation*>(content.get()));
    CHECK(content->referenceCount() == 1);
    CHECK(representation.use_count() == 0);
    (void)representation->files();
    CHECK(content->filesCalls == 1);
}

TEST_CASE("file representation: any other widget gets one that keeps it alive")
{
    auto content = Bedrock::makeIntrusive<PlainContent>();
    Bedrock::IntrusiveWeakPtr<PlainContent> weak(content);
    auto representation = Tavola::fileRepresentationOf(content);
    CHECK(dynamic_cast<DefaultFileRepresentation*>(representation.get()));
    CHECK(content->referenceCount() == 2);
    content.reset();
    CHECK(bool(weak));
    representation.reset();
    CHECK_FALSE(bool(weak));
}

TEST_CASE("default file representation: the files are the host's record of the widget, at once")
{
    TestHost host;
    const auto content = Bedrock::makeIntrusive<PlainContent>(&host.mainWidget());
    content->source.setValue("https://example.org/page");
    DefaultFileRepresentation representation(content);
    auto files = representation.files();
    REQUIRE(files.isReady());
    const auto data = std::move(files).get();
    const auto expected = FileRepresentation::widgetData(*content);
    CHECK(data.sources == expected.sources);
    CHECK(data.sources == QList<QString>{"https://example.org/page"});
    CHECK(data.url == expected.url);
    CHECK(data.displayName == expected.displayName);
    CHECK(data.file == expected.file);
    CHECK(data.files == expected.files);
}

TEST_CASE("default file representation: an empty record is a valid result")
{
    TestHost host;
    DefaultFileRepresentation representation(Bedrock::makeIntrusive<Trellis::Widget>());
    const auto data = representation.files().get();
    CHECK(data.file.isEmpty());
    CHECK(data.sources.isEmpty());
    CHECK(data.files.isEmpty());
    CHECK(data.displayName.isEmpty());
    CHECK(data.url.isEmpty());
}

TEST_CASE("default file representation: the preview is the host's snapshot, 500 pixels at most")
{
    TestHost host;
    host.style(".content { background-color: #00ff00 }");
    const auto content = Bedrock::makeIntrusive<PlainContent>(&host.mainWidget());
    content->addCSSClass("content");
    content->setSize({1000.f, 250.f});
    DefaultFileRepresentation representation(content);
    auto preview = representation.previewFileName();
    REQUIRE(host.frameUntil([&] { return preview.isReady(); }));
    const QImage picture(std::move(preview).get());
    CHECK(picture.size() == QSize(500, 125));
}

TEST_CASE("default file representation: the preview has no name of its own, the host chooses one in its temporary folder")
{
    TestHost host;
    host.style(".content { background-color: #00ff00 }");
    const auto content = Bedrock::makeIntrusive<PlainContent>(&host.mainWidget());
    content->addCSSClass("content");
    content->setSize({100.f, 50.f});
    DefaultFileRepresentation representation(content);
    auto preview = representation.previewFileName();
    // The host gives equal pictures without a name one file.
    auto nameless = FileRepresentation::takeWidgetSnapshot(*content, QString(), 500);
    REQUIRE(host.frameUntil([&] { return preview.isReady() && nameless.isReady(); }));
    const QString path = std::move(preview).get();
    CHECK(path == std::move(nameless).get());
    CHECK(QFileInfo(path).isAbsolute());
}

TEST_CASE("default file representation: a snapshot that fails is a failed future")
{
    TestHost host;
    DefaultFileRepresentation representation(Bedrock::makeIntrusive<Trellis::Widget>());
    auto preview = representation.previewFileName();
    REQUIRE(host.frameUntil([&] { return preview.isReady(); }));
    CHECK_THROWS_AS((void)std::move(preview).get(), std::runtime_error);
}

TEST_CASE("file data: destroying a changed copy leaves the first record as it was")
{
    FileRepresentation::FileData data{"/f", {"s"}, {"l"}, "name", "http://u"};
    {
        FileRepresentation::FileData copy = data;
        copy.sources.append("more");
        copy.files.clear();
        copy.displayName += "!";
    }
    CHECK(data.file == "/f");
    CHECK(data.sources == QList<QString>{"s"});
    CHECK(data.files == QList<QString>{"l"});
    CHECK(data.displayName == "name");
    CHECK(data.url == "http://u");
}
