#include <Cascara/StyleVocabulary.hpp>

#include <doctest/doctest.h>

#include <optional>

using Cascara::StyleVocabulary;

TEST_CASE("style vocabulary: a type has what it declares and what the types have that it is based on")
{
    const StyleVocabulary::Registrant types(
        {{"Base", "", {"b", "a"}, {"k"}, {"on"}}, {"Middle", "Base", {"m"}}, {"Top", "Middle", {"t", "a"}, {}, {"up"}}});
    CHECK(StyleVocabulary::types() == QStringList{"Base", "Middle", "Top"});
    CHECK(StyleVocabulary::attributesOf("Top") == QStringList{"a", "b", "m", "t"});
    CHECK(StyleVocabulary::attributesOf("Base") == QStringList{"a", "b"});
    CHECK(StyleVocabulary::classesOf("Top") == QStringList{"k"});
    CHECK(StyleVocabulary::statesOf("Top") == QStringList{"on", "up"});
    CHECK(StyleVocabulary::typesWithAttribute("a") == QStringList{"Base", "Top"});
    CHECK(StyleVocabulary::typesWithState("up") == QStringList{"Top"});
    CHECK(StyleVocabulary::attributes() == QStringList{"a", "b", "m", "t"});
    CHECK(StyleVocabulary::states() == QStringList{"on", "up"});
    CHECK(StyleVocabulary::attributesOf("Other").isEmpty());
}

TEST_CASE("style vocabulary: declarations of one type add up, and go with the object that made them")
{
    std::optional<StyleVocabulary::Registrant> library(std::in_place, std::vector<Cascara::StyleType>{{"Base", "", {"a"}}});
    std::optional<StyleVocabulary::Registrant> plugin(
        std::in_place, std::vector<Cascara::StyleType>{{"Base", "", {"p"}}, {"Own", "Base", {"o"}}});
    CHECK(StyleVocabulary::attributesOf("Base") == QStringList{"a", "p"});
    CHECK(StyleVocabulary::attributesOf("Own") == QStringList{"a", "o", "p"});
    plugin.reset();
    CHECK(StyleVocabulary::types() == QStringList{"Base"});
    CHECK(StyleVocabulary::attributesOf("Base") == QStringList{"a"});
    library.reset();
    CHECK(StyleVocabulary::types().isEmpty());
}

TEST_CASE("style vocabulary: what is said of one type alone is not that of types based on it")
{
    const StyleVocabulary::Registrant types(
        {{"Base", "", {"a"}}, {"Base", "", {"own"}, {}, {"on"}, nullptr, false}, {"Top", "Base", {"t"}}});
    CHECK(StyleVocabulary::attributesOf("Base") == QStringList{"a", "own"});
    CHECK(StyleVocabulary::statesOf("Base") == QStringList{"on"});
    CHECK(StyleVocabulary::attributesOf("Top") == QStringList{"a", "t"});
    CHECK(StyleVocabulary::statesOf("Top").isEmpty());
    CHECK(StyleVocabulary::typesWithAttribute("own") == QStringList{"Base"});
}

TEST_CASE("style vocabulary: how values are written is what is declared for the type and for those that it is based on")
{
    const StyleVocabulary::Registrant types({{"Base", "", {{"size", "number"}, {"mode", {"slow", "fast"}}, "free"}},
                                             {"Base", "", {{"own", "yes/no"}}, {}, {}, nullptr, false},
                                             {"Top", "Base", {{"mode", QStringList{"turbo"}}}}});
    const auto word = [](const char* text) {
        Facet::StyleValue value;
        value.terms.append({Facet::StyleTerm::Kind::Ident, QLatin1String(text), 0.0, {}});
        return value;
    };
    REQUIRE(StyleVocabulary::valuesOf("Top", "size").size() == 1);
    CHECK_FALSE(StyleVocabulary::valuesOf("Top", "size").front().accepts(word("fast"), nullptr));
    REQUIRE(StyleVocabulary::valuesOf("Base", "mode").size() == 1);
    CHECK(StyleVocabulary::valuesOf("Base", "mode").front().accepts(word("fast"), nullptr));
    REQUIRE(StyleVocabulary::valuesOf("Top", "mode").size() == 2);
    CHECK(StyleVocabulary::valuesOf("Top", "mode").front().accepts(word("turbo"), nullptr));
    CHECK(StyleVocabulary::valuesOf("Base", "own").size() == 1);
    for (const char* attribute : {"free", "own", "other"})
        CHECK(StyleVocabulary::valuesOf("Top", attribute).empty());
}

TEST_CASE("style vocabulary: types that are based on each other end the search")
{
    const StyleVocabulary::Registrant types({{"A", "B", {"a"}}, {"B", "A", {"b"}}});
    CHECK(StyleVocabulary::attributesOf("A") == QStringList{"a", "b"});
}

TEST_CASE("style vocabulary: a type has its article in messages")
{
    using Cascara::StyleVocabulary;
    CHECK(StyleVocabulary::withArticle("TextWidget") == "a TextWidget");
    CHECK(StyleVocabulary::withArticle("ImageWidget") == "an ImageWidget");
    CHECK(StyleVocabulary::withArticle("operator") == "an operator");
    CHECK(StyleVocabulary::withArticle("") == "a ");
}
