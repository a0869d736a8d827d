#pragma once

#include <QString>
#include <QStringList>

namespace Storage
{
class Transaction;
}

namespace Host
{
/// The right of one table to send items, as the database has given it. A plain record.
struct CollectionClaim
{
    static constexpr qint64 kSeconds = 60; ///< how long it lasts

    QStringList keys;       ///< of the items that the owner may send
    qint64 secondsLeft = 0; ///< until another owner's right to others ends; 0: the others are gone

    /// Claims one more item. `now`: in seconds since 1970. After a failure of the transaction nothing is to be read.
    void add(Storage::Transaction& writing, const QString& key, const QString& owner, qint64 now);
};
}
