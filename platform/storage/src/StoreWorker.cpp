#include "StoreWorker.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

namespace Storage
{
namespace
{
using namespace std::chrono_literals;

constexpr auto kPauseBeforeRepeat = 20ms;
/// For connecting, which libpq bounds itself but for the first questions of the driver.
constexpr auto kLongestConnect = 5s;

/// For a sign of life.
constexpr std::chrono::milliseconds kLongestProbe = 2s;
/// For a group that has waited until shortly before its deadline.
constexpr auto kLeastForGroup = 1s;

/// The failure of a job that has waited too long while nothing else was wrong.
Failure tooSlow()
{
    return {Failure::Kind::Away, QStringLiteral("it did not answer in time"), QStringLiteral("see what keeps the database busy")};
}
}

Store::Worker::Worker(const Address& address, const Schema& schema, const Settings& settings)
    : m_address(address), m_schema(schema), m_settings(settings),
      m_watch(address.isPostgres() ? std::make_unique<ConnectionWatch>() : nullptr), m_lastFailure(tooSlow())
{
}

Store::Worker::~Worker()
{
    m_queue.stop();
    if (m_thread.joinable())
        m_thread.join();
}

QString Store::Worker::start()
{
    // Shared: the thread may still be inside of set_value() when this one goes on.
    const auto opened = std::make_shared<std::promise<QString>>();
    m_thread = std::thread([this, opened] { run(*opened); });
    return opened->get_future().get();
}

void Store::Worker::add(Kind kind, Job job, Done done)
{
    m_queue.add({kind, std::move(job), std::move(done), Clock::now() + m_settings.deadline, false});
}

void Store::Worker::endAt(Clock::time_point time)
{
    if (!m_watch)
        return;
    m_queue.endAt(time);
    m_watch->endAt(time);
}

void Store::Worker::run(std::promise<QString>& opened)
{
    const QString refused = connect();
    const bool isAway = !m_connection && m_lastFailure.kind == Failure::Kind::Away && m_address.isPostgres();
    const bool isOpened = m_connection || (isAway && m_settings.whenAway == WhenAway::Open);
    opened.set_value(isOpened ? QString() : refused);
    while (isOpened) {
        if (work())
            continue;
        const bool isRepeating = m_connection && !m_group.empty();
        if (m_queue.isStopping() && !isRepeating)
            break;
        wait();
    }
    m_queue.putBack(std::exchange(m_group, {}));
    failAll(m_lastFailure);
    m_connection.reset(); // on the thread that made it
}

bool Store::Worker::work()
{
    failOverdue();
    const Clock::time_point now = Clock::now();
    if (now < m_nextAttempt || now >= m_queue.end())
        return false;
    if (!m_connection) {
        (void)connect();
        return m_connection != nullptr;
    }
    // Also while there is always something to do.
    if (m_settings.onEvent && now >= m_nextCheck) {
        check();
        return true;
    }
    if (m_group.empty())
        m_group = m_queue.takeGroup();
    if (m_group.empty())
        return false;
    attempt();
    if (m_connection && m_connection->descriptor() >= 0)
        readChanges();
    return true;
}

void Store::Worker::wait()
{
    std::optional<Clock::time_point> until = m_queue.nextDeadline();
    const auto wakeAt = [&until](Clock::time_point time) { until = std::min(until.value_or(time), time); };
    for (const QueuedJob& job : m_group)
        wakeAt(job.deadline);
    if (Clock::now() >= m_queue.end())
        until = m_queue.nextDeadline(); // nothing else is done any more
    else if (!m_connection || Clock::now() < m_nextAttempt)
        wakeAt(m_nextAttempt);
    else if (m_settings.onEvent)
        wakeAt(m_nextCheck);
    int milliseconds = -1;
    if (until) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(*until - Clock::now());
        milliseconds = static_cast<int>(std::clamp<std::chrono::milliseconds>(left, 0ms, 60s).count());
    }
    const int descriptor = m_connection ? m_connection->descriptor() : -1;
    if (m_queue.wait(descriptor, milliseconds))
        readChanges();
}

void Store::Worker::readChanges()
{
    bool hasChanged = false;
    if (!m_connection->readChanges(hasChanged))
        disconnect();
    else if (hasChanged && m_settings.onEvent)
        m_settings.onEvent(Event::Changed);
}

QString Store::Worker::connect()
{
    auto made = Connection::make(m_address, m_settings.deadline, m_settings.onEvent != nullptr);
    QString sentence;
    bool isOpen = false;
    {
        std::optional<ConnectionWatch::Guard> guard;
        if (m_watch)
            guard.emplace(*m_watch, *made, Clock::now() + kLongestConnect);
        isOpen = made->open(m_schema, sentence);
    }
    if (isOpen) {
        m_pause.reset();
        m_nextAttempt = Clock::now();
        m_lastFailure = tooSlow();
        m_connection = std::move(made);
        m_nextCheck = Clock::now() + m_connection->checkEvery();
        m_isAway = false;
        if (std::exchange(m_wasLost, false) && m_settings.onEvent)
            m_settings.onEvent(Event::Changed);
        return {};
    }
    m_nextAttempt = Clock::now() + m_pause.afterFailure();
    m_lastFailure = made->fault().failure();
    m_wasLost = true;
    if (!std::exchange(m_isAway, true) && m_settings.onEvent)
        m_settings.onEvent(Event::Away);
    // A file either opens or is refused; waiting for locks is a part of opening it.
    if (m_lastFailure.kind == Failure::Kind::Refused)
        failAll(m_lastFailure);
    return sentence;
}

void Store::Worker::disconnect()
{
    m_lastFailure = m_connection->fault().failure();
    m_connection.reset();
    m_wasLost = true;
    m_nextAttempt = Clock::now();
}

void Store::Worker::check()
{
    bool hasChanged = false;
    bool isGood = false;
    {
        std::optional<ConnectionWatch::Guard> guard;
        if (m_watch)
            guard.emplace(*m_watch, *m_connection, Clock::now() + std::min(m_settings.deadline, kLongestProbe));
        isGood = m_connection->probe() && m_connection->readChanges(hasChanged);
    }
    m_nextCheck = Clock::now() + m_connection->checkEvery();
    if (!isGood)
        disconnect();
    else if (hasChanged && m_settings.onEvent)
        m_settings.onEvent(Event::Changed);
}

void Store::Worker::failOverdue()
{
    const Clock::time_point now = Clock::now();
    for (QueuedJob& job : m_group)
        job.deadline = std::min(job.deadline, m_queue.end());
    for (const QueuedJob& job : m_queue.takeOverdue(now))
        job.done(tl::unexpected(m_lastFailure));
    if (m_group.empty())
        return;
    const auto first =
        std::stable_partition(m_group.begin(), m_group.end(), [now](const QueuedJob& job) { return job.deadline > now; });
    const JobQueue::Group overdue(std::make_move_iterator(first), std::make_move_iterator(m_group.end()));
    m_group.erase(first, m_group.end());
    Failure failure = m_lastFailure;
    if (!m_unknown.isEmpty())
        failure.reason += QStringLiteral("; whether it was saved is not known");
    for (const QueuedJob& job : overdue)
        job.done(tl::unexpected(failure));
    if (m_group.empty())
        m_unknown.clear();
}

void Store::Worker::failAll(const Failure& failure)
{
    finishGroup(tl::unexpected(failure));
    for (const QueuedJob& job : m_queue.takeAll())
        job.done(tl::unexpected(failure));
}

void Store::Worker::attempt()
{
    const auto latest = std::max_element(m_group.begin(), m_group.end(),
                                         [](const QueuedJob& a, const QueuedJob& b) { return a.deadline < b.deadline; });
    bool isDone = false;
    {
        std::optional<ConnectionWatch::Guard> guard;
        if (m_watch)
            guard.emplace(*m_watch, *m_connection, std::max(latest->deadline, Clock::now() + kLeastForGroup));
        isDone = transact();
    }
    if (isDone)
        return;
    const Fault fault = m_connection->fault();
    m_lastFailure = fault.failure();
    switch (fault.kind) {
    case Fault::Kind::Lost: disconnect(); break;
    case Fault::Kind::Passing:
        m_connection->rollBack();
        m_nextAttempt = Clock::now() + kPauseBeforeRepeat;
        break;
    case Fault::Kind::Statement:
        m_connection->rollBack();
        undone(tl::unexpected(m_lastFailure));
        break;
    }
    if (fault.spoilsConnection && m_connection)
        disconnect();
}

bool Store::Worker::transact()
{
    const Kind kind = m_group.front().kind;
    bool isCommitted = false;
    if (!m_connection->begin(kind) || !findEnding(isCommitted))
        return false;
    if (isCommitted) {
        m_connection->rollBack();
        finishGroup(true);
        return true;
    }
    bool hasChanged = false;
    for (const QueuedJob& queued : m_group) {
        Transaction transaction(*m_connection);
        const bool isWanted = queued.job(transaction);
        if (!transaction)
            return false;
        if (!isWanted) {
            m_connection->rollBack();
            undone(false);
            return true;
        }
        hasChanged = hasChanged || transaction.hasChanged();
    }
    if (!m_connection->commit(kind, hasChanged)) {
        if (m_connection->fault().kind == Fault::Kind::Lost && kind == Kind::Write)
            m_unknown = m_connection->transactionNumber();
        return false;
    }
    m_lastFailure = tooSlow();
    finishGroup(true);
    return true;
}

bool Store::Worker::findEnding(bool& isCommitted)
{
    if (m_unknown.isEmpty())
        return true;
    Connection::Ending ending = Connection::Ending::Undone;
    if (!m_connection->askEnding(m_unknown, ending))
        return false;
    m_unknown.clear();
    isCommitted = ending == Connection::Ending::Committed;
    return true;
}

void Store::Worker::undone(const Outcome& outcome)
{
    if (m_group.size() == 1)
        return finishGroup(outcome);
    // Each of them anew, because what the failed one read may be the work of those before it.
    for (QueuedJob& queued : m_group)
        queued.runsAlone = true;
    m_queue.putBack(std::exchange(m_group, {}));
}

void Store::Worker::finishGroup(const Outcome& outcome)
{
    m_unknown.clear();
    for (const QueuedJob& queued : std::exchange(m_group, {}))
        queued.done(outcome);
}
}
