#include "Bedrock/AfterUpdateQueue.hpp"

#include "Bedrock/Guarded.hpp"
#include "Bedrock/Inbox.hpp"

#include <cstdint>
#include <deque>
#include <mutex>
#include <utility>

namespace Bedrock
{
namespace
{
thread_local Reply* threadsReply = nullptr;
}

AfterUpdateQueue::ThroughReply::ThroughReply(Reply& reply) noexcept : m_outer(std::exchange(threadsReply, &reply)) {}

AfterUpdateQueue::ThroughReply::~ThroughReply()
{
    threadsReply = m_outer;
}

struct AfterUpdateQueue::Private
{
    std::mutex mutex;
    std::deque<std::function<void()>> functions;
    /// Running number of the function at the front; drain() runs up to a number and no further, whatever is added or cleared
    /// meanwhile.
    std::uint64_t frontNumber = 0;
};

AfterUpdateQueue& AfterUpdateQueue::instance()
{
    // Never destroyed: other threads and late destructors may still add.
    static auto& queue = *new AfterUpdateQueue;
    return queue;
}

AfterUpdateQueue::AfterUpdateQueue() : d(std::make_unique<Private>()) {}

AfterUpdateQueue::~AfterUpdateQueue() = default;

void AfterUpdateQueue::add(std::function<void()> function)
{
    if (!function)
        return;
    Inbox& inbox = Inbox::instance();
    if (threadsReply || !inbox.isMainThread()) {
        auto enter = [this, queued = std::move(function)]() mutable { add(std::move(queued)); };
        if (threadsReply)
            threadsReply->answerInPart(std::move(enter));
        else
            inbox.begin('q').answer(std::move(enter));
        return;
    }
    const std::lock_guard<std::mutex> guard(d->mutex);
    d->functions.push_back(std::move(function));
}

int AfterUpdateQueue::drain()
{
    std::unique_lock<std::mutex> lock(d->mutex);
    const std::uint64_t end = d->frontNumber + d->functions.size();
    int ran = 0;
    while (!d->functions.empty() && d->frontNumber < end) {
        std::function<void()> function = std::move(d->functions.front());
        d->functions.pop_front();
        ++d->frontNumber;
        lock.unlock();
        guarded("AfterUpdateQueue::drain # A function failed, the others go on", function);
        // What the function holds is let go outside the lock: a destructor may add to this queue.
        function = nullptr;
        ++ran;
        lock.lock();
    }
    return ran;
}

void AfterUpdateQueue::clear()
{
    std::deque<std::function<void()>> dropped;
    const std::lock_guard<std::mutex> guard(d->mutex);
    d->frontNumber += d->functions.size();
    dropped.swap(d->functions);
}

bool AfterUpdateQueue::isEmpty() const
{
    const std::lock_guard<std::mutex> guard(d->mutex);
    return d->functions.empty();
}
}
