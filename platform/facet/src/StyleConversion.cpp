#include <Facet/StyleConversion.hpp>

#include <Facet/NearestWord.hpp>

#include <cmath>
#include <limits>

namespace Facet
{
namespace
{
using Kind = StyleTerm::Kind;

bool fail(QString* error, const char* expectation)
{
    if (error)
        *error = QString::fromUtf8(expectation);
    return false;
}

bool isComma(const StyleTerm& term)
{
    return term.kind == Kind::Delimiter && term.text == QLatin1String(",");
}

bool isPixels(const StyleTerm& term)
{
    return term.kind == Kind::Number || (term.kind == Kind::Dimension && term.unit == "px");
}
}

QString singleWord(const StyleValue& value)
{
    if (value.terms.size() != 1)
        return {};
    const StyleTerm& term = value.terms.first();
    return term.kind == Kind::Ident || term.kind == Kind::String ? term.text : QString();
}

bool toFloat(double number, float& result, QString* error)
{
    constexpr double kLargest = 1e9;
    if (!(std::abs(number) <= kLargest))
        return fail(error, "expected a number of at most 1000000000");
    result = float(number);
    return true;
}

bool StyleConversion<bool>::read(const StyleValue& value, bool& result, QString* error)
{
    const QString word = singleWord(value).toLower();
    if (word != QLatin1String("true") && word != QLatin1String("false")) {
        if (error)
            *error =
                QStringLiteral("expected true or false") + didYouMean(word, {QStringLiteral("true"), QStringLiteral("false")});
        return false;
    }
    result = word == QLatin1String("true");
    return true;
}

QString StyleConversion<bool>::write(const bool& value)
{
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

bool StyleConversion<float>::read(const StyleValue& value, float& result, QString* error)
{
    if (value.terms.size() != 1)
        return fail(error, "expected a number");
    const StyleTerm& term = value.terms.first();
    if (term.kind == Kind::Number
        || (term.kind == Kind::Dimension && (term.unit == "px" || term.unit == "s" || term.unit == "deg")))
        return toFloat(term.number, result, error);
    if (term.kind == Kind::Dimension && term.unit == "ms")
        return toFloat(term.number / 1000.0, result, error);
    return fail(error, "expected a number");
}

QString StyleConversion<float>::write(const float& value)
{
    return QString::number(double(value), 'g', 7);
}

bool StyleConversion<int>::read(const StyleValue& value, int& result, QString* error)
{
    if (value.terms.size() != 1 || !isPixels(value.terms.first()))
        return fail(error, "expected a whole number");
    const double number = value.terms.first().number;
    if (number != std::floor(number) || number < double(std::numeric_limits<int>::min())
        || number > double(std::numeric_limits<int>::max()))
        return fail(error, "expected a whole number");
    result = int(number);
    return true;
}

QString StyleConversion<int>::write(const int& value)
{
    return QString::number(value);
}

bool StyleConversion<QString>::read(const StyleValue& value, QString& result, QString* error)
{
    if (value.terms.size() == 1) {
        const StyleTerm& term = value.terms.first();
        if (term.kind == Kind::String || term.kind == Kind::Ident || term.kind == Kind::Url) {
            result = term.text;
            return true;
        }
    }
    if (!value.isNumberRun())
        return fail(error, "expected a quoted text");
    result = value.source.isEmpty() ? value.toString() : value.source;
    return true;
}

QString StyleConversion<QString>::write(const QString& value)
{
    return value;
}

bool StyleConversion<QStringList>::read(const StyleValue& value, QStringList& result, QString* error)
{
    result.clear();
    if (value.terms.size() == 1 && value.terms.first().kind == Kind::Ident
        && value.terms.first().text.compare(QLatin1String("none"), Qt::CaseInsensitive) == 0)
        return true;
    bool commaMayCome = false;
    for (const StyleTerm& term : value.terms) {
        if (isComma(term)) {
            if (!commaMayCome)
                return fail(error, "expected texts separated by commas");
            commaMayCome = false;
            continue;
        }
        if (term.kind == Kind::Delimiter || term.kind == Kind::Function || term.kind == Kind::Hash)
            return fail(error, "expected texts separated by commas");
        result << term.text;
        commaMayCome = true;
    }
    return commaMayCome || fail(error, "expected texts separated by commas");
}

QString StyleConversion<QStringList>::write(const QStringList& value)
{
    return value.isEmpty() ? QStringLiteral("none") : value.join(QStringLiteral(", "));
}

bool StyleConversion<Vecta::Vector2f>::read(const StyleValue& value, Vecta::Vector2f& result, QString* error)
{
    if (value.terms.size() != 2 || !isPixels(value.terms[0]) || !isPixels(value.terms[1]))
        return fail(error, "expected two numbers");
    return toFloat(value.terms[0].number, result.x, error) && toFloat(value.terms[1].number, result.y, error);
}

QString StyleConversion<Vecta::Vector2f>::write(const Vecta::Vector2f& value)
{
    return StyleConversion<float>::write(value.x) + QLatin1Char(' ') + StyleConversion<float>::write(value.y);
}
}
