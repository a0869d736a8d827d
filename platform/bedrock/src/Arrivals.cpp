#include "Bedrock/Arrivals.hpp"

#include "Bedrock/Trace.hpp"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <exception>
#include <map>
#include <mutex>
#include <set>
#include <thread>
#include <utility>

namespace Bedrock
{
namespace
{
thread_local Arrivals::Ticket currentTicket = 0;

struct Held
{
    Arrivals::Arrival arrival;
    std::function<void()> function;
};

void call(const std::function<void()>& function)
{
    try {
        function();
    } catch (const std::exception& error) {
        Trace::error("Arrivals::admit # A function failed, the others go on (%s)", error.what());
    } catch (...) {
        Trace::error("Arrivals::admit # A function failed, the others go on (unknown exception)");
    }
}
}

struct Arrivals::Private
{
    enum class Mode { Free, Recording, Replaying };

    std::atomic<Mode> mode{Mode::Free};

    mutable std::mutex mutex; ///< guards what follows
    std::condition_variable changed;
    std::thread::id mainThread;
    std::vector<char> kinds; ///< of all tickets, the first at 0; while free only those that asked are counted, in lastFree
    Ticket lastFree = 0;
    std::vector<Held> held; ///< in the order of arrival
    std::map<Ticket, std::uint16_t> partsOf;
    std::set<Ticket> endedTickets; ///< of a replay
    std::map<Ticket, std::pair<char, Answered>> asked;
    std::vector<Arrival> expected;
    bool hasWarned = false;

    std::function<void(const Arrival&)> taken; ///< main thread only, as what follows
    std::vector<Held> running;

    [[nodiscard]] bool isFree() const { return mode == Mode::Free; }

    /// Guarded.
    void hold(Ticket ticket, std::function<void()> function, const QByteArray& answer)
    {
        Held entry;
        entry.arrival.ticket = ticket;
        entry.arrival.part = partsOf[ticket]++;
        entry.arrival.kind = ticket <= kinds.size() ? kinds[std::size_t(ticket - 1)] : 0;
        entry.arrival.answer = answer;
        entry.function = std::move(function);
        held.push_back(std::move(entry));
    }

    /// Guarded. The place of what is expected, or the end.
    std::vector<Held>::iterator find(const Arrival& wanted)
    {
        return std::find_if(held.begin(), held.end(), [&wanted](const Held& entry) {
            return entry.arrival.ticket == wanted.ticket && entry.arrival.part == wanted.part
                && entry.arrival.kind == wanted.kind;
        });
    }

    /// Guarded. Whether something that is expected may still come.
    [[nodiscard]] bool isComing(const Arrival& wanted)
    {
        return wanted.ticket <= kinds.size() && kinds[std::size_t(wanted.ticket - 1)] == wanted.kind && wanted.answer.isNull()
            && endedTickets.count(wanted.ticket) == 0 && find(wanted) == held.end();
    }

    /// Guarded. Moves what the replay's frame takes to `running`.
    void takeExpected(bool& isMissing)
    {
        for (const Arrival& wanted : expected) {
            const auto found = find(wanted);
            if (found != held.end()) {
                running.push_back(std::move(*found));
                held.erase(found);
            } else if (endedTickets.count(wanted.ticket) == 0) {
                isMissing = true;
            }
        }
        expected.clear();
    }
};

Arrivals& Arrivals::instance()
{
    // Never destroyed: other threads and late destructors may still deliver.
    static auto& arrivals = *new Arrivals;
    return arrivals;
}

Arrivals::Arrivals() : d(std::make_unique<Private>()) {}

Arrivals::~Arrivals() = default;

// ---- Asynchronous work -----------------------------------------------------------------------------------------------

Arrivals::Ticket Arrivals::begin(char kind)
{
    if (d->isFree())
        return 0;
    const std::lock_guard<std::mutex> guard(d->mutex);
    if (std::this_thread::get_id() != d->mainThread)
        return 0;
    d->kinds.push_back(kind);
    return d->kinds.size();
}

void Arrivals::deliver(Ticket ticket, std::function<void()> function)
{
    if (!function)
        return;
    if (ticket != 0 && !d->isFree()) {
        {
            const std::lock_guard<std::mutex> guard(d->mutex);
            d->hold(ticket, std::move(function), QByteArray());
        }
        d->changed.notify_all();
        return;
    }
    // Called as if it stood outside of every scope, which would bring it back here.
    const Scope none(0);
    function();
}

void Arrivals::ended(Ticket ticket)
{
    if (ticket == 0 || d->isFree())
        return;
    {
        const std::lock_guard<std::mutex> guard(d->mutex);
        d->partsOf.erase(ticket);
        if (d->mode == Private::Mode::Replaying)
            d->endedTickets.insert(ticket);
    }
    d->changed.notify_all();
}

Arrivals::Ticket Arrivals::ask(char kind, Answered answered)
{
    const std::lock_guard<std::mutex> guard(d->mutex);
    Ticket ticket = 0;
    if (d->isFree()) {
        // Far from the numbers of a recording that may begin meanwhile.
        ticket = (Ticket(1) << 63) + ++d->lastFree;
    } else {
        d->kinds.push_back(kind);
        ticket = d->kinds.size();
    }
    d->asked[ticket] = {kind, std::move(answered)};
    return ticket;
}

void Arrivals::answer(Ticket ticket, const QByteArray& bytes)
{
    Answered answered;
    {
        const std::lock_guard<std::mutex> guard(d->mutex);
        const auto found = d->asked.find(ticket);
        if (found == d->asked.end())
            return;
        answered = std::move(found->second.second);
        d->asked.erase(found);
        if (!d->isFree() && ticket <= d->kinds.size()) {
            // An empty answer is one all the same.
            const QByteArray kept = bytes.isNull() ? QByteArray("") : bytes;
            d->hold(
                ticket, [answered = std::move(answered), kept] { answered(kept); }, kept);
            d->partsOf.erase(ticket);
            answered = nullptr;
        }
    }
    if (answered)
        answered(bytes);
}

Arrivals::Scope::Scope(Ticket ticket) noexcept : m_before(std::exchange(currentTicket, ticket)) {}

Arrivals::Scope::~Scope()
{
    currentTicket = m_before;
}

Arrivals::Ticket Arrivals::Scope::current() noexcept
{
    return currentTicket;
}

// ---- The crank -------------------------------------------------------------------------------------------------------

int Arrivals::admit()
{
    if (d->isFree())
        return 0;
    bool isMissing = false;
    {
        const std::lock_guard<std::mutex> guard(d->mutex);
        if (d->mode == Private::Mode::Recording)
            d->running.swap(d->held);
        else
            d->takeExpected(isMissing);
        if (isMissing && std::exchange(d->hasWarned, true))
            isMissing = false;
    }
    if (isMissing)
        Trace::warning("Arrivals # The replay goes another way than what was recorded: a result is missing that a frame took; "
                       "from here on widgets may differ. Look whether files of the presentation have changed");
    // What a function begins or delivers is for the next frame, at the earliest.
    std::vector<Held> running;
    running.swap(d->running);
    for (Held& entry : running) {
        if (d->taken)
            d->taken(entry.arrival);
        call(entry.function);
        entry.function = nullptr;
    }
    const int count = int(running.size());
    running.clear();
    if (d->running.empty())
        d->running.swap(running); // for its capacity
    return count;
}

bool Arrivals::isWaiting() const
{
    if (d->isFree())
        return false;
    const std::lock_guard<std::mutex> guard(d->mutex);
    return !d->held.empty();
}

// ---- Recording and replaying -----------------------------------------------------------------------------------------

void Arrivals::startRecording(std::function<void(const Arrival&)> taken)
{
    stop();
    const std::lock_guard<std::mutex> guard(d->mutex);
    d->mainThread = std::this_thread::get_id();
    d->taken = std::move(taken);
    d->mode = Private::Mode::Recording;
}

void Arrivals::startReplaying()
{
    stop();
    const std::lock_guard<std::mutex> guard(d->mutex);
    d->mainThread = std::this_thread::get_id();
    d->mode = Private::Mode::Replaying;
}

void Arrivals::stop()
{
    // Destroyed outside the lock: what goes with them may ask or deliver.
    std::vector<Held> held;
    std::map<Ticket, std::pair<char, Answered>> asked;
    {
        const std::lock_guard<std::mutex> guard(d->mutex);
        d->mode = Private::Mode::Free;
        held.swap(d->held);
        asked.swap(d->asked);
        d->kinds.clear();
        d->partsOf.clear();
        d->endedTickets.clear();
        d->expected.clear();
        d->hasWarned = false;
    }
    d->taken = nullptr;
}

bool Arrivals::isReplaying() const noexcept
{
    return d->mode == Private::Mode::Replaying;
}

void Arrivals::expect(std::vector<Arrival> arrivals)
{
    const std::lock_guard<std::mutex> guard(d->mutex);
    d->expected = std::move(arrivals);
    for (const Arrival& wanted : d->expected) {
        const auto found = wanted.answer.isNull() ? d->asked.end() : d->asked.find(wanted.ticket);
        if (found == d->asked.end() || found->second.first != wanted.kind)
            continue;
        d->hold(
            wanted.ticket, [answered = std::move(found->second.second), bytes = wanted.answer] { answered(bytes); },
            wanted.answer);
        d->asked.erase(found);
    }
}

bool Arrivals::waitForExpected(std::chrono::milliseconds patience)
{
    std::unique_lock<std::mutex> lock(d->mutex);
    return d->changed.wait_for(lock, patience, [this] {
        return std::none_of(d->expected.begin(), d->expected.end(),
                            [this](const Arrival& wanted) { return d->isComing(wanted); });
    });
}
}
