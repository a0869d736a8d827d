#pragma once

#include <cstddef>
#include <vector>

namespace Tactile
{
/// The one element of which `test` holds, or null. Frames name contacts in the same order again and again: the search begins with
/// the element that follows the last one found, whose index `next` is. Any index is right.
template <class Element, class Test>
[[nodiscard]] Element* findInOrder(std::vector<Element>& elements, std::size_t& next, Test test)
{
    const std::size_t count = elements.size();
    std::size_t at = next < count ? next : 0;
    for (std::size_t tried = 0; tried < count; ++tried) {
        if (test(elements[at])) {
            next = at + 1;
            return &elements[at];
        }
        at = at + 1 < count ? at + 1 : 0;
    }
    return nullptr;
}
}
