#include "component/StyleDeclarations.hpp"

#include <doctest/doctest.h>

#include <Facet/StyleValue.hpp>

#include <QJsonDocument>
#include <QStringList>

namespace
{
Facet::StyleValue wordValue(const char* word)
{
    Facet::StyleValue value;
    value.terms.append({Facet::StyleTerm::Kind::Ident, QLatin1String(word), 0.0, {}});
    return value;
}

struct DeclarationsRead
{
    explicit DeclarationsRead(const char* json)
    {
        const QJsonDocument document = QJsonDocument::fromJson(QByteArray("[") + json + "]");
        REQUIRE(document.isArray());
        types = Tavola::readStyleDeclarations(document.array().at(0), [this](const QString& place, const QString& why) {
            skipped << place + QStringLiteral(": ") + why;
        });
    }

    std::vector<Cascara::StyleType> types;
    QStringList skipped;
};
}

TEST_CASE("style declarations: types have what style sheets may say of them")
{
    const DeclarationsRead read(R"({ "Bare": {},
        "Frame": { "is": "Widget", "attributes": { "frame-width": "number", "material": ["oak", "gilt"] },
                   "classes": ["old"], "states": ["empty"] },
        "Stand": { "is": "Frame" } })");
    CHECK(read.skipped == QStringList());
    REQUIRE(read.types.size() == 3);
    CHECK(read.types[0].name == "Bare");
    const Cascara::StyleType& frame = read.types[1];
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
    CHECK(read.types[2].base == "Frame");
}

TEST_CASE("style declarations: none are no mistake")
{
    const DeclarationsRead read("{}");
    CHECK(read.types.empty());
    CHECK(read.skipped == QStringList());
    CHECK(Tavola::readStyleDeclarations(QJsonValue(QJsonValue::Undefined), nullptr).empty());
}

TEST_CASE("style declarations: a mistake costs the smallest piece, and is reported with its place")
{
    struct Row
    {
        const char* json;
        QStringList skipped;
        std::size_t types = 1;
    };
    const QString kinds = QStringLiteral("expected one of yes/no, number, whole number, text, list, colour, or a list of words");
    const Row rows[] = {
        {"[]", {"styles: expected an object of names and values"}, 0},
        {R"({ "Frame": 1, "Bare": {} })",
         {"styles.Frame: expected an object such as { \"is\": \"Widget\", \"attributes\": {} }"}},
        {R"({ "Frame": { "is": 1 } })", {"styles.Frame.is: expected a text"}},
        {R"({ "Frame": { "is": "Wdiget" } })", {"styles.Frame.is: there is no type 'Wdiget' (did you mean 'Widget'?)"}},
        {R"({ "Frame": { "is": "Stend" }, "Stand": {} })",
         {"styles.Frame.is: there is no type 'Stend' (did you mean 'Stand'?)"},
         2},
        {R"({ "Frame": { "atributes": [] } })",
         {"styles.Frame.atributes: unknown entry; known are is, attributes, classes, states"}},
        {R"({ "Frame": { "attributes": ["gilt"] } })", {"styles.Frame.attributes: expected an object of names and values"}},
        {R"({ "Frame": { "attributes": { "gilt": "numbers" } } })",
         {"styles.Frame.attributes.gilt: " + kinds + " (did you mean 'number'?)"}},
        {R"({ "Frame": { "attributes": { "gilt": 1 } } })", {"styles.Frame.attributes.gilt: " + kinds}},
        {R"({ "Frame": { "attributes": { "gilt": [1] } } })", {"styles.Frame.attributes.gilt[0]: expected a name"}},
        {R"({ "Frame": { "classes": "gilt" } })", {"styles.Frame.classes: expected a list of names"}},
        {R"({ "Frame": { "states": ["old", 1] } })", {"styles.Frame.states[1]: expected a name"}},
    };
    for (const Row& row : rows) {
        CAPTURE(row.json);
        const DeclarationsRead read(row.json);
        CHECK(read.skipped == row.skipped);
        CHECK(read.types.size() == row.types);
    }
}

TEST_CASE("style declarations: an attribute keeps its name when its values are declared wrongly")
{
    const DeclarationsRead read(
        R"({ "Frame": { "attributes": { "a": "numbers", "b": [1], "c": ["oak", 1], "d": "number" }, "states": ["old", 1] } })");
    CHECK(read.skipped.size() == 4);
    REQUIRE(read.types.size() == 1);
    const auto& attributes = read.types[0].attributes;
    REQUIRE(attributes.size() == 4);
    CHECK_FALSE(attributes[0].judges());
    CHECK_FALSE(attributes[1].judges());
    CHECK(attributes[2].accepts(wordValue("oak"), nullptr));
    CHECK_FALSE(attributes[2].accepts(wordValue("pine"), nullptr));
    CHECK(attributes[3].judges());
    CHECK(read.types[0].states == QStringList{"old"});
}
