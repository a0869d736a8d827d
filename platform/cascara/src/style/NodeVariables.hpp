#pragma once

#include "values/Variables.hpp"

#include <memory>
#include <vector>

namespace Cascara
{
/// The style engine's record of a node's variables: which there are, which of them the node defines, and which it uses.
class NodeVariables
{
public:
    /// Null when there are none.
    [[nodiscard]] const VariableSet* set() const noexcept { return m_record ? m_record->set.get() : nullptr; }
    [[nodiscard]] const VariableSet::Pointer& shared() const noexcept { return m_record ? m_record->set : s_none; }
    [[nodiscard]] static const VariableSet::Pointer& none() noexcept { return s_none; }
    [[nodiscard]] const std::vector<VariableDefinition>& own() const;

    /// Takes the variables of the parent as they are, or with the definitions there are already. Returns the names of those that
    /// changed, ascending.
    std::vector<int> inherit(const VariableSet::Pointer& parent);
    /// As above with other definitions.
    std::vector<int> define(std::vector<VariableDefinition> own, const VariableSet::Pointer& parent);

    void clearUses()
    {
        if (m_record)
            m_record->used.clear();
    }
    /// The node's styles depend on the variables that `tokens` name.
    void addUses(const Tokens& tokens);
    /// Whether they depend on one of the names, which ascend.
    [[nodiscard]] bool usesAny(const std::vector<int>& names) const;

private:
    /// Nodes of a tree without variables have none.
    struct Record
    {
        VariableSet::Pointer set;
        std::vector<VariableDefinition> own;
        std::vector<int> used;
    };
    Record& record();

    static const VariableSet::Pointer s_none;

    std::unique_ptr<Record> m_record;
};
}
