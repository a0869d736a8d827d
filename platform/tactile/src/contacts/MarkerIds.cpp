#include "contacts/MarkerIds.hpp"

#include <algorithm>

namespace Tactile
{
std::int64_t MarkerIds::idFor(std::uint64_t code, const std::function<bool(std::int64_t)>& isInUse)
{
    if (m_byCode.size() >= kMaxCodes && m_byCode.count(code) == 0) {
        for (auto it = m_byCode.begin(); it != m_byCode.end();)
            it = std::any_of(it->second.begin(), it->second.end(), isInUse) ? std::next(it) : m_byCode.erase(it);
    }
    auto& ids = m_byCode[code];
    const auto free = std::find_if_not(ids.begin(), ids.end(), isInUse);
    if (free != ids.end())
        return *free;
    ids.push_back(fresh());
    return ids.back();
}
}
