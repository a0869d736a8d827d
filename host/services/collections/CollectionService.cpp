#include "services/collections/CollectionService.hpp"

#include <Bedrock/Trace.hpp>

#include <QDateTime>
#include <QFileInfo>

#include <algorithm>
#include <utility>

namespace Host
{
namespace
{
using Kind = CollectionDatabase::Change::Kind;

constexpr std::chrono::seconds kRetryPause{10};
constexpr std::chrono::hours kCleaningPause{1};

/// One change in place of two of the same item. An item that is not there yet is added with its newest values.
CollectionDatabase::Change merged(const CollectionDatabase::Change& before, CollectionDatabase::Change after)
{
    if (before.kind == Kind::Remove)
        return before;
    if (before.kind == Kind::Add && after.kind == Kind::Update)
        after.kind = Kind::Add;
    return after;
}

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
      m_backlog(QFileInfo(place.previews).absolutePath()), m_thread([this] { work(); })
{
}

CollectionService::~CollectionService()
{
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
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        enter(std::move(change));
        m_nextAttempt = {};
    }
    m_wake.notify_all();
}

void CollectionService::enter(Change change)
{
    const QString key = change.item.key;
    const auto known = m_changes.find(key);
    if (known == m_changes.end())
        m_changes.emplace(key, std::move(change));
    else
        known->second = merged(known->second, std::move(change));
}

void CollectionService::ask(Request request)
{
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_requests.push_back(std::move(request));
        m_nextAttempt = {};
    }
    m_wake.notify_all();
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

void CollectionService::awaitChange(Changed changed)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed = std::move(changed);
    tellNews(lock);
}

QJsonObject CollectionService::state() const
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return {{QStringLiteral("waiting"), int(m_changes.size() + m_writing + m_left)}, {QStringLiteral("failed"), m_hasFailed}};
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
    std::unique_lock<std::mutex> lock(m_mutex);
    m_idle.wait(lock, [this] { return !m_isBusy && !isDue(std::chrono::steady_clock::now()); });
}

bool CollectionService::isWaiting() const
{
    return !m_changes.empty() || m_left > 0 || m_hasNews || m_needsOpening;
}

bool CollectionService::isDue(Time now) const
{
    return !m_requests.empty() || (isWaiting() && now >= m_nextAttempt) || now >= std::min(m_nextCleaning, m_nextClaim);
}

void CollectionService::work()
{
    readBacklog();
    std::unique_lock<std::mutex> lock(m_mutex);
    m_left = m_older.size();
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
    if (!m_changes.empty() || m_left > 0)
        turn(lock);
    if (const std::size_t count = m_changes.size() + m_left; count > 0)
        Bedrock::Trace::info("CollectionService # %zu changes are not in %s yet; they wait in %s for the next start", count,
                             qUtf8Printable(m_database.path()), qUtf8Printable(m_backlog.path()));
}

void CollectionService::readBacklog()
{
    int unreadable = 0;
    for (const Change& change : m_backlog.read(unreadable))
        m_older.push_back(m_database.lasting(change));
    if (unreadable > 0)
        m_warnings.log("Failed to read " + std::to_string(unreadable) + " changes in " + m_backlog.path().toStdString(),
                       "what they were is lost; see whether the disk is sound");
}

void CollectionService::keepUnwritten()
{
    std::vector<Change> lasting;
    for (const Change& change : m_unwritten)
        lasting.push_back(m_database.lasting(change));
    QString error;
    if (!m_backlog.write(lasting, error))
        m_warnings.log("Failed to write " + m_backlog.path().toStdString() + ": " + error.toStdString(),
                       "free space on the disk, and let this user write there; until then what waits is lost with the program");
}

void CollectionService::turn(std::unique_lock<std::mutex>& lock)
{
    const auto now = std::chrono::steady_clock::now();
    Changes changes;
    std::deque<Request> requests;
    changes.swap(m_changes);
    requests.swap(m_requests);
    m_writing = changes.size();
    const bool hasNews = std::exchange(m_hasNews, false);
    const bool isCleaning = now >= m_nextCleaning;
    lock.unlock();

    m_isOpen = m_isOpen || m_database.open();
    const bool isWritten = write(changes);
    bool isDone = isWritten;
    // A server that is away costs a turn its deadline once.
    bool isAway = m_isOpen && !isWritten && m_database.wasAway();
    // A file that was moved away is made anew with the next attempt.
    m_isOpen = m_isOpen && m_database.exists();
    keepUnwritten();
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
    m_left = m_older.size();
    m_hasFailed = !isDone;
    m_needsOpening = !m_isOpen;
    m_nextClaim = m_claims.nextAttempt();
    m_nextAttempt = isDone ? Time() : std::chrono::steady_clock::now() + kRetryPause;
    if (isCleaning)
        m_nextCleaning = now + kCleaningPause;
    if (!isWritten) {
        // What came meanwhile is the newer change of an item.
        Changes newer;
        newer.swap(m_changes);
        m_changes = std::move(changes);
        for (auto& entry : newer)
            enter(std::move(entry.second));
    }
    tellNews(lock);
}

bool CollectionService::write(const Changes& changes)
{
    m_unwritten.clear();
    for (const auto& entry : changes)
        m_unwritten.push_back(entry.second);
    std::stable_sort(m_unwritten.begin(), m_unwritten.end(), [](const Change& a, const Change& b) {
        return CollectionDatabase::numberOf(a.item.key) < CollectionDatabase::numberOf(b.item.key);
    });
    m_unwritten.insert(m_unwritten.begin(), m_older.begin(), m_older.end());
    if (!m_isOpen || (!m_unwritten.empty() && !m_database.apply(m_unwritten, m_clock())))
        return false;
    m_unwritten.clear();
    m_older.clear();
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
