#include <doctest/doctest.h>

#include "JsonError.hpp"
#include "LogCapture.hpp"

#include <Tavola/Package.hpp>

#include <QFile>
#include <QTemporaryDir>

using Tavola::Package;

namespace
{
struct Folder
{
    QTemporaryDir directory;

    QString write(const QByteArray& text) const
    {
        const QString path = directory.filePath("thing.json");
        QFile file(path);
        REQUIRE(file.open(QIODevice::WriteOnly));
        file.write(text);
        return path;
    }
};

}

TEST_CASE("package: declares components by name")
{
    const Folder folder;
    const auto package = Package::load(folder.write(
        R"({ "package": "things", "components": { "b": { "type": "widget-instance", "slots": ["pictures"] }, "a": { "type": "widget" } } })"));
    REQUIRE(package);
    CHECK(package->name() == "things");
    REQUIRE(package->component("a"));
    CHECK(package->component("a")->name() == "a");
    REQUIRE(package->component("b"));
    CHECK(package->component("b")->name() == "b");
    CHECK_FALSE(package->component("c"));
}

TEST_CASE("package: a definition has its schema once it is initialised")
{
    const Folder folder;
    const auto package = Package::load(
        folder.write(R"({ "components": { "a": { "type": "widget-instance", "limit": 3, "restrictions": ["lock", "key"] } } })"));
    REQUIRE(package);
    const auto definition = package->component("a");
    CHECK(definition->schema().isEmpty());
    definition->initComponent();
    CHECK(definition->schema().type() == "widget-instance");
    CHECK(definition->schema().object().value("limit").toInt() == 3);
    CHECK(definition->schema().restrictions() == QStringList{"lock", "key"});
    definition->initComponent();
    CHECK(definition->schema().type() == "widget-instance");
}

TEST_CASE("package: one without a name is called like its file")
{
    const Folder folder;
    const auto package = Package::load(folder.write(R"({ "components": {} })"));
    REQUIRE(package);
    CHECK(package->name() == "thing");
}

TEST_CASE("package: a file that cannot be read is a warning with the reason")
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("missing.json");
    TestSupport::expectWarningStartingWith("Package::load # Cannot read " + path.toStdString() + ": ");
    CHECK_FALSE(Package::load(path));
    const Folder large;
    const QString file = large.write("{}");
    REQUIRE(QFile::resize(file, qint64(5) << 20));
    TestSupport::expectWarning("Package::load # Cannot read " + file.toStdString() + ": it has 5.0 MiB, the limit is 4 MiB");
    CHECK_FALSE(Package::load(file));
}

TEST_CASE("package: a syntax error is a warning with file, line and column")
{
    const Folder folder;
    SUBCASE("on a later line")
    {
        const QByteArray json = "{\n  \"components\": {\n    \"a\": tru\n  }\n}\n";
        const QString path = folder.write(json);
        TestSupport::expectWarning("Package::load # " + path.toStdString() + ":3:12: " + TestSupport::jsonError(json));
        CHECK_FALSE(Package::load(path));
    }
    SUBCASE("on the first line")
    {
        const QString path = folder.write("{ nonsense");
        TestSupport::expectWarning("Package::load # " + path.toStdString() + ":1:3: " + TestSupport::jsonError("{ nonsense"));
        CHECK_FALSE(Package::load(path));
    }
    SUBCASE("in an empty file")
    {
        const QString path = folder.write("");
        TestSupport::expectWarning("Package::load # " + path.toStdString() + ":1:1: " + TestSupport::jsonError(""));
        CHECK_FALSE(Package::load(path));
    }
}

TEST_CASE("package: JSON that is no package is a warning")
{
    const Folder folder;
    SUBCASE("a list")
    {
        const QString path = folder.write("[1, 2]");
        TestSupport::expectWarning("Package::load # " + path.toStdString()
                                   + ":1:1: expected an object with \"package\" and \"components\"");
        CHECK_FALSE(Package::load(path));
    }
    SUBCASE("components that are a list")
    {
        const QString path = folder.write("{\n  \"components\": [] }");
        TestSupport::expectWarning("Package::load # " + path.toStdString() + ":2:17: \"components\" is missing or not an object");
        CHECK_FALSE(Package::load(path));
    }
    SUBCASE("no components")
    {
        const QString path = folder.write(R"({ "package": "things" })");
        TestSupport::expectWarning("Package::load # " + path.toStdString() + ": \"components\" is missing or not an object");
        CHECK_FALSE(Package::load(path));
    }
}

TEST_CASE("package: a mistake costs one entry, and is a warning with line and column")
{
    const Folder folder;
    const QString path = folder.write(R"({ "package": 7, "stiles": {}, "components": {
        "a": { "type": "widget" }, "b": 7, "c": { "type": "spoon" },
        "d": { "type": "widget", "slots": "x" },
        "e": { "type": "widget", "slots": [1] },
        "f": { "type": "widget", "restrictions": "x" } },
    "styles": {
        "Frame": { "is": "Widget", "attributes": { "frame-width": "numbr", "material": ["oak", "gilt"] } } } })");
    const std::string start = "Package::load # " + path.toStdString();
    TestSupport::expectWarning(start + ":1:27: stiles: unknown entry; known are package, components, styles; skipped");
    TestSupport::expectWarning(start + ":1:14: package: expected a text; skipped");
    TestSupport::expectWarning(start + ":2:41: components.b: expected an object such as { \"type\": \"widget\" }; skipped");
    TestSupport::expectWarning(start + ":2:49: components.c: \"type\" must be \"widget\" or \"widget-instance\"; skipped");
    TestSupport::expectWarning(start + ":3:14: components.d: \"slots\" must be a list of names; skipped");
    TestSupport::expectWarning(start + ":4:14: components.e: \"slots\" must be a list of names; skipped");
    TestSupport::expectWarning(start + ":5:14: components.f: \"restrictions\" must be a list of names; skipped");
    TestSupport::expectWarning(start
                               + ":7:67: styles.Frame.attributes.frame-width: expected one of yes/no, number, whole number, "
                                 "text, list, colour, or a list of words (did you mean 'number'?); skipped");
    const auto package = Package::load(path);
    REQUIRE(package);
    CHECK(package->name() == "thing");
    CHECK(package->component("a"));
    for (const char* skipped : {"b", "c", "d", "e", "f"})
        CHECK_FALSE(package->component(skipped));
    REQUIRE(package->styleTypes().size() == 1);
    CHECK(package->styleTypes()[0].name == "Frame");
}

TEST_CASE("package: JSON without its text has no lines, and names the entry")
{
    TestSupport::expectWarning(
        "Package::load # x.json: components.a: expected an object such as { \"type\": \"widget\" }; skipped");
    const auto package = Package::fromJson({{"components", QJsonObject{{"a", 1}}}}, "x.json");
    REQUIRE(package);
    CHECK_FALSE(package->component("a"));
}
