#pragma once

#include <Storage/Address.hpp>

#include <QString>

#include <tl/expected.hpp>

namespace Host
{
/// Where a table keeps what cards collect. A plain record.
struct CollectionPlace
{
    Storage::Address address;
    QString previews; ///< folder of the pictures, absolute; beside a file, or this table's copies of those on a server

    /// `database`: the presentation's, empty: `file`, absolute, in the table's data folder. The reason when it cannot be used.
    [[nodiscard]] static tl::expected<CollectionPlace, QString> of(const QString& database, const QString& file);

    /// Whether several tables use it.
    [[nodiscard]] bool isShared() const { return address.isPostgres(); }
};
}
