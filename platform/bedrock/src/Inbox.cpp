#include "Bedrock/Inbox.hpp"

#include "Bedrock/Guarded.hpp"
#include "Bedrock/InboxSource.hpp"
#include "InboxState.hpp"

#include <algorithm>
#include <cassert>
#include <iterator>
#include <utility>

namespace Bedrock
{
InboxSource::~InboxSource() = default;

namespace
{
/// Libraries are loaded on the main thread.
[[maybe_unused]] const Inbox& madeWhenLoaded = Inbox::instance();
}

Inbox& Inbox::instance()
{
    // Never destroyed: other threads and late destructors may still answer.
    static auto& inbox = *new Inbox;
    return inbox;
}

Inbox::Inbox() : d(std::make_shared<InboxState>()) {}

Inbox::~Inbox()
{
    clear();
}

// ---- Jobs ------------------------------------------------------------------------------------------------------------

Reply Inbox::begin(char kind)
{
    return Reply(d, d->begin(kind, nullptr));
}

void Inbox::ask(char kind, const std::function<void(BytesReply)>& start, std::function<void(const QByteArray&)> answered)
{
    assert(isMainThread() && "the world is asked by the main thread");
    assert(answered && "an answer is for something");
    const std::uint64_t key = d->begin(kind, std::move(answered));
    if (d->source)
        return;
    // A source asks no questions, so the jobs that they begin have no number.
    const bool wasAsking = std::exchange(d->isAskingOutside, true);
    guarded("Inbox::ask # A question could not be asked", [&] { start(BytesReply(Reply(d, key))); });
    d->isAskingOutside = wasAsking;
}

// ---- The frame -------------------------------------------------------------------------------------------------------

int Inbox::deliver()
{
    std::vector<Arrival> wanted;
    if (d->source)
        wanted = d->source->next();
    std::vector<Arrival> missed;
    {
        const std::lock_guard<std::mutex> guard(d->mutex);
        if (!d->source) {
            std::move(d->waiting.begin(), d->waiting.end(), std::back_inserter(d->running));
            d->waiting.clear();
        } else {
            d->moveUnordered();
            for (Arrival& arrival : wanted) {
                if (auto result = d->extractWaiting(arrival))
                    d->running.push_back(std::move(*result));
                else if (d->isAnother(arrival))
                    missed.push_back(std::move(arrival));
            }
        }
    }
    for (const Arrival& arrival : missed)
        d->source->missed(arrival);
    int count = 0;
    while (!d->running.empty()) {
        InboxState::Result result = std::move(d->running.front());
        d->running.pop_front();
        ++count;
        if (d->tap && result.arrival.job != 0)
            d->tap(result.arrival);
        guarded("Inbox::deliver # A result could not be handled, the others go on", result.deliver);
    }
    return count;
}

bool Inbox::isWaiting() const
{
    const std::lock_guard<std::mutex> guard(d->mutex);
    return !d->waiting.empty();
}

int Inbox::openJobs() const
{
    const std::lock_guard<std::mutex> guard(d->mutex);
    return int(d->open.size());
}

void Inbox::clear()
{
    // Destroyed outside of the lock; what goes may begin or drop jobs.
    for (;;) {
        std::deque<InboxState::Result> running;
        std::deque<InboxState::Result> waiting;
        std::map<std::uint64_t, InboxState::Job> open;
        const std::lock_guard<std::mutex> guard(d->mutex);
        if (d->running.empty() && d->waiting.empty() && d->open.empty())
            return;
        running.swap(d->running);
        waiting.swap(d->waiting);
        open.swap(d->open);
    }
}

bool Inbox::isMainThread() const noexcept
{
    return std::this_thread::get_id() == d->mainThread;
}

// ---- Tap and source --------------------------------------------------------------------------------------------------

void Inbox::restart()
{
    clear();
    const std::lock_guard<std::mutex> guard(d->mutex);
    d->lastNumber = 0;
}

void Inbox::setTap(Tap tap)
{
    restart();
    d->tap = std::move(tap);
}

void Inbox::setSource(InboxSource* source)
{
    restart();
    d->source = source;
}

bool Inbox::waitFor(const std::vector<Arrival>& arrivals, std::chrono::milliseconds patience) const
{
    std::unique_lock<std::mutex> lock(d->mutex);
    return d->changed.wait_for(lock, patience, [&] {
        return std::none_of(arrivals.begin(), arrivals.end(), [this](const Arrival& wanted) { return d->isComing(wanted); });
    });
}
}
