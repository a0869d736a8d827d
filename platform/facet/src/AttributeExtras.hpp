#pragma once

#include "Counted.hpp"
#include "ListenerList.hpp"

#include <Bedrock/IntrusivePtr.hpp>
#include <Facet/AttributeName.hpp>

#include <functional>
#include <vector>

namespace Facet
{
class Attribute;

/// The listeners of one attribute; outlive it during a change in which a listener destroys it.
struct AttributeListeners final : Counted<AttributeListeners>
{
    explicit AttributeListeners(AttributeName name) : attributeName(name) {}

    AttributeName attributeName;
    bool attributeIsAlive = true;
    ListenerList<std::function<void()>> list;
};

/// What few attributes have: for the attributes of one node, or for those without a node.
class AttributeExtras
{
public:
    struct Entry
    {
        const Attribute* attribute;
        void* hiddenValue = nullptr; ///< owned by the attribute
        Bedrock::IntrusivePtr<AttributeListeners> listeners{};
    };

    /// For attributes without a node.
    [[nodiscard]] static AttributeExtras& ofHostless();

    /// Null if there is none. Valid until an entry is made or removed.
    [[nodiscard]] Entry* find(const Attribute& attribute) noexcept
    {
        for (Entry& entry : m_entries)
            if (entry.attribute == &attribute)
                return &entry;
        return nullptr;
    }
    /// Made if there is none.
    [[nodiscard]] Entry& obtain(const Attribute& attribute);
    /// Silent if there is none.
    void remove(const Attribute& attribute);
    /// Takes over all of `other`.
    void add(AttributeExtras&& other);

    [[nodiscard]] bool isEmpty() const noexcept { return m_entries.empty(); }

private:
    std::vector<Entry> m_entries;
};
}
