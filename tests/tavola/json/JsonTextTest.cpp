#include "json/JsonText.hpp"

#include <doctest/doctest.h>

#include <QJsonDocument>
#include <QJsonParseError>

TEST_CASE("json text: the place of an error is counted in lines and columns from 1")
{
    struct Row
    {
        const char* text;
        const char* position;
    };
    const Row rows[] = {
        {"", "1:1"},
        {"{ nonsense", "1:3"},
        {"{\n  \"a\": tru\n}", "2:10"},
        {"{\"a\": 1,\n\n  \"b\" 2}", "3:7"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.text);
        QJsonParseError error;
        REQUIRE(QJsonDocument::fromJson(row.text, &error).isNull());
        CHECK(Tavola::jsonPosition(row.text, error.offset).toStdString() == row.position);
    }
}

TEST_CASE("json text: an offset outside the text is its nearest place")
{
    CHECK(Tavola::jsonPosition("ab\ncd", -5) == "1:1");
    CHECK(Tavola::jsonPosition("ab\ncd", 500) == "2:2");
}
