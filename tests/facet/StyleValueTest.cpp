#include <doctest/doctest.h>

#include <Facet/StyleValue.hpp>

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

TEST_CASE("style value: functions close behind their last argument, nested and empty ones too")
{
    StyleValue value;
    value.terms << StyleTerm{Kind::Function, "outer", 4, {}} << StyleTerm{Kind::Function, "inner", 2, {}}
                << StyleTerm{Kind::Number, "1", 1, {}} << StyleTerm{Kind::Ident, "a", 0, {}} << StyleTerm{Kind::Ident, "b", 0, {}}
                << StyleTerm{Kind::Function, "none", 0, {}} << StyleTerm{Kind::Ident, "c", 0, {}};
    CHECK(value.toString() == QStringLiteral("outer(inner(1 a) b) none() c"));
}
