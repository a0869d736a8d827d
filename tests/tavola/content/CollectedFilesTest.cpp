#include <Tavola/CollectedFiles.hpp>

#include "TestHost.hpp"

#include <Facet/AttributeT.hpp>
#include <Tavola/FileRepresentation.hpp>
#include <Tavola/Tavola.hpp>
#include <Trellis/Widget.hpp>

#include <doctest/doctest.h>

#include <QFile>
#include <QTemporaryDir>

using Tavola::CollectedFiles;

namespace
{
class Picture final : public Trellis::Widget
{
public:
    Facet::AttributeT<QString> source{this, "source"};
};
}

TEST_CASE("collected files: a path is found by its name, and of two files with one name the later one")
{
    CollectedFiles files;
    CHECK(files.path("boat.png").isEmpty());
    files.add("/museum/ships/boat.png");
    files.add("/museum/guide.pdf");
    CHECK(files.path("boat.png") == "/museum/ships/boat.png");
    files.add("/museum/lake/boat.png");
    CHECK(files.path("boat.png") == "/museum/lake/boat.png");
    CHECK(files.path("guide.pdf") == "/museum/guide.pdf");
    CHECK(files.path("ships/boat.png").isEmpty());
}

TEST_CASE("collected files: the application has those that content was described with, and no web addresses")
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("boat.png");
    QFile file(path);
    REQUIRE(file.open(QIODevice::WriteOnly));
    TestSupport::TestHost host;
    const auto& files = Tavola::Tavola::instance()->part<CollectedFiles>();
    const auto picture = Bedrock::makeIntrusive<Picture>();
    picture->source.setValue("https://museum.example/boat.png");
    (void)Tavola::FileRepresentation::widgetData(*picture);
    CHECK(files.path("boat.png").isEmpty());
    picture->source.setValue(path);
    (void)Tavola::FileRepresentation::widgetData(*picture);
    CHECK(files.path("boat.png") == path);
}
