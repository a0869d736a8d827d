#include "json/JsonNumbers.hpp"

#include <doctest/doctest.h>

#include <QJsonDocument>
#include <QJsonObject>

using Tavola::JsonNumbers;

TEST_CASE("json numbers: each number keeps the digits of the file, by its place")
{
    const QByteArray json = R"({
        "a": 10, "b": -1.50, "c": 1e3, "d": 2E-07,
        "large": 18446744073709551615,
        "list": [1, "2", [3.0, {"deep": 4}], true, null, 5],
        "object": {"inner": {"x": 0.10}},
        "text": "12", "flag": false
    })";
    REQUIRE(QJsonDocument::fromJson(json).isObject());
    const JsonNumbers numbers(json);
    const std::pair<const char*, const char*> rows[] = {
        {"a", "10"},
        {"b", "-1.50"},
        {"c", "1e3"},
        {"d", "2E-07"},
        {"large", "18446744073709551615"},
        {"list[0]", "1"},
        {"list[1]", ""},
        {"list[2][0]", "3.0"},
        {"list[2][1].deep", "4"},
        {"list[3]", ""},
        {"list[4]", ""},
        {"list[5]", "5"},
        {"object.inner.x", "0.10"},
        {"text", ""},
        {"flag", ""},
        {"nowhere", ""},
    };
    for (const auto& [place, digits] : rows) {
        CAPTURE(place);
        CHECK(numbers.at(QLatin1String(place)) == QLatin1String(digits));
    }
}

TEST_CASE("json numbers: neither texts that hold brackets, quotes and commas nor escaped names lead astray")
{
    const QByteArray json =
        "\xEF\xBB\xBF{\"t\\\"\\u00e9\" : {\"a\": 1}, \"s\": \"}],\\\" 7, \\\\\", \"caf\xC3\xA9\":[ ],\"e\":{ },\"z\" : 2}";
    const JsonNumbers numbers(json);
    CHECK(numbers.at(QString::fromUtf8("t\"é.a")) == "1");
    CHECK(numbers.at(QStringLiteral("z")) == "2");
    CHECK(numbers.at(QStringLiteral("s")).isEmpty());
}

TEST_CASE("json numbers: of a name that is written twice the last one counts, as it does for Qt")
{
    const QByteArray json = R"({"a": 1, "a": 2})";
    REQUIRE(QJsonDocument::fromJson(json).object().value("a").toInt() == 2);
    CHECK(JsonNumbers(json).at(QStringLiteral("a")) == "2");
}

TEST_CASE("json numbers: a text that ends too early has the numbers before its end")
{
    for (const char* json : {"", "{", "[1", "[1,", "{\"a\"", "{\"a\":", "{\"a\":\"\\", "[1 2 3]", "{]", "[}"}) {
        CAPTURE(json);
        const JsonNumbers numbers{QByteArray(json)};
        CHECK(numbers.at(QStringLiteral("a")).isEmpty());
    }
    CHECK(JsonNumbers("[1,").at(QStringLiteral("[0]")) == "1");
}

TEST_CASE("json numbers: a number whose place is too long has no digits, and no place grows beyond that")
{
    const QByteArray name(1500, 'n');
    QByteArray json;
    for (int i = 0; i < 4; ++i)
        json += "{\"" + name + "\":";
    json += "1" + QByteArray("}").repeated(4);
    QString place = QString::fromUtf8(name);
    CHECK(JsonNumbers("{\"" + name + "\":1}").at(place) == "1");
    for (int i = 1; i < 4; ++i)
        place += QLatin1Char('.') + QString::fromUtf8(name);
    CHECK(JsonNumbers(json).at(place).isEmpty());
    CHECK(JsonNumbers("[" + json + ",2]").at(QStringLiteral("[1]")) == "2");
}

TEST_CASE("json numbers: a number with its digits is one JSON value, and no other value is taken for one")
{
    CHECK(JsonNumbers::digitsOf(JsonNumbers::withDigits(QStringLiteral("10.50"))) == "10.50");
    for (const QJsonValue& other : {QJsonValue(10), QJsonValue("10"), QJsonValue(QJsonObject{{"file", "10"}}),
                                    QJsonValue(QJsonObject{{"number", "10"}, {"x", 1}}), QJsonValue(QJsonObject{{"number", 10}})})
        CHECK(JsonNumbers::digitsOf(other).isEmpty());
}

TEST_CASE("json numbers: the position of a value is its line and column in characters")
{
    const QByteArray json = "\xEF\xBB\xBF{\"a\": 1,\n \"\xC3\xA4\": [{\"b.c\": 2}, {\"b\":\n\n   null}]}";
    CHECK(JsonNumbers::positionOf(json, QStringLiteral("a")) == "1:7");
    CHECK(JsonNumbers::positionOf(json, QString::fromUtf8("\xC3\xA4")) == "2:7");
    CHECK(JsonNumbers::positionOf(json, QString::fromUtf8("\xC3\xA4[0].b.c")) == "2:16");
    CHECK(JsonNumbers::positionOf(json, QString::fromUtf8("\xC3\xA4[1].b")) == "4:4");
    CHECK(JsonNumbers::positionOf(json, QStringLiteral("b")).isEmpty());
    CHECK(JsonNumbers::positionOf(json, QStringLiteral("a.b")).isEmpty());
}
