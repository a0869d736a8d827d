#pragma once

#include "AttributeListeners.hpp"

#include <vector>

namespace Facet
{
class Attribute;

/// What few attributes have: for the attributes of one node, or for those without a node.
class AttributeExtras
{
public:
    struct Entry
    {
        const Attribute* attribute;
        void* hiddenValue = nullptr; ///< owned by the attribute
        AttributeListeners::Pointer listeners{};
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
    /// The entry of an attribute that has one. Valid as above.
    [[nodiscard]] Entry& entry(const Attribute& attribute) noexcept
    {
        Entry* entry = m_entries.data();
        while (entry->attribute != &attribute)
            ++entry;
        return *entry;
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
