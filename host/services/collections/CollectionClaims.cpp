#include "services/collections/CollectionClaims.hpp"

#include <algorithm>
#include <utility>

namespace Host
{
namespace
{
/// Several claims of other tables may follow each other, and a database may be away: a visitor does not wait longer.
constexpr std::chrono::seconds kLongestClaimWait{CollectionClaim::kSeconds + 10};
constexpr std::chrono::seconds kPauseAfterFailedClaim{5};
}

void CollectionClaims::add(const QStringList& keys, const QString& owner, Claimed claimed)
{
    m_claims.push_back({keys, owner, std::move(claimed), Clock::now() + kLongestClaimWait, false});
    m_nextAttempt = Clock::now();
}

bool CollectionClaims::ask(CollectionDatabase& database, bool isUsable, const IsOwn& isOwn, qint64 now, Clock::time_point time)
{
    m_nextAttempt = Clock::time_point::max();
    bool isGood = true;
    std::vector<Claim> waiting;
    for (Claim& claim : std::exchange(m_claims, {})) {
        const auto answer = isUsable && isGood ? database.claim(claim.keys, claim.owner, now) : std::nullopt;
        isGood = isGood && answer.has_value();
        if (conclude(claim, answer, isOwn, time >= claim.latest))
            continue;
        const auto pause = answer ? std::chrono::seconds(answer->secondsLeft) : kPauseAfterFailedClaim;
        m_nextAttempt = std::min({m_nextAttempt, claim.latest, time + pause});
        waiting.push_back(std::move(claim));
    }
    m_claims = std::move(waiting);
    return isGood;
}

bool CollectionClaims::conclude(Claim& claim, const std::optional<CollectionClaim>& answer, const IsOwn& isOwn, bool isOver)
{
    // While another table is sending, an outage is no reason to send the same; it is one for a claim that meets it.
    const bool wasAsked = std::exchange(claim.wasAsked, true);
    const bool waits = answer ? answer->secondsLeft > 0 : wasAsked;
    if (waits && !isOver)
        return false;
    if (!answer) {
        claim.claimed(std::nullopt);
        return true;
    }
    QStringList keys = answer->keys;
    std::copy_if(claim.keys.begin(), claim.keys.end(), std::back_inserter(keys), isOwn);
    claim.claimed(keys);
    return true;
}
}
