#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <unordered_map>
#include <vector>

namespace Tactile
{
/// Makes the ids of fingers and cards, none of them twice, and keeps those that each marker code had.
class MarkerIds
{
public:
    /// An id that was never used.
    [[nodiscard]] std::int64_t fresh() { return m_next++; }

    /// An id for a card of this code: the first of its ids that is not in use, else a fresh one. Beyond kMaxCodes codes, the
    /// ids of codes that are not in use are dropped.
    [[nodiscard]] std::int64_t idFor(std::uint64_t code, const std::function<bool(std::int64_t)>& isInUse);

    static constexpr std::size_t kMaxCodes = 4096;

private:
    std::int64_t m_next = 1;
    std::unordered_map<std::uint64_t, std::vector<std::int64_t>> m_byCode;
};
}
