#pragma once

#include "values/Shorthand.hpp"

namespace Cascara
{
// How the values of `border` and its kin, and of `background`, are parted. Each fills the values of `parts`, which has the
// attributes, and returns false for a value that cannot be parted.

/// A width, `solid` or `none`, and a colour, in any order, for all sides.
[[nodiscard]] bool expandBorder(const Facet::StyleValue& value, std::vector<Shorthand::Part>& parts);
/// The same for one side.
[[nodiscard]] bool expandSide(const Facet::StyleValue& value, std::vector<Shorthand::Part>& parts);
/// One length for all, which the first attribute has; or up to four, for the others in their order.
[[nodiscard]] bool expandLengths(const Facet::StyleValue& value, std::vector<Shorthand::Part>& parts);
/// The same with colours.
[[nodiscard]] bool expandColors(const Facet::StyleValue& value, std::vector<Shorthand::Part>& parts);
[[nodiscard]] bool expandBackground(const Facet::StyleValue& value, std::vector<Shorthand::Part>& parts);
}
