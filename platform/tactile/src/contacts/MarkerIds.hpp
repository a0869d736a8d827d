#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <unordered_map>
#include <vector>

namespace Tactile
{
/// Gives out the ids of things on the table, none of them twice, and remembers which a marker code had.
class MarkerIds
{
public:
    /// The next id that nothing has.
    [[nodiscard]] std::int64_t fresh() { return m_next++; }

    /// An id for a card of this code: the first of its ids that is not in use, else a fresh one. Codes beyond
    /// kMaxCodes make it forget those that are not in use.
    [[nodiscard]] std::int64_t idFor(std::uint64_t code, const std::function<bool(std::int64_t)>& isInUse);

    static constexpr std::size_t kMaxCodes = 4096;

private:
    std::int64_t m_next = 1;
    std::unordered_map<std::uint64_t, std::vector<std::int64_t>> m_byCode;
};
}
