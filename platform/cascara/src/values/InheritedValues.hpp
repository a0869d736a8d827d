#pragma once

#include <Facet/StyleValue.hpp>

#include <QByteArray>

#include <memory>
#include <vector>

namespace Cascara
{
/// Whether children inherit what a style sheet says of the attribute: `color`, `font-*`, `line-height`, `letter-spacing`,
/// `text-align` and `caret-color`.
[[nodiscard]] bool isInheritedAttribute(const QByteArray& name);

/// A value that children inherit, as the node has it that declares it.
struct InheritedValue
{
    int attribute; ///< number of its name
    /// Values of the same serial are the same.
    int serial;
    /// Null for `initial`: from there on each node has its own default.
    std::shared_ptr<const Facet::StyleValue> value;
};

/// The values that hold for a node and that its children inherit. Shared by nodes that have the same, never changed.
class InheritedValues
{
public:
    using Pointer = std::shared_ptr<const InheritedValues>;

    /// Those of `inherited`, which may be null, with `own` in their place. Null when there are none.
    [[nodiscard]] static Pointer merge(const Pointer& inherited, const std::vector<InheritedValue>& own);
    /// Ascending by attribute.
    [[nodiscard]] const std::vector<InheritedValue>& all() const noexcept { return m_values; }
    /// Null when there is none.
    [[nodiscard]] const InheritedValue* find(int attribute) const noexcept
    {
        for (const InheritedValue& value : m_values) // a handful
            if (value.attribute >= attribute)
                return value.attribute == attribute ? &value : nullptr;
        return nullptr;
    }
    /// The attributes of which two sets, either of which may be null, do not have the same value; ascending.
    [[nodiscard]] static std::vector<int> difference(const InheritedValues* a, const InheritedValues* b);

private:
    std::vector<InheritedValue> m_values;
};
}
