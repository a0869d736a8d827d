#include "services/collections/CollectionService.hpp"

#include <QDateTime>

#include <utility>

namespace Host
{
namespace
{
constexpr std::chrono::seconds kRetryPause{10};
constexpr std::chrono::hours kCleaningPause{1};

/// One change in place of two of the same item. An item that is not there yet is added with its newest values.
CollectionFile::Change merged(const CollectionFile::Change& before, CollectionFile::Change after)
{
    using Kind = CollectionFile::Change::Kind;
    if (before.kind == Kind::Remove)
        return before;
    if (before.kind == Kind::Add && after.kind == Kind::Update)
        after.kind = Kind::Add;
    return after;
}
}

CollectionService::CollectionService(const QString& path, const CollectionSettings& settings, Clock clock)
    : m_settings(settings), m_clock(clock ? std::move(clock) : [] { return QDateTime::currentSecsSinceEpoch(); }),
      m_file(path,
             [this](const QString& what, const QString& reason, const QString& remedy) {
                 m_warnings.log("Failed to " + what.toStdString() + ": " + reason.toStdString(), remedy.toStdString());
             }),
      m_thread([this] { work(); })
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

void CollectionService::read(unsigned long code, Answer answer)
{
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_questions.push_back({code, std::move(answer)});
        m_nextAttempt = {};
    }
    m_wake.notify_all();
}

QJsonObject CollectionService::state() const
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return {{QStringLiteral("waiting"), int(m_changes.size() + m_writing)}, {QStringLiteral("failed"), m_hasFailed}};
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

bool CollectionService::isDue(Time now) const
{
    return !m_questions.empty() || (!m_changes.empty() && now >= m_nextAttempt) || now >= m_nextCleaning;
}

void CollectionService::work()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_isStopped) {
        if (isDue(std::chrono::steady_clock::now())) {
            m_isBusy = true;
            turn(lock);
            m_isBusy = false;
            m_idle.notify_all();
            continue;
        }
        m_wake.wait_until(lock, m_changes.empty() ? m_nextCleaning : std::min(m_nextCleaning, m_nextAttempt));
    }
    m_questions.clear();
    if (!m_changes.empty())
        turn(lock);
}

void CollectionService::turn(std::unique_lock<std::mutex>& lock)
{
    const auto now = std::chrono::steady_clock::now();
    std::map<QString, Change> changes;
    std::deque<Question> questions;
    changes.swap(m_changes);
    questions.swap(m_questions);
    m_writing = changes.size();
    const bool isCleaning = now >= m_nextCleaning;
    lock.unlock();

    m_isOpen = m_isOpen || m_file.open();
    bool isDone = m_isOpen && (changes.empty() || write(changes));
    // A file that was moved away is made anew with the next attempt.
    m_isOpen = m_isOpen && m_file.exists();
    if (m_isOpen && isCleaning)
        removeExpired();
    for (Question& question : questions) {
        const auto items = m_isOpen ? m_file.items(question.code, oldestKept()) : std::nullopt;
        isDone = isDone && items;
        question.answer(items);
        question.answer = nullptr; // what it holds is let go without the lock
    }

    lock.lock();
    m_writing = 0;
    m_hasFailed = !isDone;
    m_nextAttempt = isDone ? Time() : std::chrono::steady_clock::now() + kRetryPause;
    if (isCleaning)
        m_nextCleaning = now + kCleaningPause;
    if (isDone)
        return;
    // What came meanwhile is the newer change of an item.
    std::map<QString, Change> newer;
    newer.swap(m_changes);
    m_changes = std::move(changes);
    for (auto& entry : newer)
        enter(std::move(entry.second));
}

bool CollectionService::write(const std::map<QString, Change>& changes)
{
    std::vector<Change> list;
    for (const auto& entry : changes)
        list.push_back(entry.second);
    return m_file.apply(list, m_clock());
}

qint64 CollectionService::oldestKept() const
{
    return m_settings.keepSeconds == 0 ? 0 : m_clock() - m_settings.keepSeconds;
}

void CollectionService::removeExpired()
{
    if (m_settings.keepSeconds != 0)
        (void)m_file.removeBefore(oldestKept());
}
}
