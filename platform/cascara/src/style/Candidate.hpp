#pragma once

#include "sheet/StyleSheet.hpp"

#include <algorithm>

namespace Cascara
{
/// A declaration that matches the node at hand.
struct Candidate
{
    const Declaration* declaration;
    int rank; ///< the higher wins
};

/// The end of the candidates for one attribute, which stand side by side.
[[nodiscard]] inline const Candidate* endOfAttribute(const Candidate* first, const Candidate* last)
{
    const int number = first->declaration->attributeNumber;
    return std::find_if(first, last, [number](const Candidate& c) { return c.declaration->attributeNumber != number; });
}
}
