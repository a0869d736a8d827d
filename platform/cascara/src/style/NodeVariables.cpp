#include "style/NodeVariables.hpp"

#include <algorithm>
#include <utility>

namespace Cascara
{
NodeVariables::Record& NodeVariables::record()
{
    if (!m_record)
        m_record = std::make_unique<Record>();
    return *m_record;
}

const std::vector<VariableDefinition>& NodeVariables::own() const
{
    static const std::vector<VariableDefinition> kNone;
    return m_record ? m_record->own : kNone;
}

const VariableSet::Pointer NodeVariables::s_none;

std::vector<int> NodeVariables::inherit(const VariableSet::Pointer& parent)
{
    VariableSet::Pointer inherited = own().empty() ? parent : VariableSet::resolve(parent, own());
    if (inherited == shared())
        return {};
    std::vector<int> changed = VariableSet::difference(set(), inherited.get());
    if (!changed.empty())
        record().set = std::move(inherited); // else the one that is shared with the nodes below stays
    return changed;
}

std::vector<int> NodeVariables::define(std::vector<VariableDefinition> own, const VariableSet::Pointer& parent)
{
    record().own = std::move(own);
    return inherit(parent);
}

void NodeVariables::addUses(const Tokens& tokens)
{
    collectVariables(tokens, record().used);
}

bool NodeVariables::usesAny(const std::vector<int>& names) const
{
    return m_record && std::any_of(m_record->used.begin(), m_record->used.end(), [&names](int name) {
               return std::binary_search(names.begin(), names.end(), name);
           });
}
}
