#include "services/collections/CollectedItem.hpp"

#include <doctest/doctest.h>

using namespace Host;

TEST_CASE("collected item: every part of an item comes back from its bytes")
{
    CollectedItem item;
    item.key = QStringLiteral("run-3");
    item.file = QStringLiteral("/museum/moon.png");
    item.sources = QList<QString>{QStringLiteral("https://museum.example/a?b=1"), QStringLiteral("\"quoted\"\n")};
    item.files = QList<QString>{QStringLiteral("/museum/moon.png"), QStringLiteral("/museum/größe.pdf")};
    item.displayName = QString::fromUtf8("Mond über dem See");
    item.url = QStringLiteral("https://museum.example/moon");
    item.preview = QStringLiteral("/data/previews/run-3.png");
    item.status = 3;
    CollectedItem other;
    other.key = QStringLiteral("run-4");
    const auto back = parseItems(formatItems({item, other}));
    REQUIRE(back);
    REQUIRE(back->size() == 2);
    CHECK((*back)[0] == item);
    CHECK((*back)[1] == other);
    CHECK((*back)[0] != other);

    CollectedItem content;
    readContent(formatContent(item), content);
    CHECK(content != item);
    content.key = item.key;
    content.preview = item.preview;
    content.status = item.status;
    CHECK(content == item);
}

TEST_CASE("collected item: bytes that are no list of items are nothing")
{
    CHECK_FALSE(parseItems("!"));
    CHECK_FALSE(parseItems(""));
    CHECK_FALSE(parseItems("{}"));
    CHECK(parseItems("[]")->empty());
}
