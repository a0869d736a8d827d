#pragma once

#include "values/Variables.hpp"

#include <vector>

namespace Cascara
{
/// The style engine's record of a node's variables: which there are, which of them the node defines, and which it uses.
class NodeVariables
{
public:
    /// Null when there are none.
    [[nodiscard]] const VariableSet* set() const noexcept { return m_set.get(); }
    [[nodiscard]] const VariableSet::Pointer& shared() const noexcept { return m_set; }
    [[nodiscard]] const std::vector<VariableDefinition>& own() const noexcept { return m_own; }

    /// Takes the variables of the parent as they are, or with the definitions there are already. Returns the names of those that
    /// changed, ascending.
    std::vector<int> inherit(const VariableSet::Pointer& parent);
    /// As above with other definitions.
    std::vector<int> define(std::vector<VariableDefinition> own, const VariableSet::Pointer& parent);

    void clearUses() noexcept { m_used.clear(); }
    /// The node's styles depend on these variables.
    void addUses(const std::vector<int>& names) { m_used.insert(m_used.end(), names.begin(), names.end()); }
    /// Whether they depend on one of the names, which ascend.
    [[nodiscard]] bool usesAny(const std::vector<int>& names) const;
    [[nodiscard]] bool isEmpty() const noexcept { return !m_set && m_own.empty() && m_used.empty(); }

private:
    VariableSet::Pointer m_set;
    std::vector<VariableDefinition> m_own;
    std::vector<int> m_used;
};
}
