#include <doctest/doctest.h>

#include <Facet/StyleValue.hpp>

#include <string>

using Facet::StyleTerm;
using Facet::StyleValue;
using Kind = Facet::StyleTerm::Kind;

TEST_CASE("style value: is written as it could stand in a style sheet")
{
    StyleValue value;
    CHECK(value.toString().isEmpty());
    value.terms << StyleTerm{Kind::Ident, "solid", 0, {}} << StyleTerm{Kind::Dimension, "1.50PX", 1.5, "px"}
                << StyleTerm{Kind::Delimiter, ",", 0, {}} << StyleTerm{Kind::String, "say \"\\\n", 0, {}}
                << StyleTerm{Kind::Hash, "abc", 0, {}} << StyleTerm{Kind::Percentage, {}, 50, {}}
                << StyleTerm{Kind::Url, "/a b.png", 0, {}} << StyleTerm{Kind::Number, {}, 2, {}};
    CHECK(value.toString() == QStringLiteral("solid 1.50PX, \"say \\\"\\\\\\a \" #abc 50% url(\"/a b.png\") 2"));
}

TEST_CASE("style value: functions close after their last argument, nested and empty ones too")
{
    StyleValue value;
    value.terms << StyleTerm{Kind::Function, "outer", 4, {}} << StyleTerm{Kind::Function, "inner", 2, {}}
                << StyleTerm{Kind::Number, "1", 1, {}} << StyleTerm{Kind::Ident, "a", 0, {}} << StyleTerm{Kind::Ident, "b", 0, {}}
                << StyleTerm{Kind::Function, "none", 0, {}} << StyleTerm{Kind::Ident, "c", 0, {}};
    CHECK(value.toString() == QStringLiteral("outer(inner(1 a) b) none() c"));
}

TEST_CASE("style value: a run of numbers, commas and hyphens is one, and nothing else")
{
    const StyleTerm number{Kind::Number, "20", 20, {}};
    const StyleTerm negative{Kind::Number, "-25", -25, {}};
    const StyleTerm comma{Kind::Delimiter, ",", 0, {}};
    const StyleTerm hyphen{Kind::Delimiter, "-", 0, {}};
    const StyleTerm doubled{Kind::Dimension, "1--2", 1, "--2"}; // as the tokens of CSS have it
    const StyleTerm word{Kind::Ident, "a", 0, {}};
    struct Row
    {
        std::string name;
        QVector<StyleTerm> terms;
        bool isRun;
    };
    const Row rows[] = {
        {"nothing", {}, false},
        {"a number", {number}, true},
        {"a range", {number, negative}, true},
        {"a list", {number, comma, number, negative}, true},
        {"a hyphen at the end", {number, hyphen}, true},
        {"two hyphens", {doubled}, true},
        {"a word", {word}, false},
        {"a number and a word", {number, word}, false},
        {"a length", {{Kind::Dimension, "20px", 20, "px"}}, false},
        {"a share", {{Kind::Percentage, "20%", 20, {}}}, false},
        {"a slash", {number, {Kind::Delimiter, "/", 0, {}}, number}, false},
        {"a text", {{Kind::String, "20", 0, {}}}, false},
    };
    for (const Row& row : rows) {
        INFO(row.name);
        CHECK(StyleValue{row.terms}.isNumberRun() == row.isRun);
    }
}
