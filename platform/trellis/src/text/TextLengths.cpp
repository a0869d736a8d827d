#include "text/TextLengths.hpp"

namespace Facet
{
namespace
{
using Kind = StyleTerm::Kind;

bool isNormal(const StyleValue& value)
{
    return singleWord(value).compare(QLatin1String("normal"), Qt::CaseInsensitive) == 0;
}

bool isPixels(const StyleTerm& term)
{
    return term.kind == Kind::Dimension && term.unit == "px";
}

bool fail(QString* error, const char* expectation)
{
    if (error)
        *error = QString::fromUtf8(expectation);
    return false;
}
}

bool StyleConversion<Trellis::LineHeight>::read(const StyleValue& value, Trellis::LineHeight& result, QString* error)
{
    constexpr const char* kExpectation = "expected a number that is not negative, a percentage, a length in px or normal";
    result = {};
    if (isNormal(value))
        return true;
    if (value.terms.size() != 1 || !(value.terms.first().number >= 0.0))
        return fail(error, kExpectation);
    const StyleTerm& term = value.terms.first();
    result.isPixels = isPixels(term);
    if (!result.isPixels && term.kind != Kind::Number && term.kind != Kind::Percentage)
        return fail(error, kExpectation);
    return toFloat(term.kind == Kind::Percentage ? term.number / 100.0 : term.number, result.value, error);
}

QString StyleConversion<Trellis::LineHeight>::write(const Trellis::LineHeight& value)
{
    const QString number = StyleConversion<float>::write(value.value);
    return value.isPixels ? number + QLatin1String("px") : number;
}

bool StyleConversion<Trellis::LetterSpacing>::read(const StyleValue& value, Trellis::LetterSpacing& result, QString* error)
{
    result = {};
    if (isNormal(value))
        return true;
    if (value.terms.size() != 1 || !(value.terms.first().kind == Kind::Number || isPixels(value.terms.first())))
        return fail(error, "expected a length in px or normal");
    return toFloat(value.terms.first().number, result.px, error);
}

QString StyleConversion<Trellis::LetterSpacing>::write(const Trellis::LetterSpacing& value)
{
    return StyleConversion<float>::write(value.px) + QLatin1String("px");
}
}
