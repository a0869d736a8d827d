#include <Lantern/PaintingThreads.hpp>

#include <algorithm>
#include <atomic>
#include <cassert>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace Lantern
{
namespace
{
PaintingThreads* currentThreads = nullptr;

/// What `run` was called with. Lives on the caller's stack until no helper is inside.
struct Work
{
    const std::function<void(int)>& part;
    int parts;
    std::atomic<int> next{0};

    void help()
    {
        for (int i = next++; i < parts; i = next++)
            part(i);
    }
};
}

struct PaintingThreads::Private
{
    std::mutex mutex;
    std::condition_variable workCame;
    std::condition_variable helperLeft;
    // Under the mutex:
    Work* work = nullptr; ///< helpers may enter it
    long generation = 0;  ///< counts the works, so that a helper enters each once
    int inside = 0;       ///< helpers in `work`
    bool isEnding = false;

    std::vector<std::thread> helpers;
    int leastPixels = 0;

    void help()
    {
        std::unique_lock lock(mutex);
        long seen = 0;
        for (;;) {
            workCame.wait(lock, [&] { return isEnding || (work && generation != seen); });
            if (isEnding)
                return;
            seen = generation;
            Work& mine = *work;
            ++inside;
            lock.unlock();
            mine.help();
            lock.lock();
            if (--inside == 0)
                helperLeft.notify_one();
        }
    }
};

PaintingThreads::PaintingThreads(int count, int leastPixels) : d(std::make_unique<Private>())
{
    d->leastPixels = leastPixels;
    assert(!currentThreads && "one at a time");
    currentThreads = this;
    for (int i = std::clamp(count, 1, kMost); i > 1; --i)
        d->helpers.emplace_back([this] { d->help(); });
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

void PaintingThreads::run(int parts, const std::function<void(int)>& part)
{
    Work work{part, parts};
    if (!d->helpers.empty() && parts > 1) {
        {
            const std::lock_guard lock(d->mutex);
            d->work = &work;
            ++d->generation;
        }
        d->workCame.notify_all();
    }
    work.help();
    std::unique_lock lock(d->mutex);
    // A helper that wakes up now finds nothing any more; those inside are on their last part.
    d->work = nullptr;
    d->helperLeft.wait(lock, [this] { return d->inside == 0; });
}
}
