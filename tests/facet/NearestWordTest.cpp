#include <doctest/doctest.h>

#include <Facet/NearestWord.hpp>

#include <string>

TEST_CASE("nearest word: one is suggested that is a slip away, and none that is another word")
{
    struct Row
    {
        const char* written;
        const char* nearest;
    };
    const QStringList words{"left", "center", "right", "background-color", "border-color", "opacity"};
    const Row rows[] = {
        {"centre", "center"},  // exchanged
        {"centr", "center"},   // left out
        {"centerr", "center"}, // added
        {"kenter", "center"},  // changed
        {"cetner", "center"},  // neighbours exchanged count once
        {"ecnetr", "center"},  // two
        {"CENTRE", "center"},
        {"backgruond-colour", "background-color"},
        {"bakgrund-colr", ""}, // three
        {"lft", "left"},
        {"le", ""}, // a third of two letters is none
        {"rihgtt", "right"},
        {"opaqueness", ""},
        {"", ""},
    };
    for (const Row& row : rows) {
        CAPTURE(std::string(row.written));
        CHECK(Facet::nearestWord(QString::fromLatin1(row.written), words) == QString::fromLatin1(row.nearest));
    }
}

TEST_CASE("nearest word: the nearest wins, and of equals the first")
{
    CHECK(Facet::nearestWord("cooler", {"cooled", "colour", "cooler-x"}) == QStringLiteral("cooled"));
    CHECK(Facet::nearestWord("abcdef", {"abcdxy", "abcdex"}) == QStringLiteral("abcdex"));
    CHECK(Facet::nearestWord("abcdef", {"abcdeF", "abcdef"}) == QStringLiteral("abcdeF"));
}

TEST_CASE("nearest word: messages end with it, or with nothing")
{
    CHECK(Facet::didYouMean("opacty", {"opacity"}) == QStringLiteral(" (did you mean 'opacity'?)"));
    CHECK(Facet::didYouMean("width", {"opacity"}).isEmpty());
}
