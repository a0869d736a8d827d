#pragma once

#include "services/collections/CollectionDatabase.hpp"

#include <QString>
#include <QStringList>

#include <chrono>
#include <functional>
#include <optional>
#include <vector>

namespace Host
{
/// Claims of items that are to be sent. Each is answered when it is certain which of its items this table sends: at once, or when
/// the other tables that send some of them have removed those, or when their claims are over, as that of a table that was killed
/// is after a minute. One thread; the answers are given on it. Claims that are not answered yet are dropped with the object.
class CollectionClaims
{
public:
    using Clock = std::chrono::steady_clock;
    /// Nothing when the database could not be asked.
    using Claimed = std::function<void(const std::optional<QStringList>& keys)>;
    using IsOwn = std::function<bool(const QString& key)>;

    /// For the next call of ask().
    void add(const QStringList& keys, const QString& owner, Claimed claimed);
    /// Asks for everything that was added and is not answered. `isUsable`: whether it is worth asking the database. `isOwn`:
    /// whether an item is not stored yet, so that no other table has it. `now`: in seconds since 1970. False when the database
    /// has failed.
    [[nodiscard]] bool ask(CollectionDatabase& database, bool isUsable, const IsOwn& isOwn, qint64 now,
                           Clock::time_point time = Clock::now());
    /// When to ask again at the latest; Clock::time_point::max() where nothing waits. A change by another table is a reason, too.
    [[nodiscard]] Clock::time_point nextAttempt() const noexcept { return m_nextAttempt; }

private:
    struct Claim
    {
        QStringList keys;
        QString owner;
        Claimed claimed;
        Clock::time_point latest; ///< when it is answered in any case
        bool wasAsked = false;
    };
    /// Whether the claim was answered.
    [[nodiscard]] static bool conclude(Claim& claim, const std::optional<CollectionClaim>& answer, const IsOwn& isOwn,
                                       bool isOver);

    std::vector<Claim> m_claims;
    Clock::time_point m_nextAttempt = Clock::time_point::max();
};
}
