#include "AttributeExtras.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

namespace Facet
{
AttributeExtras& AttributeExtras::ofHostless()
{
    // Never destroyed: attributes of static objects may go late.
    static AttributeExtras& extras = *new AttributeExtras;
    return extras;
}

AttributeExtras::Entry& AttributeExtras::obtain(const Attribute& attribute)
{
    if (Entry* const found = find(attribute))
        return *found;
    m_entries.push_back({&attribute});
    return m_entries.back();
}

void AttributeExtras::remove(const Attribute& attribute)
{
    Entry* const found = find(attribute);
    if (!found)
        return;
    // What a listener captured may come back here when it is destroyed, so the list is put in order first.
    const Entry removed = std::exchange(*found, std::move(m_entries.back()));
    m_entries.pop_back();
}

void AttributeExtras::add(AttributeExtras&& other)
{
    std::move(other.m_entries.begin(), other.m_entries.end(), std::back_inserter(m_entries));
    other.m_entries.clear();
}
}
