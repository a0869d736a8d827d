#include "services/collections/CollectionChanges.hpp"

#include <utility>

namespace Host
{
namespace
{
using Kind = CollectionDatabase::Change::Kind;

/// One change in place of two of the same item. An item that is not there yet is added with its newest values.
CollectionDatabase::Change merged(const CollectionDatabase::Change& before, CollectionDatabase::Change after)
{
    if (before.kind == Kind::Remove)
        return before;
    if (before.kind == Kind::Add && after.kind == Kind::Update)
        after.kind = Kind::Add;
    after.isPreviewNew = after.isPreviewNew || before.isPreviewNew;
    return after;
}
}

void CollectionChanges::enter(Change change)
{
    const auto [known, isNew] = m_places.emplace(change.item.key, m_changes.size());
    if (isNew)
        m_changes.push_back(std::move(change));
    else
        m_changes[known->second] = merged(m_changes[known->second], std::move(change));
}

void CollectionChanges::enter(const std::vector<Change>& changes)
{
    for (const Change& change : changes)
        enter(change);
}
}
