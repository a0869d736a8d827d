#pragma once

#include <vector>

namespace Cascara
{
/// An order in which each thing comes after those it depends on.
class DependencyOrder
{
public:
    struct Entry
    {
        int index;
        bool isInCycle; ///< depends on itself, perhaps through others
    };

    /// `dependencies[i]` are the indices that `i` depends on.
    [[nodiscard]] static std::vector<Entry> of(const std::vector<std::vector<int>>& dependencies);
};
}
