#include <doctest/doctest.h>

#include <Facet/StyleMath.hpp>

#include <QStringList>

#include <string>
#include <vector>

using Facet::StyleMath;
using Facet::StyleTerm;
using Facet::StyleValue;
using Kind = Facet::StyleTerm::Kind;

namespace
{
StyleTerm term(const QString& text)
{
    if (text.endsWith(QLatin1Char('(')))
        return {Kind::Function, text.left(text.size() - 1), 0, {}};
    if (text.size() == 1 && QStringLiteral("+-*/,").contains(text))
        return {Kind::Delimiter, text, 0, {}};
    if (text.at(0).isLetter())
        return {Kind::Ident, text, 0, {}};
    int digits = 0;
    while (digits < text.size()
           && (text.at(digits).isDigit() || text.at(digits) == QLatin1Char('-') || text.at(digits) == QLatin1Char('.')))
        ++digits;
    const double number = text.left(digits).toDouble();
    const QString unit = text.mid(digits);
    if (unit == QLatin1String("%"))
        return {Kind::Percentage, {}, number, {}};
    return {unit.isEmpty() ? Kind::Number : Kind::Dimension, {}, number, unit.toUtf8()};
}

/// Terms that blanks separate; ")" closes a function.
QVector<StyleTerm> termsOf(const char* text)
{
    QVector<StyleTerm> terms;
    std::vector<int> open;
    for (const QString& word : QString::fromUtf8(text).split(QLatin1Char(' '))) {
        if (word == QLatin1String(")")) {
            terms[open.back()].number = terms.size() - open.back() - 1;
            open.pop_back();
            continue;
        }
        terms.push_back(term(word));
        if (terms.last().kind == Kind::Function)
            open.push_back(terms.size() - 1);
    }
    return terms;
}

std::string folded(const char* text)
{
    StyleValue value;
    value.terms = termsOf(text);
    QString error;
    if (!StyleMath::fold(value.terms, 0, error))
        return "[" + error.toStdString() + "]";
    return value.toString().toStdString();
}
}

TEST_CASE("style math: what is known becomes one number")
{
    struct Row
    {
        const char* terms;
        const char* result;
    };
    const Row rows[] = {
        {"calc( 1 + 2 * 3 )", "7"},
        {"calc( ( 1 + 2 ) * 3 )", "9"},
        {"calc( 10px - 4px - 3px )", "3px"},
        {"calc( 12px / 4 / 3 )", "1px"},
        {"calc( 2 * 3px )", "6px"},
        {"calc( 3px * 2 )", "6px"},
        {"calc( 1turn - 90deg )", "270deg"},
        {"calc( 1s + 500ms )", "1.5s"},
        {"calc( 10% + 20% )", "30%"},
        {"min( 3 , 1 , 2 )", "1"},
        {"max( 3px , 7px )", "7px"},
        {"min( 3px )", "3px"},
        {"clamp( 1 , 5 , 3 )", "3"},
        {"clamp( 1 , 0 , 3 )", "1"},
        {"clamp( 1 , 2 , 3 )", "2"},
        {"clamp( 5 , 2 , 3 )", "5"}, // the low bound wins
        {"calc( max( 1 , 2 ) + min( 5 , 4 ) )", "6"},
        {"MAX( 1 , 2 )", "2"},
        {"calc( pi * 0 )", "0"},
        {"calc( 0 / 0 )", "0"},
        {"calc( 1 / 0 )", "inf"},
        {"clamp( 0 , infinity , 8 )", "8"},
        {"calc( e - e )", "0"},
    };
    for (const Row& row : rows) {
        CAPTURE(std::string(row.terms));
        CHECK(folded(row.terms) == row.result);
    }
}

TEST_CASE("style math: a percentage beside lengths stays until its whole is known, and em until the font size is")
{
    CHECK(folded("calc( 100% - 20px )") == "calc(100% - 20px)");
    CHECK(folded("min( 50% , 20px )") == "min(50%, 20px)");
    CHECK(folded("calc( 2em + 1px )") == "calc(2em + 1px)");
    const double whole = 200.0;
    const auto value = [&](const char* text) { return StyleMath::evaluate(termsOf(text), 0, &whole, nullptr); };
    CHECK(value("calc( 100% - 20px )")->value == 180.0);
    CHECK(value("min( 50% , 20px )")->value == 20.0);
    CHECK(value("clamp( 10px , 50% , 80px )")->value == 80.0);
    CHECK(value("calc( ( 50% + 10px ) / 2 )")->kind == StyleMath::Kind::Length);
    StyleValue em{termsOf("rgb( calc( 2em + 1px ) 3em )")};
    REQUIRE(StyleMath::hasEm(em));
    StyleMath::resolveEm(em, 10.0);
    CHECK(em.toString() == QStringLiteral("rgb(21px 30px)"));
    CHECK_FALSE(StyleMath::hasEm(em));
    StyleValue mixed{termsOf("calc( 2em + 10% )")};
    StyleMath::resolveEm(mixed, 10.0);
    CHECK(mixed.toString() == QStringLiteral("calc(20px + 10%)"));
}

TEST_CASE("style math: what has no value is an error with its reason")
{
    struct Row
    {
        const char* terms;
        const char* error;
    };
    const Row rows[] = {
        {"calc( 1px + 2 )", "values of different kinds are put together"},
        {"calc( 1px + 2deg )", "values of different kinds are put together"},
        {"min( 1px , 2 )", "values of different kinds are put together"},
        {"clamp( 1px , 2px , 3 )", "values of different kinds are put together"},
        {"calc( 2px * 3px )", "a value is multiplied by one that is no number"},
        {"calc( 2 / 3px )", "a value is divided by one that is no number"},
        {"calc( 1 + )", "a value is missing in 'calc()'"},
        {"calc( + 1 )", "a value is missing in 'calc()'"},
        {"calc( )", "a value is missing in 'calc()'"},
        {"min( 1 , )", "a value is missing in 'min()'"},
        {"MAX( )", "a value is missing in 'max()'"},
        {"clamp( 1 , min( 2 , ) , 3 )", "a value is missing in 'min()'"},
        {"calc( min( 1 , 2 ) + )", "a value is missing in 'calc()'"},
        {"calc( 1 , 2 )", "unexpected ',' in 'calc()'"},
        {"calc( 1 2 )", "expected '+', '-', '*' or '/' between two values, '+' and '-' with blanks around them"},
        {"clamp( 1 , 2 )", "'clamp()' takes three values"},
        {"clamp( 1 )", "'clamp()' takes three values"},
        {"clamp( 1 , 2 , 3 , 4 )", "'clamp()' takes three values"},
        {"calc( 1kg )", "expected one of the units px, mm, em, deg, grad, rad, turn, s, ms"},
        {"calc( red )", "expected a number"},
        {"calc( rgb( 1 2 3 ) )", "expected a number, 'calc()', 'min()', 'max()' or 'clamp()'"},
    };
    for (const Row& row : rows) {
        CAPTURE(std::string(row.terms));
        CHECK(folded(row.terms) == "[" + std::string(row.error) + "]");
    }
}
