#pragma once

#include "services/collections/CollectionDatabase.hpp"

#include <QString>

#include <cstddef>
#include <map>
#include <vector>

namespace Host
{
/// Changes that wait for the database, one for each item, in the order in which the items' first ones came.
class CollectionChanges
{
public:
    using Change = CollectionDatabase::Change;

    /// A change of an item that has one already becomes one with it.
    void enter(Change change);
    void enter(const std::vector<Change>& changes);

    [[nodiscard]] bool isEmpty() const noexcept { return m_changes.empty(); }
    [[nodiscard]] std::size_t size() const noexcept { return m_changes.size(); }
    [[nodiscard]] const std::vector<Change>& all() const noexcept { return m_changes; }

private:
    std::vector<Change> m_changes;
    std::map<QString, std::size_t> m_places; ///< in m_changes, by the items' keys
};
}
