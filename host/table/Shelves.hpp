#pragma once

#include "presentation/Presentation.hpp"

#include <memory>
#include <vector>

namespace Tavola
{
class UIComponent;
}
namespace Trellis
{
class Widget;
}

namespace Host
{
/// Puts a copy of everything on the presentation's shelf in front of each place, turned to the person there. Style sheets place
/// the things of the shelf as seen from the place; the copies have the classes "shelf" and "place-1", "place-2" and so on.
/// Appends the components that were made to `components`. Main thread only.
void putShelves(const Presentation& presentation, Trellis::Widget& layer,
                std::vector<std::shared_ptr<Tavola::UIComponent>>& components);
}
