#pragma once

#include <Facet/StyleValue.hpp>

namespace Trellis
{
/// Lengths that `calc()`, `min()`, `max()` and `clamp()` compute of pixels and percentages, by number. The same computation has
/// one number, however many widgets use it, and stays as long as the process. Main thread only.
class LengthComputation
{
public:
    /// The number of the computation that the terms, one function with its arguments, write; 0, with the reason in `error`, if
    /// they do not give a length.
    [[nodiscard]] static int number(const QVector<Facet::StyleTerm>& terms, QString* error);
    /// In pixels, `reference` being what 100% means. Allocates nothing.
    [[nodiscard]] static float compute(int number, float reference);
    /// As a style sheet has it.
    [[nodiscard]] static QString text(int number);
};
}
