#include "services/collections/CollectionPlace.hpp"

#include <QFileInfo>

namespace Host
{
tl::expected<CollectionPlace, QString> CollectionPlace::of(const QString& database, const QString& file)
{
    CollectionPlace place;
    place.previews = QFileInfo(file).absolutePath() + QStringLiteral("/previews");
    if (database.isEmpty()) {
        place.address.file = file;
        return place;
    }
    auto address = Storage::Address::parse(database);
    if (address && !address->isPostgres())
        address = tl::unexpected(QStringLiteral("it has to begin with postgres://; collections are in a file without it"));
    if (!address)
        return tl::unexpected(QStringLiteral("the presentation's \"database\" cannot be used: ") + address.error());
    place.address = *address;
    return place;
}
}
