#include "Bedrock/WorkerPool.hpp"

#include "Bedrock/Guarded.hpp"
#include "Bedrock/Inbox.hpp"
#include "Bedrock/Trace.hpp"

#include <algorithm>
#include <cassert>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace Bedrock
{
struct WorkerPool::Private
{
    explicit Private(int count) : most(std::size_t(std::max(count, 1))) {}

    const std::size_t most;
    std::mutex mutex;              ///< guards what follows
    std::condition_variable work;  ///< a task came, or the end
    std::condition_variable ended; ///< no task is running
    std::deque<Task> waiting;
    std::vector<std::thread> threads;
    std::size_t running = 0;
    bool isStopping = false;

    void run();
    void startThread();
    [[nodiscard]] bool isWorker() const;
};

void WorkerPool::Private::run()
{
    std::unique_lock<std::mutex> lock(mutex);
    for (;;) {
        work.wait(lock, [&] { return isStopping || !waiting.empty(); });
        if (isStopping)
            return;
        Task task = std::move(waiting.front());
        waiting.pop_front();
        ++running;
        lock.unlock();
        guarded("WorkerPool # A task failed and is dropped", task);
        task = nullptr; // what it holds may take the lock
        lock.lock();
        if (--running == 0)
            ended.notify_all();
    }
}

void WorkerPool::Private::startThread()
{
    try {
        threads.emplace_back([this] { run(); });
    } catch (const std::system_error&) {
        // Those that there are will come to it.
        if (threads.empty())
            throw;
    }
}

bool WorkerPool::Private::isWorker() const
{
    const auto isThis = [](const std::thread& thread) { return thread.get_id() == std::this_thread::get_id(); };
    return std::any_of(threads.begin(), threads.end(), isThis);
}

WorkerPool::WorkerPool(int threads) : d(std::make_unique<Private>(threads)) {}

WorkerPool::~WorkerPool()
{
    shutdown();
}

void WorkerPool::add(Task task)
{
    if (!task)
        return;
    {
        const std::lock_guard<std::mutex> guard(d->mutex);
        if (!d->isStopping) {
            const std::size_t freeThreads = d->threads.size() - d->running;
            if (d->waiting.size() >= freeThreads && d->threads.size() < d->most)
                d->startThread();
            d->waiting.push_back(std::move(task));
            task = nullptr;
        }
    }
    if (task)
        Trace::warning("WorkerPool::add # The pool has been shut down, a task is dropped");
    else
        d->work.notify_one();
}

void WorkerPool::run(char kind, std::function<std::function<void()>()> work)
{
    // Behind a pointer, because tasks can be copied.
    add([reply = std::make_shared<Reply>(Inbox::instance().begin(kind)), work = std::move(work)] {
        std::move(*reply).answer(work());
    });
}

void WorkerPool::dropWaiting()
{
    // Destroyed without the lock: the destructor of what a task holds may use this pool.
    std::deque<Task> dropped;
    const std::lock_guard<std::mutex> guard(d->mutex);
    dropped.swap(d->waiting);
    if (d->running == 0)
        d->ended.notify_all();
}

void WorkerPool::waitUntilIdle()
{
    std::unique_lock<std::mutex> lock(d->mutex);
    assert(!d->isWorker() && "a task cannot wait for itself");
    d->ended.wait(lock, [&] { return d->waiting.empty() && d->running == 0; });
}

void WorkerPool::shutdown()
{
    {
        const std::lock_guard<std::mutex> guard(d->mutex);
        assert(!d->isWorker() && "a task cannot wait for its own thread");
        d->isStopping = true;
    }
    d->work.notify_all();
    dropWaiting();
    std::vector<std::thread> threads;
    {
        std::unique_lock<std::mutex> lock(d->mutex);
        d->ended.wait(lock, [&] { return d->running == 0; });
        threads.swap(d->threads);
    }
    for (std::thread& thread : threads)
        thread.join();
}
}
