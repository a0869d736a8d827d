#include "style/NodeVariables.hpp"

#include <algorithm>
#include <utility>

namespace Cascara
{
std::vector<int> NodeVariables::inherit(const VariableSet::Pointer& parent)
{
    VariableSet::Pointer inherited = m_own.empty() ? parent : VariableSet::resolve(parent, m_own);
    if (inherited == m_set)
        return {};
    std::vector<int> changed = VariableSet::difference(m_set.get(), inherited.get());
    if (!changed.empty())
        m_set = std::move(inherited); // else the one that is shared with the nodes below stays
    return changed;
}

std::vector<int> NodeVariables::define(std::vector<VariableDefinition> own, const VariableSet::Pointer& parent)
{
    m_own = std::move(own);
    return inherit(parent);
}

bool NodeVariables::usesAny(const std::vector<int>& names) const
{
    return std::any_of(m_used.begin(), m_used.end(),
                       [&names](int name) { return std::binary_search(names.begin(), names.end(), name); });
}
}
