#include "style/NodeInheritance.hpp"

#include "values/CurrentColor.hpp"
#include "values/FontSize.hpp"

#include <algorithm>
#include <utility>

namespace Cascara
{
bool NodeInheritance::Changes::have(int attribute) const
{
    return std::find(values.begin(), values.end(), attribute) != values.end();
}

/// A serial belongs to one attribute.
bool NodeInheritance::isSame(const std::vector<InheritedValue>& a, const std::vector<InheritedValue>& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const InheritedValue& x, const InheritedValue& y) { return x.serial == y.serial; });
}

std::vector<int> NodeInheritance::inheritValues(const InheritedValues::Pointer& parent)
{
    if (m_own.empty() && m_values == parent)
        return {};
    m_above = parent;
    InheritedValues::Pointer inherited = InheritedValues::merge(parent, m_own);
    std::vector<int> changed = InheritedValues::difference(m_values.get(), inherited.get());
    updateTextStyle(parent.get(), m_own);
    if (!changed.empty())
        m_values = std::move(inherited); // else the one that is shared with the nodes below stays
    return changed;
}

std::vector<int> NodeInheritance::defineValues(std::vector<InheritedValue> own, const InheritedValues::Pointer& parent)
{
    if (m_above == parent && isSame(m_own, own))
        return {}; // most restylings
    m_own = std::move(own);
    return inheritValues(parent);
}

NodeInheritance::Changes NodeInheritance::inherit(const NodeInheritance* parent)
{
    return {variables.inherit(parent ? parent->variables.shared() : nullptr), inheritValues(parent ? parent->values() : nullptr)};
}

bool NodeInheritance::dependsOn(const Changes& changes, const Changes& above) const
{
    const int fontSize = fontSizeAttribute();
    return variables.usesAny(changes.variables) || (usesFontSize && (changes.have(fontSize) || above.have(fontSize)))
        || (usesColor && changes.have(colorAttribute()));
}

void NodeInheritance::updateTextStyle(const InheritedValues* above, const std::vector<InheritedValue>& own)
{
    const InheritedValue* color = above ? above->find(colorAttribute()) : nullptr;
    const InheritedValue* value = above ? above->find(fontSizeAttribute()) : nullptr;
    for (const InheritedValue& mine : own) {
        if (mine.attribute == colorAttribute())
            color = &mine;
        else if (mine.attribute == fontSizeAttribute())
            value = &mine;
    }
    if (!color)
        m_color = nullptr;
    else if (m_color != color->value)
        m_color = color->value;
    const bool isKnown = value && value->value && value->value->terms.size() == 1;
    m_fontSize = isKnown ? std::optional(value->value->terms.first().number) : std::nullopt;
}
}
