#include <Trellis/Length.hpp>

#include "tree/LengthComputation.hpp"

#include <Facet/StyleConversion.hpp>
#include <Facet/StyleMath.hpp>
#include <Vecta/Angle.hpp>

namespace Trellis
{
float Length::compute(float reference) const
{
    return LengthComputation::compute(computation, reference);
}
}

namespace Facet
{
namespace
{
using Kind = StyleTerm::Kind;
using Trellis::Angle;
using Trellis::Edges;
using Trellis::Length;

bool fail(QString* error, const char* expectation)
{
    if (error)
        *error = QString::fromUtf8(expectation);
    return false;
}

/// Moves past the length.
bool readLength(const QVector<StyleTerm>& terms, int& position, Length& result, const char* expectation, QString* error)
{
    const StyleTerm& term = terms[position++];
    if (term.kind == Kind::Ident && term.text.compare(QLatin1String("auto"), Qt::CaseInsensitive) == 0) {
        result = Length();
        return true;
    }
    if (term.kind == Kind::Function && StyleMath::isFunction(term.text)) {
        const int first = position - 1;
        position += int(term.number);
        const int computation = Trellis::LengthComputation::number(terms.mid(first, position - first), error);
        result = {Length::Unit::Computed, 0.f, computation};
        return computation != 0;
    }
    const bool percent = term.kind == Kind::Percentage;
    if (!percent && term.kind != Kind::Number && (term.kind != Kind::Dimension || term.unit != "px"))
        return fail(error, expectation);
    float number = 0.f;
    if (!toFloat(term.number, number, error))
        return false;
    result = percent ? Length::percent(number) : Length::pixels(number);
    return true;
}

QString number(float value)
{
    return QString::number(double(value), 'g', 7);
}
}

bool StyleConversion<Length>::read(const StyleValue& value, Length& result, QString* error)
{
    constexpr const char* kExpectation = "expected a length in px, a percentage or auto";
    int position = 0;
    Length length;
    if (value.terms.isEmpty())
        return fail(error, kExpectation);
    if (!readLength(value.terms, position, length, kExpectation, error))
        return false;
    if (position < value.terms.size())
        return fail(error, kExpectation);
    result = length;
    return true;
}

QString StyleConversion<Length>::write(const Length& value)
{
    switch (value.unit) {
    case Length::Unit::Auto: return QStringLiteral("auto");
    case Length::Unit::Computed: return Trellis::LengthComputation::text(value.computation);
    case Length::Unit::Percent: return number(value.value) + QLatin1Char('%');
    case Length::Unit::Pixels: break;
    }
    return number(value.value) + QLatin1String("px");
}

bool StyleConversion<Edges>::read(const StyleValue& value, Edges& result, QString* error)
{
    Length sides[4];
    constexpr const char* kExpectation = "expected one to four lengths";
    int count = 0;
    for (int position = 0; position < value.terms.size(); ++count)
        if (count == 4 ? !fail(error, kExpectation) : !readLength(value.terms, position, sides[count], kExpectation, error))
            return false;
    if (count == 0)
        return fail(error, kExpectation);
    result.top = sides[0];
    result.right = count > 1 ? sides[1] : result.top;
    result.bottom = count > 2 ? sides[2] : result.top;
    result.left = count > 3 ? sides[3] : result.right;
    return true;
}

QString StyleConversion<Edges>::write(const Edges& value)
{
    using Side = StyleConversion<Length>;
    const QString blank = QStringLiteral(" ");
    QString text = Side::write(value.top);
    const bool fourth = !(value.left == value.right);
    const bool third = fourth || !(value.bottom == value.top);
    const bool second = third || !(value.right == value.top);
    if (second)
        text += blank + Side::write(value.right);
    if (third)
        text += blank + Side::write(value.bottom);
    if (fourth)
        text += blank + Side::write(value.left);
    return text;
}

bool StyleConversion<Angle>::read(const StyleValue& value, Angle& result, QString* error)
{
    if (value.terms.size() != 1)
        return fail(error, "expected an angle");
    const StyleTerm& term = value.terms.first();
    if (term.kind == Kind::Number || (term.kind == Kind::Dimension && term.unit == "deg"))
        return toFloat(Vecta::degreesToRadians(term.number), result.radians, error);
    if (term.kind == Kind::Dimension && term.unit == "grad")
        return toFloat(Vecta::degreesToRadians(term.number * 0.9), result.radians, error);
    if (term.kind == Kind::Dimension && term.unit == "rad")
        return toFloat(term.number, result.radians, error);
    if (term.kind == Kind::Dimension && term.unit == "turn")
        return toFloat(term.number * Vecta::kTwoPi, result.radians, error);
    return fail(error, "expected an angle in deg, grad, rad or turn");
}

QString StyleConversion<Angle>::write(const Angle& value)
{
    return number(value.radians) + QLatin1String("rad");
}
}
