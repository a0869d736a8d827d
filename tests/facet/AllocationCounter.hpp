#pragma once

namespace FacetTest
{
/// Calls of operator new in this program (libraries included) since it began.
[[nodiscard]] long allocations();
}
