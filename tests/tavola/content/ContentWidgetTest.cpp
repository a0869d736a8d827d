#include <doctest/doctest.h>

#include "LogCapture.hpp"
#include "MadePictures.hpp"
#include "TestHost.hpp"

#include <Facet/AttributeT.hpp>
#include <Tavola/ContentWidget.hpp>
#include <Tavola/FileRepresentation.hpp>

#include <QFile>
#include <QTemporaryDir>

using Bedrock::makeIntrusive;
using TestSupport::TestHost;

TEST_CASE("content widget: can be moved unless a style says otherwise")
{
    TestHost host;
    const auto content = makeIntrusive<Tavola::ContentWidget>(&host.mainWidget());
    content->setLocation({0.f, 0.f});
    content->setSize({100.f, 100.f});
    host.dragAndDrop(1, {50.f, 50.f}, {150.f, 50.f});
    CHECK(content->location().x > 90.f);
    host.frames(120);
    content->stopMotion();
    host.style("ContentWidget { movable: false; rotatable: false; scalable: false }");
    content->setLocation({0.f, 0.f});
    host.dragAndDrop(1, {50.f, 50.f}, {150.f, 50.f});
    CHECK(content->location() == Vecta::Vector2f());
}

TEST_CASE("content widget: a style sheet sets what it shows and what is collected")
{
    TestHost host;
    host.style("ContentWidget { display-name: 'The map'; source-tessel-urls: '/maps/map.pdf', 'https://example.org/map' }");
    const auto content = makeIntrusive<Tavola::ContentWidget>(&host.mainWidget());
    const auto data = Tavola::FileRepresentation::widgetData(*content);
    CHECK(data.displayName == "The map");
    CHECK(data.sources == QStringList{"/maps/map.pdf", "https://example.org/map"});
}

TEST_CASE("content widget: a note stands in the place of a picture that cannot be shown, until there is another one")
{
    const QTemporaryDir folder;
    TestHost host;
    const auto write = [&folder](const char* name, const QByteArray& bytes) {
        QFile file(folder.filePath(QString::fromLatin1(name)));
        REQUIRE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return file.fileName();
    };
    const QString huge = write("huge.png", TestSupport::pngHeader({14000, 14000}));
    const auto content = makeIntrusive<Tavola::ContentWidget>(&host.mainWidget());
    const auto note = [&content]() -> Trellis::Widget* {
        for (const auto& child : content->children())
            if (child->hasCSSClass("picture-note"))
                return child.get();
        return nullptr;
    };
    content->load(write("small.png", TestSupport::blackPng({300, 200})));
    REQUIRE(host.frameUntil([&] { return content->isLoaded(); }));
    CHECK_FALSE(note());
    host.frame();
    const Vecta::Vector2f size = content->size();

    TestSupport::expectWarning(
        "ImageWidget # Failed to load image " + huge.toStdString()
        + " (14000 x 14000 pixels need 787 MB of memory to decode, and the limit is 256 MB; make it smaller, "
          "or save it as JPEG, which is decoded scaled down)");
    content->load(huge);
    REQUIRE(host.frameUntil([&] { return content->hasFailed(); }));
    host.frame();
    REQUIRE(note());
    CHECK(note()->isVisible());
    CHECK(content->size().x > 100.f);
    CHECK(content->size().y > 50.f);
    CHECK(note()->width() == content->width());

    content->load(folder.filePath(QStringLiteral("small.png")));
    host.frame();
    CHECK_FALSE(note()->isVisible());
    REQUIRE(host.frameUntil([&] { return content->isLoaded(); }));
    host.frame();
    CHECK_FALSE(note()->isVisible());
    CHECK(content->size() == size);
}
