#include <Bedrock/WorkerPool.hpp>

#include <Bedrock/Inbox.hpp>
#include <LogCapture.hpp>

#include <doctest/doctest.h>

#include <atomic>
#include <future>
#include <memory>
#include <set>
#include <stdexcept>
#include <thread>
#include <vector>

using Bedrock::WorkerPool;

namespace
{
/// Holds a thread of a pool until it is opened.
class Gate
{
public:
    [[nodiscard]] WorkerPool::Task task()
    {
        return [this] {
            m_entered.set_value();
            m_opened.get_future().wait();
        };
    }
    void waitUntilEntered() { m_entered.get_future().wait(); }
    void open() { m_opened.set_value(); }

private:
    std::promise<void> m_entered;
    std::promise<void> m_opened;
};

/// Sets a flag when its last copy goes.
std::shared_ptr<void> tellWhenGone(std::atomic<bool>& gone)
{
    return std::shared_ptr<void>(nullptr, [&gone](void*) { gone = true; });
}
}

TEST_CASE("worker pool: one thread runs the tasks in the order they were added, away from the caller")
{
    WorkerPool pool(1);
    std::vector<int> order;
    std::set<std::thread::id> threads;
    for (int i = 0; i < 100; ++i)
        pool.add([&, i] {
            order.push_back(i);
            threads.insert(std::this_thread::get_id());
        });
    pool.waitUntilIdle();
    REQUIRE(order.size() == 100);
    for (int i = 0; i < 100; ++i)
        CHECK(order[std::size_t(i)] == i);
    CHECK(threads.size() == 1);
    CHECK(threads.count(std::this_thread::get_id()) == 0);
}

TEST_CASE("worker pool: as many tasks run at once as there are threads, and no more")
{
    WorkerPool pool(2);
    Gate first;
    Gate second;
    std::atomic<bool> thirdRan{false};
    pool.add(first.task());
    pool.add(second.task());
    pool.add([&] { thirdRan = true; });
    // Both have begun and neither has ended.
    first.waitUntilEntered();
    second.waitUntilEntered();
    CHECK_FALSE(thirdRan);
    first.open();
    second.open();
    pool.waitUntilIdle();
    CHECK(thirdRan);
}

TEST_CASE("worker pool: a free thread takes the next task, and no other is started")
{
    WorkerPool pool(4);
    std::set<std::thread::id> threads;
    for (int i = 0; i < 20; ++i) {
        pool.add([&] { threads.insert(std::this_thread::get_id()); });
        pool.waitUntilIdle();
    }
    CHECK(threads.size() == 1);
}

TEST_CASE("worker pool: fewer than one thread is one")
{
    WorkerPool pool(0);
    std::atomic<bool> ran{false};
    pool.add([&] { ran = true; });
    pool.waitUntilIdle();
    CHECK(ran);
}

TEST_CASE("worker pool: a task that throws is logged and dropped, the others go on")
{
    TestSupport::expectError("WorkerPool # A task failed and is dropped (no disk)");
    TestSupport::expectError("WorkerPool # A task failed and is dropped (unknown exception)");
    WorkerPool pool(1);
    int ran = 0;
    pool.add([] { throw std::runtime_error("no disk"); });
    pool.add([&] { ++ran; });
    pool.add([] { throw 1; });
    pool.add([&] { ++ran; });
    pool.waitUntilIdle();
    CHECK(ran == 2);
}

TEST_CASE("worker pool: a task may add another, which idle waits for")
{
    WorkerPool pool(1);
    std::vector<int> order;
    pool.add([&] {
        pool.add([&] {
            order.push_back(2);
            pool.add([&] { order.push_back(3); });
        });
        order.push_back(1);
    });
    pool.waitUntilIdle();
    CHECK(order == std::vector<int>{1, 2, 3});
}

TEST_CASE("worker pool: what a task holds is let go before the pool is idle, and may use the pool")
{
    WorkerPool pool(1);
    bool later = false;
    std::thread::id letGoOn;
    std::shared_ptr<void> held(nullptr, [&](void*) {
        letGoOn = std::this_thread::get_id();
        pool.add([&] { later = true; });
    });
    Gate gate;
    pool.add(gate.task());
    pool.add([held] {});
    held.reset();
    gate.open();
    pool.waitUntilIdle();
    CHECK(later);
    CHECK(letGoOn != std::thread::id());
    CHECK(letGoOn != std::this_thread::get_id());
}

TEST_CASE("worker pool: waiting tasks can be forgotten, and the pool goes on")
{
    WorkerPool pool(1);
    Gate gate;
    bool forgottenRan = false;
    bool laterRan = false;
    std::atomic<bool> gone{false};
    pool.add(gate.task());
    gate.waitUntilEntered();
    pool.add([&, held = tellWhenGone(gone)] { forgottenRan = true; });
    pool.dropWaiting();
    CHECK(gone);
    gate.open();
    pool.add([&] { laterRan = true; });
    pool.waitUntilIdle();
    CHECK_FALSE(forgottenRan);
    CHECK(laterRan);
}

TEST_CASE("worker pool: its end drops the waiting tasks and waits for the running one")
{
    std::promise<void> begun;
    bool ended = false;
    bool waitingRan = false;
    std::atomic<bool> gone{false};
    {
        WorkerPool pool(1);
        // Ends only when the waiting task has been dropped, that is, when the pool's end is under way.
        pool.add([&] {
            begun.set_value();
            while (!gone)
                std::this_thread::yield();
            ended = true;
        });
        begun.get_future().wait();
        pool.add([&, held = tellWhenGone(gone)] { waitingRan = true; });
    }
    CHECK(ended);
    CHECK_FALSE(waitingRan);
}

TEST_CASE("worker pool: a task that comes after the end is dropped with a warning")
{
    TestSupport::expectWarning("WorkerPool::add # The pool has been shut down, a task is dropped");
    WorkerPool pool(2);
    bool ran = false;
    pool.add([] {});
    pool.shutdown();
    pool.add([&] { ran = true; });
    pool.waitUntilIdle();
    pool.shutdown();
    CHECK_FALSE(ran);
}

TEST_CASE("worker pool: a pool that was never used ends at once")
{
    WorkerPool pool(3);
    pool.waitUntilIdle();
    pool.dropWaiting();
    pool.shutdown();
}

TEST_CASE("worker pool: several threads may add at the same time")
{
    WorkerPool pool(3);
    std::atomic<int> ran{0};
    std::vector<std::thread> callers;
    for (int caller = 0; caller < 4; ++caller)
        callers.emplace_back([&] {
            for (int i = 0; i < 250; ++i)
                pool.add([&] { ++ran; });
        });
    for (std::thread& caller : callers)
        caller.join();
    pool.waitUntilIdle();
    CHECK(ran == 1000);
}

TEST_CASE("worker pool: what the work of a job returns runs on the main thread, when a frame takes its input")
{
    auto& inbox = Bedrock::Inbox::instance();
    WorkerPool pool(1);
    std::thread::id worked;
    std::thread::id delivered;
    pool.run('i', [&]() -> std::function<void()> {
        worked = std::this_thread::get_id();
        return [&] { delivered = std::this_thread::get_id(); };
    });
    pool.waitUntilIdle();
    CHECK(delivered == std::thread::id());
    CHECK(inbox.deliver() == 1);
    CHECK(worked != std::this_thread::get_id());
    CHECK(delivered == std::this_thread::get_id());
}

TEST_CASE("worker pool: a job ends also when its work has no result, throws or is dropped")
{
    auto& inbox = Bedrock::Inbox::instance();
    WorkerPool pool(1);
    Gate gate;
    TestSupport::expectError("WorkerPool # A task failed and is dropped (no paper)");
    pool.run('i', [] { return std::function<void()>(); });
    pool.run('i', []() -> std::function<void()> { throw std::runtime_error("no paper"); });
    pool.add(gate.task());
    gate.waitUntilEntered();
    CHECK(inbox.openJobs() == 0);
    pool.run('i', []() -> std::function<void()> { return [] { FAIL("it was dropped"); }; });
    CHECK(inbox.openJobs() == 1);
    pool.dropWaiting();
    CHECK(inbox.openJobs() == 0);
    gate.open();
    pool.shutdown();
    TestSupport::expectWarning("WorkerPool::add # The pool has been shut down, a task is dropped");
    pool.run('i', []() -> std::function<void()> { return [] { FAIL("it was dropped"); }; });
    CHECK(inbox.openJobs() == 0);
    CHECK(inbox.deliver() == 0);
}
