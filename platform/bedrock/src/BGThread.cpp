#include "Bedrock/BGThread.hpp"

#include "Bedrock/AfterUpdateQueue.hpp"
#include "Bedrock/Guarded.hpp"
#include "Bedrock/Inbox.hpp"
#include "Bedrock/Task.hpp"
#include "Bedrock/Trace.hpp"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

namespace Bedrock
{
namespace
{
struct Entry
{
    std::shared_ptr<Task> task;
    Reply reply; ///< what the task adds to the after-update queue
};

/// Shared with the thread, which may outlive the BGThread when its last task lets go of it.
struct State
{
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<Entry> tasks;
    bool isRunningTask = false;
    bool isStopping = false;
};

void runOnce(Task& task, Reply& reply)
{
    if (task.isFinished())
        return;
    const AfterUpdateQueue::ThroughReply through(reply);
    if (!guarded("BGThread # A task failed and is dropped", [&task] { task.doTask(); }))
        task.setFinished();
}

void runTasks(const std::shared_ptr<State>& state)
{
    std::unique_lock<std::mutex> lock(state->mutex);
    for (;;) {
        state->changed.wait(lock, [&] { return state->isStopping || !state->tasks.empty(); });
        if (state->isStopping)
            return;
        Entry entry = std::move(state->tasks.front());
        state->tasks.pop_front();
        std::shared_ptr<Task>& task = entry.task;
        state->isRunningTask = true;
        lock.unlock();
        runOnce(*task, entry.reply);
        if (task->isFinished())
            entry = {};
        lock.lock();
        if (task && !state->isStopping)
            state->tasks.push_back(std::move(entry));
        state->isRunningTask = false;
        state->changed.notify_all();
        if (task) {
            lock.unlock();
            task.reset();
            lock.lock();
        }
    }
}

struct Holder
{
    std::mutex mutex;
    std::shared_ptr<BGThread> thread;
};

Holder& holder()
{
    // Destroyed at process exit, which ends the thread before the libraries that its tasks live in are torn down.
    static Holder instance;
    return instance;
}
}

struct BGThread::Private
{
    std::shared_ptr<State> state = std::make_shared<State>();
    std::mutex threadMutex;
    std::thread thread;

    void stop()
    {
        std::deque<Entry> dropped;
        {
            const std::lock_guard<std::mutex> guard(state->mutex);
            state->isStopping = true;
            dropped.swap(state->tasks);
        }
        state->changed.notify_all();
        dropped.clear();
        const std::lock_guard<std::mutex> guard(threadMutex);
        if (!thread.joinable())
            return;
        if (thread.get_id() == std::this_thread::get_id())
            thread.detach(); // A task ends its own thread: it returns into the loop, which sees that it is over.
        else
            thread.join();
    }
};

std::shared_ptr<BGThread> BGThread::instance()
{
    Holder& h = holder();
    const std::lock_guard<std::mutex> guard(h.mutex);
    if (!h.thread)
        h.thread = std::make_shared<BGThread>();
    return h.thread;
}

void BGThread::shutdown()
{
    std::shared_ptr<BGThread> thread;
    {
        Holder& h = holder();
        const std::lock_guard<std::mutex> guard(h.mutex);
        thread = std::move(h.thread);
    }
    if (thread)
        thread->d->stop();
}

BGThread::BGThread() : d(std::make_unique<Private>()) {}

BGThread::~BGThread()
{
    d->stop();
}

void BGThread::addTask(std::shared_ptr<Task> task)
{
    if (!task)
        return;
    bool isStopping = false;
    {
        const std::lock_guard<std::mutex> guard(d->threadMutex);
        const std::lock_guard<std::mutex> stateGuard(d->state->mutex);
        isStopping = d->state->isStopping;
        if (!isStopping) {
            d->state->tasks.push_back({std::move(task), Inbox::instance().begin('t')});
            if (!d->thread.joinable())
                d->thread = std::thread([state = d->state] { runTasks(state); });
        }
    }
    if (isStopping)
        Trace::warning("BGThread::addTask # The thread has been shut down, a task is dropped");
    else
        d->state->changed.notify_all();
}

void BGThread::waitUntilIdle()
{
    std::unique_lock<std::mutex> lock(d->state->mutex);
    d->state->changed.wait(lock, [&] { return d->state->tasks.empty() && !d->state->isRunningTask; });
}
}
