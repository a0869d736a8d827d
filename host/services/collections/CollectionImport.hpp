#pragma once

#include "services/collections/CollectionPlace.hpp"

#include <QString>

#include <tl/expected.hpp>

namespace Host
{
/// Copies what cards have collected from the file of one table into the database that several share. The items keep keys, times
/// and order, and come before those that were collected since; what is there already, or was removed, stays so. May be repeated.
/// Blocks, for as long as it takes.
struct CollectionImport
{
    int added = 0;
    int known = 0; ///< that were there or had been removed

    /// `file`: of a table, with its pictures beside it; only read, but brought to the version of this program. The reason when it
    /// was not all copied.
    [[nodiscard]] static tl::expected<CollectionImport, QString> run(const QString& file, const CollectionPlace& to);
};
}
