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

Facet::StyleValue wordValue(const char* word)
{
    Facet::StyleValue value;
    value.terms.append({Facet::StyleTerm::Kind::Ident, QLatin1String(word), 0.0, {}});
    return value;
}
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
    SUBCASE("no components")
    {
        const QString path = folder.write(R"({ "package": "things" })");
        TestSupport::expectWarning("Package::load # " + path.toStdString() + ": \"components\" is missing or not an object");
        CHECK_FALSE(Package::load(path));
    }
}

TEST_CASE("package: an entry that declares no component costs itself only")
{
    const Folder folder;
    const QString path = folder.write(R"({ "components": {
        "a": { "type": "widget" }, "b": 7, "c": { "type": "spoon" }, "d": { "type": "widget", "slots": "x" },
        "e": { "type": "widget", "slots": [1] }, "f": { "type": "widget", "restrictions": "x" } } })");
    const std::string start = "Package::load # " + path.toStdString() + ": component ";
    TestSupport::expectWarning(start + "\"b\": expected an object such as { \"type\": \"widget\" }; skipped");
    TestSupport::expectWarning(start + "\"c\": \"type\" must be \"widget\" or \"widget-instance\"; skipped");
    TestSupport::expectWarning(start + "\"d\": \"slots\" must be a list of names; skipped");
    TestSupport::expectWarning(start + "\"e\": \"slots\" must be a list of names; skipped");
    TestSupport::expectWarning(start + "\"f\": \"restrictions\" must be a list of names; skipped");
    const auto package = Package::load(path);
    REQUIRE(package);
    CHECK(package->component("a"));
    for (const char* skipped : {"b", "c", "d", "e", "f"})
        CHECK_FALSE(package->component(skipped));
}

TEST_CASE("package: declares what style sheets may say of its widgets, and what is wrong there costs one type")
{
    const Folder folder;
    const QString path = folder.write(R"({ "components": {}, "styles": {
        "Frame": { "is": "Widget", "attributes": { "frame-width": "number", "material": ["oak", "gilt"] }, "classes": ["old"], "states": ["empty"] },
        "Bare": {},
        "NoObject": 1, "NoList": { "classes": "gilt" }, "NoAttributes": { "attributes": ["gilt"] },
        "NoKind": { "attributes": { "gilt": "numbers" } }, "NoWords": { "attributes": { "gilt": ["a", 1] } }, "NoNames": { "states": [1] }, "NoType": { "is": 1 },
        "Unknown": { "atributes": [] } } })");
    const std::string start = "Package::load # " + path.toStdString() + ": style \"";
    TestSupport::expectWarning(start
                               + "NoObject\": expected an object such as { \"is\": \"Widget\", \"attributes\": {} }; skipped");
    TestSupport::expectWarning(start + "NoList\": \"classes\" must be a list of names; skipped");
    TestSupport::expectWarning(
        start + "NoAttributes\": \"attributes\" must be an object of names and of how their values are written; skipped");
    for (const char* type : {"NoKind", "NoWords"})
        TestSupport::expectWarning(start + type
                                   + "\": the values of \"gilt\" must be one of yes/no, number, whole number, text, list, "
                                     "colour, or a list of words; skipped");
    TestSupport::expectWarning(start + "NoNames\": \"states\" must be a list of names; skipped");
    TestSupport::expectWarning(start + "NoType\": \"is\" must be the name of a type; skipped");
    TestSupport::expectWarning(start
                               + "Unknown\": unknown entry \"atributes\"; known are is, attributes, classes, states; skipped");
    const auto package = Package::load(path);
    REQUIRE(package);
    REQUIRE(package->styleTypes().size() == 2);
    CHECK(package->styleTypes()[0].name == "Bare");
    const Cascara::StyleType& frame = package->styleTypes()[1];
    CHECK(frame.name == "Frame");
    CHECK(frame.base == "Widget");
    REQUIRE(frame.attributes.size() == 2);
    CHECK(frame.attributes[0].name() == "frame-width");
    CHECK(frame.attributes[0].judges());
    CHECK_FALSE(frame.attributes[0].accepts(wordValue("oak"), nullptr));
    CHECK(frame.attributes[1].accepts(wordValue("oak"), nullptr));
    CHECK_FALSE(frame.attributes[1].accepts(wordValue("pine"), nullptr));
    CHECK(frame.classes == QStringList{"old"});
    CHECK(frame.states == QStringList{"empty"});
}
