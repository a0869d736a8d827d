#include <Facet/StyleMath.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace Facet
{
namespace
{
using MathKind = StyleMath::Kind;
using Quantity = StyleMath::Quantity;
using Term = StyleTerm::Kind;

constexpr double kPi = 3.14159265358979323846;

bool isNamed(const QString& text, const char* name)
{
    return text.compare(QLatin1String(name), Qt::CaseInsensitive) == 0;
}

/// Computes one function, from its first argument on.
class Evaluation
{
public:
    Evaluation(const QVector<StyleTerm>& terms, const double* wholePx, QString* error)
        : m_terms(terms), m_wholePx(wholePx), m_error(error)
    {
    }

    /// Moves past the function.
    std::optional<Quantity> function(int& position)
    {
        const StyleTerm& name = m_terms[position];
        const QString outer = m_function;
        if (!name.text.isEmpty()) // no parenthesis alone
            m_function = name.text.toLower();
        const int end = position + 1 + int(name.number);
        ++position;
        const bool isClamp = isNamed(name.text, "clamp");
        const bool isMin = isNamed(name.text, "min");
        const bool takesMany = isClamp || isMin || isNamed(name.text, "max");
        auto result = sum(position, end);
        int count = 1;
        while (result && position < end && takesMany) {
            ++position; // the comma, where a sum has ended
            const auto next = sum(position, end);
            if (!next || !agree(*result, *next))
                return std::nullopt;
            ++count;
            // clamp(low, value, high) is max(low, min(value, high)): the low bound waits for its turn.
            if (isClamp && count == 2) {
                const Quantity low = *result;
                result = clamped(low, *next, position, end);
                count = 3;
            } else {
                result->value = isMin ? std::min(result->value, next->value) : std::max(result->value, next->value);
            }
        }
        if (!result)
            return std::nullopt;
        if (position < end || (isClamp && count != 3))
            return fail(isClamp ? "'clamp()' takes three values" : "unexpected ',' in 'calc()'");
        m_function = outer;
        return result;
    }

private:
    std::nullopt_t failWithoutValue()
    {
        if (m_error)
            *m_error = QStringLiteral("a value is missing in '%1()'").arg(m_function);
        return std::nullopt;
    }

    std::nullopt_t fail(const char* reason)
    {
        if (m_error)
            *m_error = QString::fromUtf8(reason);
        return std::nullopt;
    }

    bool agree(const Quantity& a, const Quantity& b)
    {
        if (a.kind == b.kind)
            return true;
        fail("values of different kinds are put together");
        return false;
    }

    std::optional<Quantity> clamped(Quantity low, Quantity value, int& position, int end)
    {
        if (position >= end)
            return fail("'clamp()' takes three values");
        ++position;
        const auto high = sum(position, end);
        if (!high || !agree(low, *high))
            return std::nullopt;
        return Quantity{low.kind, std::max(low.value, std::min(value.value, high->value))};
    }

    [[nodiscard]] bool isOperator(int position, int end, char first, char second) const
    {
        if (position >= end || m_terms[position].kind != Term::Delimiter)
            return false;
        return m_terms[position].text == QLatin1Char(first) || m_terms[position].text == QLatin1Char(second);
    }

    /// Up to a comma, or the end.
    std::optional<Quantity> sum(int& position, int end)
    {
        auto result = product(position, end);
        while (result && isOperator(position, end, '+', '-')) {
            const double sign = m_terms[position++].text == QLatin1String("-") ? -1.0 : 1.0;
            const auto next = product(position, end);
            if (!next || !agree(*result, *next))
                return std::nullopt;
            result->value += sign * next->value;
        }
        if (result && position < end && !isOperator(position, end, ',', ','))
            return fail("expected '+', '-', '*' or '/' between two values, '+' and '-' with blanks around them");
        return result;
    }

    std::optional<Quantity> product(int& position, int end)
    {
        auto result = operand(position, end);
        while (result && isOperator(position, end, '*', '/')) {
            const bool divides = m_terms[position++].text == QLatin1String("/");
            const auto next = operand(position, end);
            if (!next)
                return std::nullopt;
            if (divides ? next->kind != MathKind::Number : next->kind != MathKind::Number && result->kind != MathKind::Number)
                return fail(divides ? "a value is divided by one that is no number"
                                    : "a value is multiplied by one that is no number");
            if (result->kind == MathKind::Number)
                result->kind = next->kind;
            result->value = divides ? result->value / next->value : result->value * next->value;
            if (std::isnan(result->value))
                result->value = 0.0;
        }
        return result;
    }

    std::optional<Quantity> operand(int& position, int end)
    {
        if (position >= end)
            return failWithoutValue();
        const StyleTerm& term = m_terms[position];
        switch (term.kind) {
        case Term::Number: ++position; return Quantity{MathKind::Number, term.number};
        case Term::Percentage:
            ++position;
            return m_wholePx ? Quantity{MathKind::Length, *m_wholePx * term.number / 100.0}
                             : Quantity{MathKind::Percentage, term.number};
        case Term::Dimension: ++position; return dimension(term);
        case Term::Function:
            if (!term.text.isEmpty() && !StyleMath::isFunction(term.text))
                return fail("expected a number, 'calc()', 'min()', 'max()' or 'clamp()'");
            return function(position);
        case Term::Ident: ++position; return constant(term);
        default: return failWithoutValue();
        }
    }

    std::optional<Quantity> dimension(const StyleTerm& term)
    {
        if (term.unit == "px")
            return Quantity{MathKind::Length, term.number};
        if (term.unit == "deg")
            return Quantity{MathKind::Angle, term.number};
        if (term.unit == "rad")
            return Quantity{MathKind::Angle, term.number * 180.0 / kPi};
        if (term.unit == "grad")
            return Quantity{MathKind::Angle, term.number * 0.9};
        if (term.unit == "turn")
            return Quantity{MathKind::Angle, term.number * 360.0};
        if (term.unit == "s")
            return Quantity{MathKind::Time, term.number};
        if (term.unit == "ms")
            return Quantity{MathKind::Time, term.number / 1000.0};
        return fail("expected one of the units px, mm, em, deg, grad, rad, turn, s, ms");
    }

    std::optional<Quantity> constant(const StyleTerm& term)
    {
        if (isNamed(term.text, "pi"))
            return Quantity{MathKind::Number, kPi};
        if (isNamed(term.text, "e"))
            return Quantity{MathKind::Number, std::exp(1.0)};
        if (isNamed(term.text, "infinity"))
            return Quantity{MathKind::Number, std::numeric_limits<double>::infinity()};
        return fail("expected a number");
    }

    const QVector<StyleTerm>& m_terms;
    const double* m_wholePx;
    QString* m_error;
    QString m_function{QStringLiteral("calc")}; ///< the innermost with a name
};

StyleTerm termOf(const Quantity& quantity)
{
    StyleTerm term;
    term.number = quantity.value;
    switch (quantity.kind) {
    case MathKind::Number: term.kind = Term::Number; return term;
    case MathKind::Percentage: term.kind = Term::Percentage; return term;
    case MathKind::Length: term.unit = "px"; break;
    case MathKind::Angle: term.unit = "deg"; break;
    case MathKind::Time: term.unit = "s"; break;
    }
    term.kind = Term::Dimension;
    return term;
}

bool isEm(const StyleTerm& term)
{
    return term.kind == Term::Dimension && term.unit == "em";
}

/// Sets the pixels of each `em` among the terms.
void setEm(QVector<StyleTerm>& terms, double emPx)
{
    for (StyleTerm& term : terms) {
        if (!isEm(term))
            continue;
        term.number *= emPx;
        term.unit = "px";
        term.text.clear();
    }
}
}

bool StyleMath::isFunction(const QString& name)
{
    return isNamed(name, "calc") || isNamed(name, "min") || isNamed(name, "max") || isNamed(name, "clamp");
}

std::optional<StyleMath::Quantity> StyleMath::evaluate(const QVector<StyleTerm>& terms, int first, const double* wholePx,
                                                       QString* error)
{
    int position = first;
    return Evaluation(terms, wholePx, error).function(position);
}

bool StyleMath::fold(QVector<StyleTerm>& terms, int first, QString& error)
{
    const int arguments = int(terms[first].number);
    const auto firstArgument = terms.begin() + first + 1;
    const bool hasEm = std::any_of(firstArgument, firstArgument + arguments, isEm);
    if (!hasEm) {
        if (const auto known = evaluate(terms, first, nullptr, nullptr)) {
            terms.erase(terms.begin() + first + 1, terms.begin() + first + 1 + arguments);
            terms[first] = termOf(*known);
            return true;
        }
    }
    // Whether it has a value at all shows with any size.
    QVector<StyleTerm> tried = terms;
    setEm(tried, 16.0);
    const double wholePx = 100.0;
    return evaluate(tried, first, nullptr, &error) || evaluate(tried, first, &wholePx, &error);
}

void StyleMath::resolveEm(StyleValue& value, double emPx)
{
    setEm(value.terms, emPx);
    QString error;
    std::vector<int> open; // functions that are none of these
    for (int i = 0; i < value.terms.size(); ++i) {
        if (value.terms[i].kind != Term::Function)
            continue;
        if (!isFunction(value.terms[i].text)) {
            open.push_back(i);
            continue;
        }
        const int before = value.terms.size();
        (void)fold(value.terms, i, error);
        for (const int function : open)
            if (function + int(value.terms[function].number) >= i)
                value.terms[function].number -= before - value.terms.size();
        if (value.terms[i].kind == Term::Function)
            i += int(value.terms[i].number);
    }
}

bool StyleMath::hasEm(const StyleValue& value)
{
    return std::any_of(value.terms.begin(), value.terms.end(), isEm);
}
}
