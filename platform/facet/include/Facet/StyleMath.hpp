#pragma once

#include <Bedrock/Export.hpp>
#include <Facet/StyleValue.hpp>

#include <optional>

namespace Facet
{
/// The functions `calc()`, `min()`, `max()` and `clamp()` in a style sheet's value. Among their arguments, operators are
/// delimiters "+", "-", "*" and "/", and parentheses functions without a name. Any thread.
class TAVOLA_EXPORT StyleMath
{
public:
    enum class Kind { Number, Length, Percentage, Angle, Time };
    struct Quantity
    {
        Kind kind = Kind::Number;
        double value = 0.0; ///< px, percent, degrees or seconds
    };

    /// Names are compared in lower case.
    [[nodiscard]] static bool isFunction(const QString& name);

    /// The value of the function at `terms[first]`. With `wholePx` given, percentages are lengths: that part of it. Nothing, with
    /// the reason in `error` (may be null), for operands that do not go together, units that are not known and missing operands.
    /// Allocates nothing when there is a value.
    [[nodiscard]] static std::optional<Quantity> evaluate(const QVector<StyleTerm>& terms, int first, const double* wholePx,
                                                          QString* error);

    /// Puts its value in the place of the function at `terms[first]`, or leaves it where it needs to know what 100% is. False,
    /// with the reason in `error`, where it has no value.
    [[nodiscard]] static bool fold(QVector<StyleTerm>& terms, int first, QString& error);

    /// Puts pixels in the place of each `em`, which is that many pixels, and folds what is known then.
    static void resolveEm(StyleValue& value, double emPx);
    [[nodiscard]] static bool hasEm(const StyleValue& value);
};
}
