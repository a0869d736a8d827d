#include <Lantern/PaintingThreads.hpp>

#include <algorithm>
#include <array>
#include <atomic>
#include <cassert>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace Lantern
{
namespace
{
using Clock = std::chrono::steady_clock;

PaintingThreads* currentThreads = nullptr;

/// So long before a frame is due helpers wake up by themselves. Timers are late by a tenth of a millisecond.
constexpr std::chrono::microseconds kAhead{350};

/// What `run` was called with. Lives on the caller's stack until no helper is inside. Each thread has a range of neighbouring
/// parts, and takes those of others when it is through: in frame after frame most of what it reads and writes is then in the
/// caches of its own core.
class Work
{
public:
    Work(const std::function<void(int)>& part, int parts, int threads) : m_part(part), m_threads(threads)
    {
        for (int i = 0; i < threads; ++i) {
            m_ranges[std::size_t(i)].next = parts * i / threads;
            m_ranges[std::size_t(i)].end = parts * (i + 1) / threads;
        }
    }
    /// `thread`: 0 is the main thread.
    void help(int thread)
    {
        for (int i = 0; i < m_threads; ++i) {
            Range& range = m_ranges[std::size_t((thread + i) % m_threads)];
            for (int part = range.next++; part < range.end; part = range.next++)
                m_part(part);
        }
    }

private:
    struct alignas(64) Range
    {
        std::atomic<int> next{0};
        int end = 0;
    };

    const std::function<void(int)>& m_part;
    int m_threads;
    std::array<Range, PaintingThreads::kMost> m_ranges;
};
}

struct PaintingThreads::Private
{
    /// A thread that sleeps takes longer to wake up than most waits are long. False when the time is over.
    template <class Condition>
    static bool waitActively(Condition isMet)
    {
        const auto end = Clock::now() + std::chrono::duration<double, std::milli>(kActiveWaitMs);
        while (!isMet()) {
            if (Clock::now() >= end)
                return false;
            std::this_thread::yield();
        }
        return true;
    }

    std::mutex mutex;
    std::condition_variable workCame;
    std::condition_variable helperLeft;
    // Changed under the mutex; those that wait actively read the atomic ones without it.
    Work* work = nullptr;            ///< helpers may enter it
    long calls = 0;                  ///< of `prepare` that woke the helpers
    Clock::time_point frame;         ///< of the last call of `prepare`; main thread only
    Clock::time_point nextFrame;     ///< due as long after that call as the call came after the one before
    std::atomic<long> generation{0}; ///< counts the works, so that a helper enters each once
    std::atomic<int> inside{0};      ///< helpers in `work`
    std::atomic<bool> isEnding{false};
    std::atomic<int> asleep{0}; ///< counted before the mutex is given up, so that a notification reaches what is counted
    std::atomic<long> wakeUps{0};
    std::atomic<long> activeWaits{0};
    std::atomic<bool> framesFollow{false}; ///< the last call of `prepare` woke the helpers

    std::vector<std::thread> helpers;
    int leastPixels = 0;
    bool hasWorked = false; ///< since `prepare` was last called; main thread only

    /// The life of the helper with that number. While frames with work follow each other it stays awake after a work for the next
    /// one, and wakes up by itself before the next frame: waking it up would cost the main thread some 30 µs on a virtual
    /// machine, a tenth of a usual work.
    void help(int thread)
    {
        std::unique_lock lock(mutex);
        long seen = 0, answered = 0;
        for (;;) {
            const auto isWanted = [&] { return isEnding || calls != answered || (work && generation != seen); };
            ++asleep;
            if (Clock::now() < nextFrame - kAhead)
                workCame.wait_until(lock, nextFrame - kAhead, isWanted);
            else
                workCame.wait(lock, isWanted);
            --asleep;
            ++wakeUps;
            answered = calls;
            bool isAwake = true;
            while (isAwake) {
                if (isEnding)
                    return;
                if (work && generation != seen)
                    enter(thread, lock);
                seen = generation;
                if (!framesFollow)
                    break;
                ++activeWaits;
                lock.unlock();
                isAwake = waitActively([&] { return generation != seen || isEnding; });
                lock.lock();
            }
        }
    }
    void enter(int thread, std::unique_lock<std::mutex>& lock)
    {
        Work& mine = *work;
        ++inside;
        lock.unlock();
        mine.help(thread);
        lock.lock();
        if (--inside == 0)
            helperLeft.notify_one();
    }
};

PaintingThreads::PaintingThreads(int count, int leastPixels) : d(std::make_unique<Private>())
{
    d->leastPixels = leastPixels;
    assert(!currentThreads && "one at a time");
    currentThreads = this;
    for (int i = 1; i < std::clamp(count, 1, kMost); ++i)
        d->helpers.emplace_back([this, i] { d->help(i); });
}

PaintingThreads::~PaintingThreads()
{
    {
        const std::lock_guard lock(d->mutex);
        d->isEnding = true;
    }
    d->workCame.notify_all();
    for (std::thread& helper : d->helpers)
        helper.join();
    currentThreads = nullptr;
}

PaintingThreads* PaintingThreads::current() noexcept
{
    return currentThreads;
}

int PaintingThreads::usualCount()
{
    return std::clamp(int(std::thread::hardware_concurrency()), 1, 4);
}

int PaintingThreads::count() const noexcept
{
    return int(d->helpers.size()) + 1;
}

int PaintingThreads::leastPixels() const noexcept
{
    return d->leastPixels;
}

PaintingThreads::Activity PaintingThreads::activity() const noexcept
{
    return {d->asleep, d->wakeUps, d->activeWaits};
}

void PaintingThreads::prepare()
{
    const Clock::time_point before = std::exchange(d->frame, Clock::now());
    d->framesFollow = std::exchange(d->hasWorked, false) && !d->helpers.empty();
    if (!d->framesFollow)
        return;
    {
        const std::lock_guard lock(d->mutex);
        ++d->calls;
        d->nextFrame = d->frame + (d->frame - before);
    }
    d->workCame.notify_all();
}

void PaintingThreads::run(int parts, const std::function<void(int)>& part)
{
    assert(!d->work && "one call at a time");
    Work work(part, parts, this->count());
    d->hasWorked = true;
    if (!d->helpers.empty() && parts > 1) {
        {
            const std::lock_guard lock(d->mutex);
            d->work = &work;
            ++d->generation;
        }
        d->workCame.notify_all();
    }
    work.help(0);
    std::unique_lock lock(d->mutex);
    // A helper that wakes up now finds nothing any more; those inside are on their last part.
    d->work = nullptr;
    if (d->inside > 0) {
        lock.unlock();
        Private::waitActively([this] { return d->inside == 0; });
        lock.lock();
    }
    ++d->asleep;
    d->helperLeft.wait(lock, [this] { return d->inside == 0; });
    --d->asleep;
}
}
