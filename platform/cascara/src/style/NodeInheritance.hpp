#pragma once

#include "style/NodeVariables.hpp"
#include "values/InheritedValues.hpp"

#include <optional>
#include <vector>

namespace Cascara
{
/// The style engine's record of what a node takes from the nodes above it and hands to those below it.
class NodeInheritance
{
public:
    /// Names of variables and numbers of attributes whose values have changed for a node, ascending.
    struct Changes
    {
        std::vector<int> variables;
        std::vector<int> values;
        /// Among the values.
        [[nodiscard]] bool have(int attribute) const;
        [[nodiscard]] bool isEmpty() const noexcept { return variables.empty() && values.empty(); }
    };

    NodeVariables variables;

    /// Null when there are none.
    [[nodiscard]] const InheritedValues::Pointer& values() const noexcept { return m_values; }
    /// What style sheets say of the node itself.
    [[nodiscard]] const std::vector<InheritedValue>& ownValues() const noexcept { return m_own; }

    /// Takes the values of the parent (null: none), with those that the node has itself in their place. Returns what changed.
    std::vector<int> inheritValues(const InheritedValues::Pointer& parent);
    /// As above with other values of its own.
    std::vector<int> defineValues(std::vector<InheritedValue> own, const InheritedValues::Pointer& parent);
    /// Takes variables and values of the parent's record, which may be null.
    Changes inherit(const NodeInheritance* parent);

    [[nodiscard]] bool isEmpty() const noexcept
    {
        return variables.isEmpty() && !m_values && m_own.empty() && fromParent.empty() && !usesFontSize && !usesColor;
    }

    /// Whether the node has the very variables and values of the parent's record, which may be null, and defines none.
    [[nodiscard]] bool isSharedWith(const NodeInheritance* parent) const noexcept
    {
        return m_own.empty() && variables.own().empty() && m_values.get() == (parent ? parent->m_values.get() : nullptr)
            && variables.set() == (parent ? parent->variables.set() : nullptr);
    }
    /// Forgets what the node's styles depend on; the declarations that are applied next note it anew.
    void clearUses() noexcept
    {
        variables.clearUses();
        fromParent.clear();
        usesFontSize = usesColor = false;
    }

    /// Whether styles of the node itself depend on what changed for it. `above`: what changed for its parent.
    [[nodiscard]] bool dependsOn(const Changes& changes, const Changes& above) const;

    /// The node's styles depend on its font size, or on that of its parent.
    bool usesFontSize = false;
    bool usesColor = false; ///< the same of `color`
    /// The values that the node's attributes have by now; null for none. Kept as long as attributes neither come nor go.
    InheritedValues::Pointer applied;
    /// In px, as style sheets give it to the node or to one above it; nothing when they do not.
    [[nodiscard]] std::optional<double> fontSize() const noexcept { return m_fontSize; }
    /// As above of `color`; null when they do not. Owned by the record.
    [[nodiscard]] const Facet::StyleValue* color() const noexcept { return m_color.get(); }
    /// Both as they are with these values above and these of the node itself.
    void updateTextStyle(const InheritedValues* above, const std::vector<InheritedValue>& own);
    /// Attributes that a declaration `inherit` takes from the parent although children do not inherit them otherwise.
    std::vector<int> fromParent;

private:
    [[nodiscard]] static bool isSame(const std::vector<InheritedValue>& a, const std::vector<InheritedValue>& b);

    InheritedValues::Pointer m_values;
    InheritedValues::Pointer m_above; ///< of which the values were merged last
    std::vector<InheritedValue> m_own;
    std::optional<double> m_fontSize;
    std::shared_ptr<const Facet::StyleValue> m_color;
};
}
