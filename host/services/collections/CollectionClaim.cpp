#include "services/collections/CollectionClaim.hpp"

#include <Storage/Transaction.hpp>

#include <algorithm>

namespace Host
{
void CollectionClaim::add(Storage::Transaction& writing, const QString& key, const QString& owner, qint64 now)
{
    bool isThere = false;
    QString holder;
    qint64 until = 0;
    writing.run(QStringLiteral("SELECT claimed_by, claimed_until FROM items WHERE key = ?"), {key}, [&](const QSqlQuery& row) {
        isThere = true;
        holder = row.value(0).toString();
        until = row.value(1).toLongLong();
    });
    if (!isThere)
        return;
    const bool isOwners = holder == owner;
    if (!isOwners && until >= now) {
        const qint64 left = until - now + 1;
        secondsLeft = secondsLeft == 0 ? left : std::min(secondsLeft, left);
        return;
    }
    keys << key;
    // A claim that is repeated writes nothing as long as it lasts: what is written wakes other tables, which repeat theirs.
    if (!isOwners || until < now + kSeconds / 2)
        writing.run(QStringLiteral("UPDATE items SET claimed_by = ?, claimed_until = ? WHERE key = ?"),
                    {owner, now + kSeconds, key});
}
}
