#pragma once

#include "care/PlaceSearch.hpp"

namespace Trellis
{
class Widget;
}

namespace Host
{
/// Something that visitors have open on the table. A plain record.
struct OpenOutline
{
    const Trellis::Widget* widget = nullptr; ///< not owned, and for comparisons only; of a keyboard, the widget that carries it
    PlaceSearch::Outline outline{};          ///< table pixels; of what glides, where it will be
};
}
