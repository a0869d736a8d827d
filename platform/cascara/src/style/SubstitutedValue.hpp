#pragma once

#include "values/Variables.hpp"
#include "values/WideKeyword.hpp"

#include <Facet/StyleValue.hpp>

#include <memory>
#include <vector>

namespace Cascara
{
/// What a declaration says with the variables of a node. Kept with the declaration for the next node: most share their variables.
struct SubstitutedValue
{
    VariableSet::Pointer variables; ///< may be null
    std::vector<int> names;         ///< of the variables that the declaration names
    std::shared_ptr<const Facet::StyleValue> value;
    QString origin; ///< for messages: what was put in, and where it is defined
    WideKeyword keyword = WideKeyword::None;
    bool dependsOnTexts = false; ///< on the font size or the colour of texts
    int serial = 0;              ///< unique in the process, also among declarations
};

/// For values that are no declaration's own; below 0.
[[nodiscard]] int nextComputedSerial() noexcept;
}
