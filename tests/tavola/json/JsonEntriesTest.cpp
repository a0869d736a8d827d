#include <Tavola/JsonEntries.hpp>

#include <doctest/doctest.h>

#include <QJsonDocument>

namespace
{
/// The object of a text, and what was reported: "place: reason".
struct File
{
    explicit File(const char* text, const QString& place = QString())
        : root(QJsonDocument::fromJson(text).object(), place,
               [this](const QString& at, const QString& why) { told << at + QStringLiteral(": ") + why; })
    {
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    QStringList told;
    Tavola::JsonEntries root;
};
}

TEST_CASE("json entries: what stands in the file is read as it is, and nothing is reported")
{
    const File file(
        R"({"title": "Rooms", "width": 640.5, "least": 0, "most": 10, "on": false, "table": {"height": 2}, "cards": [7]})");
    file.root.checkKnown({"title", "width", "least", "most", "on", "table", "cards"});
    CHECK(file.root.text("title", "none") == "Rooms");
    CHECK(file.root.positive("width", 1.0, 1000.0) == 640.5);
    CHECK(file.root.positive("most", 1.0, 10.0) == 10.0);
    CHECK(file.root.number("least", 1.0, 10.0) == 0.0);
    CHECK(file.root.number("most", 1.0, 10.0) == 10.0);
    CHECK_FALSE(file.root.flag("on", true));
    CHECK(file.root.inner("table").number("height", 1.0, 10.0) == 2.0);
    CHECK(file.root.list("cards", "codes") == QJsonArray{7});
    CHECK(file.told.isEmpty());
}

TEST_CASE("json entries: a missing entry has its usual value, and nothing is reported")
{
    const File file("{}");
    file.root.checkKnown({"title"});
    CHECK(file.root.text("title", "none") == "none");
    CHECK(file.root.text("title").isEmpty());
    CHECK(file.root.number("width", 3.0, 10.0) == 3.0);
    CHECK(file.root.positive("width", -1.0, 10.0) == -1.0);
    CHECK(file.root.flag("on", true));
    CHECK_FALSE(file.root.flag("on", false));
    CHECK(file.root.inner("table").object().isEmpty());
    CHECK(file.root.list("cards", "codes").isEmpty());
    CHECK(file.told.isEmpty());
}

TEST_CASE("json entries: a wrong entry has its usual value, and is reported with its place")
{
    const File file(R"({"title": 3, "less": -1, "more": 11, "zero": 0, "word": "5", "on": 1, "table": [], "cards": {}})",
                    QStringLiteral("hall"));
    CHECK(file.root.text("title", "none") == "none");
    CHECK(file.root.number("less", 3.0, 10.0) == 3.0);
    CHECK(file.root.number("more", 3.0, 10.0) == 3.0);
    CHECK(file.root.number("word", 3.0, 10.0) == 3.0);
    CHECK(file.root.positive("zero", 3.0, 10.5) == 3.0);
    CHECK(file.root.positive("more", 3.0, 10.5) == 3.0);
    CHECK(file.root.flag("on", false) == false);
    CHECK(file.root.inner("table").object().isEmpty());
    CHECK(file.root.list("cards", "codes").isEmpty());
    CHECK(file.told
          == QStringList{"hall.title: expected a text", "hall.less: expected a number from 0 to 10",
                         "hall.more: expected a number from 0 to 10", "hall.word: expected a number from 0 to 10",
                         "hall.zero: expected a number above 0 and up to 10.5",
                         "hall.more: expected a number above 0 and up to 10.5", "hall.on: expected true or false",
                         "hall.table: expected an object of names and values", "hall.cards: expected a list of codes"});
}

TEST_CASE("json entries: each unknown entry is reported with those that are known, at its own place")
{
    const File file(R"({"titel": "Rooms", "table": {"hight": 2, "width": 3}})");
    file.root.checkKnown({"title", "table"});
    file.root.inner("table").checkKnown({"width", "height"});
    CHECK(file.told
          == QStringList{"titel: unknown entry; known are title, table", "table.hight: unknown entry; known are width, height"});
}
