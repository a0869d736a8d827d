#include "values/DependencyOrder.hpp"

#include <algorithm>

namespace Cascara
{
/// Strongly connected components by Tarjan's algorithm, with a stack of its own: a style sheet decides how deep it goes.
std::vector<DependencyOrder::Entry> DependencyOrder::of(const std::vector<std::vector<int>>& dependencies)
{
    struct Visit
    {
        int index;
        std::size_t next; ///< the dependency to visit next
    };
    const std::size_t count = dependencies.size();
    std::vector<int> numbers(count, 0); // in the order of discovery, from 1; 0 for one not seen yet
    std::vector<int> lowest(count, 0);  // the lowest number that it reaches on the stack
    std::vector<bool> isOpen(count, false);
    std::vector<int> open;
    std::vector<Visit> visits;
    std::vector<Entry> result;
    int lastNumber = 0;
    const auto enter = [&](int index) {
        const auto i = std::size_t(index);
        numbers[i] = lowest[i] = ++lastNumber;
        isOpen[i] = true;
        open.push_back(index);
        visits.push_back({index, 0});
    };
    for (std::size_t start = 0; start < count; ++start) {
        if (numbers[start] == 0)
            enter(int(start));
        while (!visits.empty()) {
            const auto index = std::size_t(visits.back().index);
            const auto& needed = dependencies[index];
            if (visits.back().next < needed.size()) {
                const int other = needed[visits.back().next++];
                if (numbers[std::size_t(other)] == 0)
                    enter(other);
                else if (isOpen[std::size_t(other)])
                    lowest[index] = std::min(lowest[index], numbers[std::size_t(other)]);
                continue;
            }
            visits.pop_back();
            if (!visits.empty()) {
                int& above = lowest[std::size_t(visits.back().index)];
                above = std::min(above, lowest[index]);
            }
            if (lowest[index] != numbers[index])
                continue;
            const bool isAlone = open.back() == int(index);
            const bool namesItself = std::find(needed.begin(), needed.end(), int(index)) != needed.end();
            for (bool isLast = false; !isLast;) {
                const int member = open.back();
                open.pop_back();
                isOpen[std::size_t(member)] = false;
                isLast = member == int(index);
                result.push_back({member, !isAlone || namesItself});
            }
        }
    }
    return result;
}
}
