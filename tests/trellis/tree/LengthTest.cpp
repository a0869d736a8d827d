#include <Trellis/Length.hpp>

#include <doctest/doctest.h>

#include <cmath>

using Facet::StyleConversion;
using Facet::StyleTerm;
using Facet::StyleValue;
using Trellis::Angle;
using Trellis::Edges;
using Trellis::Length;

namespace
{
StyleTerm term(double number, const char* unit)
{
    StyleTerm t;
    t.number = number;
    t.unit = unit;
    t.kind = t.unit.isEmpty() ? StyleTerm::Kind::Number
        : t.unit == "%"       ? StyleTerm::Kind::Percentage
                              : StyleTerm::Kind::Dimension;
    return t;
}

StyleTerm word(const char* text)
{
    StyleTerm t;
    t.text = QString::fromLatin1(text);
    return t;
}

template <class T>
bool reads(const QVector<StyleTerm>& terms, T& result)
{
    QString error;
    const bool ok = StyleConversion<T>::read(StyleValue{terms}, result, &error);
    CHECK(ok == error.isEmpty());
    return ok;
}
}

TEST_CASE("length: is written in px, as a bare number, in percent or as auto")
{
    Length length;
    CHECK(reads({term(12, "px")}, length));
    CHECK(length == Length::pixels(12));
    CHECK(reads({term(3, "")}, length));
    CHECK(length == Length::pixels(3));
    CHECK(reads({term(50, "%")}, length));
    CHECK(length == Length::percent(50));
    CHECK(reads({word("AUTO")}, length));
    CHECK(length.isAuto());
}

TEST_CASE("length: refuses other units and several values, and leaves the result alone")
{
    Length length = Length::pixels(7);
    CHECK_FALSE(reads({term(2, "em")}, length));
    CHECK_FALSE(reads({term(2, "px"), term(2, "px")}, length));
    CHECK_FALSE(reads({word("wide")}, length));
    CHECK(length == Length::pixels(7));
}

TEST_CASE("edges: one to four values go round as in style sheets")
{
    const auto px = [](float v) { return Length::pixels(v); };
    Edges edges;
    CHECK(reads({term(1, "px")}, edges));
    CHECK(edges == Edges{px(1), px(1), px(1), px(1)});
    CHECK(reads({term(1, "px"), term(2, "px")}, edges));
    CHECK(edges == Edges{px(1), px(2), px(1), px(2)});
    CHECK(reads({term(1, "px"), term(2, "px"), term(3, "px")}, edges));
    CHECK(edges == Edges{px(1), px(2), px(3), px(2)});
    CHECK(reads({term(1, "px"), term(2, "px"), term(3, "px"), word("auto")}, edges));
    CHECK(edges == Edges{px(1), px(2), px(3), Length()});
    CHECK_FALSE(reads({}, edges));
    CHECK_FALSE(reads({term(1, ""), term(1, ""), term(1, ""), term(1, ""), term(1, "")}, edges));
}

TEST_CASE("edges: are written with as few values as say the same")
{
    const auto px = [](float v) { return Length::pixels(v); };
    CHECK(StyleConversion<Edges>::write({px(1), px(1), px(1), px(1)}) == QStringLiteral("1px"));
    CHECK(StyleConversion<Edges>::write({px(1), px(2), px(1), px(2)}) == QStringLiteral("1px 2px"));
    CHECK(StyleConversion<Edges>::write({px(1), px(2), px(3), px(2)}) == QStringLiteral("1px 2px 3px"));
    CHECK(StyleConversion<Edges>::write({px(1), px(2), px(3), Length()}) == QStringLiteral("1px 2px 3px auto"));
}

namespace
{
/// "calc(50% - 10px)" and "min(50%, 10px)".
QVector<StyleTerm> computed(const char* name, const char* op)
{
    StyleTerm function;
    function.kind = StyleTerm::Kind::Function;
    function.text = QString::fromLatin1(name);
    function.number = 3;
    StyleTerm between = word(op);
    between.kind = StyleTerm::Kind::Delimiter;
    return {function, term(50, "%"), between, term(10, "px")};
}
}

TEST_CASE("length: what is computed of a percentage and pixels follows what 100% is")
{
    Length difference;
    Length least;
    REQUIRE(reads(computed("calc", "-"), difference));
    REQUIRE(reads(computed("min", ","), least));
    CHECK(difference.isRelative());
    CHECK(difference.resolve(200.f) == 90.f);
    CHECK(difference.resolve(10.f) == -5.f);
    CHECK(least.resolve(200.f) == 10.f);
    CHECK(least.resolve(10.f) == 5.f);
    CHECK_FALSE(difference == least);
    Length same;
    REQUIRE(reads(computed("calc", "-"), same));
    CHECK(same == difference);
    CHECK(StyleConversion<Length>::write(difference) == QStringLiteral("calc(50% - 10px)"));
    Edges edges;
    REQUIRE(reads(QVector<StyleTerm>{term(1, "px")} + computed("calc", "-") + QVector<StyleTerm>{word("auto")}, edges));
    CHECK(edges.right == difference);
    CHECK(edges.bottom.isAuto());
    CHECK(edges.left == difference);
}

TEST_CASE("length: a computation that gives no length is refused with its reason")
{
    QString error;
    Length length = Length::pixels(7);
    StyleValue value{computed("calc", "*")};
    CHECK_FALSE(StyleConversion<Length>::read(value, length, &error));
    CHECK(error == QStringLiteral("a value is multiplied by one that is no number"));
    value.terms = {computed("calc", "*").first(), term(1, ""), computed("calc", "*")[2], term(2, "")};
    CHECK_FALSE(StyleConversion<Length>::read(value, length, &error));
    CHECK(error == QStringLiteral("expected a length in px, a percentage or auto"));
    CHECK_FALSE(reads(computed("calc", "-") + QVector<StyleTerm>{term(1, "px")}, length));
    CHECK(length == Length::pixels(7));
}

TEST_CASE("angle: degrees, radians and turns mean the same angle")
{
    Angle angle;
    CHECK(reads({term(90, "deg")}, angle));
    CHECK(angle.radians == doctest::Approx(1.5707963));
    CHECK(reads({term(90, "")}, angle));
    CHECK(angle.radians == doctest::Approx(1.5707963));
    CHECK(reads({term(100, "grad")}, angle));
    CHECK(angle.radians == doctest::Approx(double(Vecta::kPiOf<float>) / 2.0));
    CHECK(reads({term(0.25, "turn")}, angle));
    CHECK(angle.radians == doctest::Approx(1.5707963));
    CHECK(reads({term(1.5, "rad")}, angle));
    CHECK(angle.radians == doctest::Approx(1.5));
    CHECK_FALSE(reads({term(1, "px")}, angle));
}

TEST_CASE("length: what is written can be read again")
{
    CHECK(StyleConversion<Length>::write(Length::percent(33.5f)) == QStringLiteral("33.5%"));
    CHECK(StyleConversion<Length>::write(Length::pixels(4)) == QStringLiteral("4px"));
    CHECK(StyleConversion<Length>::write(Length()) == QStringLiteral("auto"));
    CHECK(StyleConversion<Angle>::write({1.5f}) == QStringLiteral("1.5rad"));
}

TEST_CASE("length: a number that would take every place from the widgets beside it is refused")
{
    const char* const kTooLarge = "expected a number of at most 1000000000";
    QString error;
    Length length;
    CHECK_FALSE(StyleConversion<Length>::read(StyleValue{{term(1e40, "px")}}, length, &error));
    CHECK(error == kTooLarge);
    CHECK_FALSE(StyleConversion<Length>::read(StyleValue{{term(-1e10, "%")}}, length, &error));
    CHECK(StyleConversion<Length>::read(StyleValue{{term(1e9, "px")}}, length, nullptr));
    Edges edges;
    error.clear();
    CHECK_FALSE(StyleConversion<Edges>::read(StyleValue{{term(1, "px"), term(1e39, "px")}}, edges, &error));
    CHECK(error == kTooLarge);
    Angle angle;
    for (const char* unit : {"deg", "rad", "turn"}) {
        error.clear();
        CHECK_FALSE(StyleConversion<Angle>::read(StyleValue{{term(1e39, unit)}}, angle, &error));
        CHECK(error == kTooLarge);
    }
}
