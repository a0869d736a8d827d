#include <Tavola/ComponentReader.hpp>

#include <doctest/doctest.h>

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>
#include <QTemporaryDir>

using Tavola::ComponentReader;
using Tavola::ComponentUse;

namespace
{
/// What a file with "components" and "widgets" gives, and what is skipped in it.
struct Read
{
    explicit Read(const QByteArray& json)
    {
        const QJsonDocument document = QJsonDocument::fromJson(json);
        REQUIRE(document.isObject());
        ComponentReader reader(
            QDir(folder.path()).filePath(QStringLiteral("file.json")),
            [this](const QString& place, const QString& why) { skipped << place + QStringLiteral(": ") + why; });
        reader.readNamed(document.object().value(QLatin1String("components")));
        widgets = reader.list(document.object().value(QLatin1String("widgets")), QStringLiteral("widgets"));
    }

    QTemporaryDir folder;
    QStringList skipped;
    std::vector<ComponentUse> widgets;
};

QJsonObject attributesOf(const ComponentUse& use)
{
    return use.properties.value(QLatin1String("attributes")).toObject();
}
}

TEST_CASE("component reader: a named component is used in several places, each with its own additions")
{
    const Read read(R"({
        "components": {"map": {"component": "picture", "id": "map", "classes": ["large"], "attributes": {"a": 1, "b": 2},
                               "slots": {"s": [{"component": "text"}]}}},
        "widgets": [{"use": "map"},
                    {"use": "map", "id": "other", "classes": ["red"], "attributes": {"b": 3, "c": 4},
                     "slots": {"s": [{"component": "link"}], "t": [{"component": "panel"}]}},
                    {"component": "panel", "slots": {"x": [{"use": "map"}]}}]})");
    CHECK(read.skipped.isEmpty());
    REQUIRE(read.widgets.size() == 3);
    CHECK(read.widgets[0].component == "picture");
    CHECK(read.widgets[0].properties.value("id").toString() == "map");
    CHECK(read.widgets[0].place.endsWith("file.json: widgets[0]"));
    const ComponentUse& other = read.widgets[1];
    CHECK(other.properties.value("id").toString() == "other");
    CHECK(other.properties.value("classes").toArray() == QJsonArray{"large", "red"});
    CHECK(attributesOf(other) == QJsonObject{{"a", 1}, {"b", 3}, {"c", 4}});
    REQUIRE(other.slotContents.size() == 2);
    CHECK(other.slotContents[0].first == "s");
    REQUIRE(other.slotContents[0].second.size() == 2);
    CHECK(other.slotContents[0].second[0].component == "text");
    CHECK(other.slotContents[0].second[1].component == "link");
    CHECK(other.slotContents[1].second.size() == 1);
    // The additions of one place are not seen in another.
    CHECK(attributesOf(read.widgets[0]) == QJsonObject{{"a", 1}, {"b", 2}});
    CHECK(read.widgets[2].slotContents[0].second[0].component == "picture");
}

TEST_CASE("component reader: components that contain one another are reported where the circle closes")
{
    struct Row
    {
        const char* components;
        QStringList skipped;
    };
    const Row rows[] = {
        {R"({"a": {"component": "panel", "slots": {"s": [{"component": "text"}, {"use": "a"}]}}})",
         {"components.a.slots.s[1]: components contain one another in a circle: a > a"}},
        {R"({"a": {"component": "panel", "slots": {"s": [{"use": "b"}]}}, "b": {"component": "panel", "slots": {"t": [{"use": "c"}]}},
             "c": {"component": "panel", "slots": {"u": [{"use": "b"}]}}})",
         {"components.c.slots.u[0]: components contain one another in a circle: b > c > b"}},
        {R"({"a": {"use": "b"}, "b": {"use": "a"}})", {"components.b: components contain one another in a circle: a > b > a"}},
    };
    for (const Row& row : rows) {
        CAPTURE(row.components);
        const Read read(QByteArray(R"({"components": )") + row.components
                        + R"(, "widgets": [{"component": "text"}, {"use": "a"}, {"use": "a"}]})");
        CHECK(read.skipped == row.skipped);
        // What is not part of the circle is there.
        REQUIRE_FALSE(read.widgets.empty());
        CHECK(read.widgets[0].component == "text");
    }
    const Read read(R"({"components": {"a": {"component": "panel", "slots": {"s": [{"component": "text"}, {"use": "a"}]}}},
                        "widgets": [{"use": "a"}]})");
    REQUIRE(read.widgets.size() == 1);
    REQUIRE(read.widgets[0].slotContents[0].second.size() == 1);
    CHECK(read.widgets[0].slotContents[0].second[0].component == "text");
}

TEST_CASE("component reader: a mistake is reported once, where it stands")
{
    struct Row
    {
        const char* json;
        QStringList skipped;
        std::size_t widgets;
    };
    const Row rows[] = {
        {R"({"components": [], "widgets": []})", {"components: expected an object of names and components"}, 0},
        {R"({"components": {"a": 3}, "widgets": [{"use": "a"}, {"use": "a"}]})",
         {"components.a: expected an object with a \"component\" or \"use\""},
         0},
        {R"({"components": {"a": {"component": "text", "attributes": {"source": {"file": ""}}}}, "widgets": [{"use": "a"}, {"use": "a"}]})",
         {"components.a.attributes.source: expected the name of a file"},
         2},
        {R"({"widgets": [{"use": "b"}, {"component": "text"}]})", {"widgets[0]: \"components\" has no \"b\""}, 1},
        {R"({"widgets": [{"use": "b", "component": "text"}]})",
         {"widgets[0].component: unknown entry; known are use, id, classes, attributes, slots",
          "widgets[0]: \"components\" has no \"b\""},
         0},
        {R"({"widgets": [{"component": "text", "attributes": 3, "slots": []}]})",
         {"widgets[0].attributes: expected an object of names and values",
          "widgets[0].slots: expected an object of names and values"},
         1},
        {R"({"widgets": {}})", {"widgets: expected a list of components"}, 0},
    };
    for (const Row& row : rows) {
        CAPTURE(row.json);
        const Read read(row.json);
        CHECK(read.skipped == row.skipped);
        CHECK(read.widgets.size() == row.widgets);
    }
}

TEST_CASE("component reader: a small file cannot ask for a table without end")
{
    // Each name uses the one before twice.
    QByteArray json = R"({"components": {"n00": {"component": "text"})";
    for (int i = 1; i < 16; ++i) {
        const auto name = [](int number) { return QByteArray("n") + QByteArray::number(number).rightJustified(2, '0'); };
        json += ", \"" + name(i) + R"(": {"component": "panel", "slots": {"s": [{"use": ")" + name(i - 1) + R"("}, {"use": ")"
            + name(i - 1) + "\"}]}}";
    }
    json += R"(}, "widgets": [{"use": "n15"}, {"use": "n12"}, {"component": "text"}]})";
    const Read read(json);
    int most = 0;
    for (const QString& line : read.skipped)
        most += line.contains(QLatin1String("there are more than 10000 components")) ? 1 : 0;
    CHECK(most >= 1);
    CHECK(read.skipped.size() <= 4);

    QByteArray chain = R"({"components": {"n000": {"component": "text"})";
    for (int i = 999; i > 0; --i)
        chain += ", \"n" + QByteArray::number(1000 - i).rightJustified(3, '0')
            + R"(": {"component": "panel", "slots": {"s": [{"use": "n)" + QByteArray::number(999 - i).rightJustified(3, '0')
            + "\"}]}}";
    const Read deep(chain + R"(}, "widgets": [{"use": "n999"}, {"use": "n003"}]})");
    CHECK_FALSE(deep.skipped.isEmpty());
    CHECK(deep.skipped.first().endsWith(QLatin1String("components are nested too deeply")));
    REQUIRE(deep.widgets.size() == 2);
}

TEST_CASE("component reader: percent signs in names stand in the warnings' places as they are written")
{
    const Read read(R"({
        "components": {"50%2 off": {"component": "panel", "slots": {"%1": [{}]}}},
        "widgets": [{"component": "panel", "attributes": {"%2": [{"file": "%1%3.png"}]},
                     "slots": {"100%2": [{"component": "text"}, 3], "%1": [{"component": "panel", "slots": {"%5": [{"use": "%2"}]}}]}},
                    {"use": "50%2 off"}]})");
    const QString expected = QStringLiteral("expected an object with a \"component\" or \"use\"");
    CHECK(read.skipped
          == QStringList{QStringLiteral("components.50%2 off.slots.%1[0]: ") + expected,
                         QStringLiteral("widgets[0].attributes.%2[0]: there is no file ")
                             + QDir(read.folder.path()).filePath(QStringLiteral("%1%3.png")),
                         QStringLiteral("widgets[0].slots.%1[0].slots.%5[0]: \"components\" has no \"%2\""),
                         QStringLiteral("widgets[0].slots.100%2[1]: ") + expected});
}

TEST_CASE("component reader: with the file's text numbers in attributes keep their digits, wherever they are written")
{
    const QByteArray json = R"({
        "components": {"detector": {"component": "detector", "attributes": {"filters": 10, "gap": 10.50}}},
        "widgets": [{"use": "detector"},
                    {"use": "detector", "attributes": {"filters": [18446744073709551615, "20-25"]}},
                    {"component": "panel", "slots": {"s": [{"component": "text", "attributes": {"size": 1e3}}]}}]})";
    QStringList skipped;
    ComponentReader reader(QStringLiteral("/file.json"),
                           [&](const QString& place, const QString& why) { skipped << place + why; });
    reader.setText(json);
    const QJsonObject root = QJsonDocument::fromJson(json).object();
    reader.readNamed(root.value(QLatin1String("components")));
    const auto widgets = reader.list(root.value(QLatin1String("widgets")), QStringLiteral("widgets"));
    const auto digits = [](const char* text) { return QJsonObject{{"number", text}}; };
    REQUIRE(widgets.size() == 3);
    CHECK(attributesOf(widgets[0]) == QJsonObject{{"filters", digits("10")}, {"gap", digits("10.50")}});
    CHECK(attributesOf(widgets[1])
          == QJsonObject{{"filters", QJsonArray{digits("18446744073709551615"), "20-25"}}, {"gap", digits("10.50")}});
    CHECK(attributesOf(widgets[2].slotContents[0].second[0]) == QJsonObject{{"size", digits("1e3")}});
    CHECK(skipped.isEmpty());
}

TEST_CASE("component reader: attributes that cannot be used are named, until another value replaces them")
{
    const Read read(R"({
        "components": {"a": {"component": "text", "attributes": {"source": {"file": "none.txt"}, "gap": {"width": 1}}}},
        "widgets": [{"use": "a"}, {"use": "a", "attributes": {"source": "text"}}]})");
    REQUIRE(read.widgets.size() == 2);
    CHECK(read.widgets[0].unusableAttributes == QStringList{"gap", "source"});
    CHECK(read.widgets[1].unusableAttributes == QStringList{"gap"});
    CHECK(read.skipped.size() == 2);
}
