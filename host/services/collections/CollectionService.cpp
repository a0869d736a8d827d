#include "services/collections/CollectionService.hpp"

#include <Bedrock/Trace.hpp>

#include <QDateTime>

#include <algorithm>
#include <utility>

namespace Host
{
namespace
{
using Kind = CollectionDatabase::Change::Kind;

constexpr std::chrono::seconds kRetryPause{10};
constexpr std::chrono::hours kCleaningPause{1};

/// Does to a card's items what the change will do to them in the database.
void applyTo(std::vector<CollectedItem>& items, const CollectionDatabase::Change& change)
{
    const auto known =
        std::find_if(items.begin(), items.end(), [&change](const CollectedItem& item) { return item.key == change.item.key; });
    if (known == items.end()) {
        if (change.kind == Kind::Add)
            items.push_back(change.item);
    } else if (change.kind == Kind::Remove) {
        items.erase(known);
    } else {
        *known = change.item;
    }
}
}

CollectionService::CollectionService(const CollectionPlace& place, const CollectionSettings& settings, Watch watch, Clock clock,
                                     std::chrono::milliseconds deadline)
    : m_settings(settings), m_clock(clock ? std::move(clock) : [] { return QDateTime::currentSecsSinceEpoch(); }),
      m_database(place,
                 {deadline,
                  watch == Watch::No ? std::function<void()>() :
                                       [this] {
                                           const std::lock_guard<std::mutex> guard(m_mutex);
                                           m_hasNews = true;
                                           m_nextAttempt = {};
                                           m_wake.notify_all();
                                       }},
                 [this](const QString& what, const QString& reason, const QString& remedy) {
                     m_warnings.log("Failed to " + what.toStdString() + ": " + reason.toStdString(), remedy.toStdString());
                 }),
      m_intake(place,
               {[this](const std::vector<Change>& changes) {
                    const std::lock_guard<std::mutex> guard(m_mutex);
                    m_older.enter(changes);
                    m_isLeftKnown = true;
                    m_wake.notify_all();
                },
                [this](const std::vector<Change>& changes, quint64 last) {
                    const std::lock_guard<std::mutex> guard(m_mutex);
                    m_changes.enter(changes);
                    m_last = last;
                    m_nextAttempt = {};
                    m_wake.notify_all();
                }}),
      m_thread([this] { work(); })
{
}

CollectionService::~CollectionService()
{
    m_intake.waitUntilIdle();
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_isStopped = true;
    }
    m_wake.notify_all();
    m_thread.join();
    m_database.close(); // reports no change from here on
}

void CollectionService::change(Change change)
{
    m_intake.add(std::move(change));
}

void CollectionService::ask(Request request)
{
    m_intake.afterwards([this, request = std::move(request)]() mutable {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_requests.push_back(std::move(request));
        m_nextAttempt = {};
        m_wake.notify_all();
    });
}

void CollectionService::read(unsigned long code, Answer answer)
{
    ask([this, code, answer = std::move(answer)](bool isUsable) { return answerRead(code, answer, isUsable); });
}

void CollectionService::claim(const QStringList& keys, const QString& owner, Claimed claimed)
{
    ask([this, keys, owner, claimed = std::move(claimed)](bool) {
        m_claims.add(keys, owner, claimed);
        return true;
    });
}

void CollectionService::release(const QStringList& keys, const QString& owner)
{
    ask([this, keys, owner](bool isUsable) { return isUsable && m_database.release(keys, owner); });
}

void CollectionService::awaitChange(Changed changed)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed = std::move(changed);
    tellNews(lock);
}

QJsonObject CollectionService::state() const
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return {{QStringLiteral("waiting"), int(m_older.size() + m_changes.size() + m_writing) + m_intake.waiting()},
            {QStringLiteral("failed"), m_hasFailed}};
}

void CollectionService::retry()
{
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_nextAttempt = {};
    }
    m_wake.notify_all();
}

void CollectionService::waitUntilIdle()
{
    m_intake.waitUntilIdle();
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_idle.wait(lock, [this] { return !m_isBusy && !isDue(std::chrono::steady_clock::now()); });
    }
    m_intake.waitUntilIdle(); // which empties its file
}

bool CollectionService::isWaiting() const
{
    return !m_changes.isEmpty() || !m_older.isEmpty() || m_hasNews || m_needsOpening;
}

bool CollectionService::isDue(Time now) const
{
    return !m_requests.empty() || (isWaiting() && now >= m_nextAttempt) || now >= std::min(m_nextCleaning, m_nextClaim);
}

void CollectionService::work()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    // When the database is opened, pictures of nothing are removed, but not those of what was left.
    m_wake.wait(lock, [this] { return m_isLeftKnown; });
    while (!m_isStopped) {
        if (isDue(std::chrono::steady_clock::now())) {
            m_isBusy = true;
            turn(lock);
            m_isBusy = false;
            m_idle.notify_all();
            continue;
        }
        const Time next = std::min(m_nextCleaning, m_nextClaim);
        m_wake.wait_until(lock, isWaiting() ? std::min(next, m_nextAttempt) : next);
    }
    m_requests.clear();
    m_hasNews = false;
    if (!m_changes.isEmpty() || !m_older.isEmpty())
        turn(lock);
    if (const std::size_t count = m_changes.size() + m_older.size(); count > 0)
        Bedrock::Trace::info("CollectionService # %zu changes are not in %s yet; they wait in %s for the next start", count,
                             qUtf8Printable(m_database.path()), qUtf8Printable(m_intake.path()));
}

void CollectionService::turn(std::unique_lock<std::mutex>& lock)
{
    const auto now = std::chrono::steady_clock::now();
    const CollectionChanges older = std::exchange(m_older, {});
    const CollectionChanges changes = std::exchange(m_changes, {});
    std::deque<Request> requests = std::exchange(m_requests, {});
    const quint64 last = m_last;
    m_writing = older.size() + changes.size();
    const bool hasNews = std::exchange(m_hasNews, false);
    const bool isCleaning = now >= m_nextCleaning;
    lock.unlock();

    m_unwritten = older.all();
    m_unwritten.insert(m_unwritten.end(), changes.all().begin(), changes.all().end());
    m_database.setWaiting(m_unwritten);
    m_isOpen = m_isOpen || m_database.open();
    const bool hasChanges = !m_unwritten.empty();
    const bool isWritten = write();
    if (!isWritten)
        m_intake.keep();
    else if (hasChanges)
        m_intake.written(last);
    bool isDone = isWritten;
    // A server that is away costs a turn its deadline once.
    bool isAway = m_isOpen && !isWritten && m_database.wasAway();
    // A file that was moved away is made anew with the next attempt.
    m_isOpen = m_isOpen && m_database.exists();
    if (m_isOpen && !isAway && isCleaning)
        removeExpired();
    for (Request& request : requests) {
        isDone = request(m_isOpen && !isAway) && isDone;
        isAway = isAway || m_database.wasAway();
        request = nullptr; // what it holds is let go without the lock
    }
    // In every turn: another table may have removed what it has sent.
    isDone = askForClaims(m_isOpen && !isAway) && isDone;
    isAway = isAway || m_database.wasAway();
    const bool hasReadNews = !hasNews || (m_isOpen && !isAway && readNews());
    isDone = isDone && hasReadNews;

    lock.lock();
    // What could not be read before may be readable now.
    if (isDone)
        m_changedCards.merge(std::exchange(m_unread, {}));
    m_hasNews = m_hasNews || !hasReadNews;
    m_writing = 0;
    m_hasFailed = !isDone;
    m_needsOpening = !m_isOpen;
    m_nextClaim = m_claims.nextAttempt();
    m_nextAttempt = isDone ? Time() : std::chrono::steady_clock::now() + kRetryPause;
    if (isCleaning)
        m_nextCleaning = now + kCleaningPause;
    if (!isWritten) {
        m_older = older;
        // What came meanwhile is the newer change of an item.
        const CollectionChanges newer = std::exchange(m_changes, changes);
        m_changes.enter(newer.all());
    }
    tellNews(lock);
}

bool CollectionService::write()
{
    if (!m_isOpen || (!m_unwritten.empty() && !m_database.apply(m_unwritten, m_clock())))
        return false;
    m_unwritten.clear();
    return true;
}

bool CollectionService::answerRead(unsigned long code, const Answer& answer, bool isUsable)
{
    auto items = isUsable ? m_database.items(code, oldestKept()) : std::nullopt;
    for (const Change& change : m_unwritten)
        if (items && change.code == code)
            applyTo(*items, change);
    if (items)
        m_unread.erase(code);
    else
        m_unread.insert(code);
    answer(items);
    return items.has_value();
}

bool CollectionService::askForClaims(bool isUsable)
{
    // No other table has what could not be stored yet.
    const auto isOwn = [this](const QString& key) {
        return std::any_of(m_unwritten.begin(), m_unwritten.end(),
                           [&key](const Change& change) { return change.kind == Kind::Add && change.item.key == key; });
    };
    return m_claims.nextAttempt() == Time::max() || m_claims.ask(m_database, isUsable, isOwn, m_clock());
}

bool CollectionService::readNews()
{
    const auto cards = m_database.changedCards();
    if (!cards)
        return false;
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_changedCards.insert(cards->begin(), cards->end());
    return true;
}

void CollectionService::tellNews(std::unique_lock<std::mutex>& lock)
{
    if (!m_changed || m_changedCards.empty())
        return;
    const auto cards = std::exchange(m_changedCards, {});
    const Changed changed = std::exchange(m_changed, nullptr);
    lock.unlock();
    changed(cards);
    lock.lock();
}

qint64 CollectionService::oldestKept() const
{
    return m_settings.keepSeconds == 0 ? 0 : m_clock() - m_settings.keepSeconds;
}

void CollectionService::removeExpired()
{
    (void)m_database.removeBefore(oldestKept(), m_clock());
}
}
