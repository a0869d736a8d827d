#include <Bedrock/BGThread.hpp>

#include <Bedrock/AfterUpdateQueue.hpp>
#include <Bedrock/FunctionTask.hpp>
#include <Bedrock/Inbox.hpp>
#include <LogCapture.hpp>

#include <doctest/doctest.h>

#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using Bedrock::AfterUpdateQueue;
using Bedrock::BGThread;
using Bedrock::FunctionTask;
using Bedrock::Inbox;
using Bedrock::Task;

namespace
{
std::shared_ptr<Task> once(std::function<void()> function)
{
    return std::make_shared<FunctionTask>([f = std::move(function)](Task& task) {
        f();
        task.setFinished();
    });
}
}

TEST_CASE("background thread: tasks run in order, on one thread that is not the caller's")
{
    BGThread thread;
    std::vector<int> order;
    std::vector<std::thread::id> ids;
    for (int i = 0; i < 3; ++i) {
        thread.addTask(once([&, i] {
            order.push_back(i);
            ids.push_back(std::this_thread::get_id());
        }));
    }
    thread.waitUntilIdle();
    CHECK(order == std::vector<int>{0, 1, 2});
    REQUIRE(ids.size() == 3);
    CHECK(ids[0] != std::this_thread::get_id());
    CHECK(ids[0] == ids[1]);
    CHECK(ids[0] == ids[2]);
}

TEST_CASE("background thread: a task that has not finished runs again, after those that wait")
{
    BGThread thread;
    std::vector<char> order;
    // Holds the thread until both tasks are in the queue.
    std::promise<void> bothAdded;
    thread.addTask(once([added = bothAdded.get_future().share()] { added.wait(); }));
    int rounds = 0;
    thread.addTask(std::make_shared<FunctionTask>([&](Task& task) {
        order.push_back('a');
        if (++rounds == 3)
            task.setFinished();
    }));
    thread.addTask(once([&] { order.push_back('b'); }));
    bothAdded.set_value();
    thread.waitUntilIdle();
    CHECK(order == std::vector<char>{'a', 'b', 'a', 'a'});
}

TEST_CASE("background thread: what a task adds to the after-update queue is its answer, and enters in the input step")
{
    auto& inbox = Inbox::instance();
    auto& queue = AfterUpdateQueue::instance();
    std::string order;
    std::string taken;
    inbox.setTap([&](const Bedrock::Arrival& arrival) {
        taken += arrival.kind + std::to_string(arrival.job) + "." + std::to_string(arrival.part) + " ";
    });
    BGThread thread;
    for (const char* name : {"a", "b"})
        thread.addTask(once([&, name] {
            queue.add([&order, name] { order += name; });
            queue.add([&order] { order += "+"; });
        }));
    thread.addTask(once([] {}));
    int rounds = 0;
    thread.addTask(std::make_shared<FunctionTask>([&](Task& task) {
        queue.add([&order, round = rounds] { order += std::to_string(round); });
        if (++rounds == 2)
            task.setFinished();
    }));
    thread.waitUntilIdle();
    CHECK(queue.isEmpty());
    CHECK(inbox.openJobs() == 0);
    queue.add([&order] { order += "main "; });
    CHECK(inbox.deliver() == 6);
    CHECK(taken == "t1.0 t1.1 t2.0 t2.1 t4.0 t4.1 ");
    CHECK(queue.drain() == 7);
    CHECK(order == "main a+b+01");
    inbox.setTap(nullptr);
}

TEST_CASE("background thread: what a task added before it threw still enters")
{
    BGThread thread;
    int ran = 0;
    TestSupport::expectError("BGThread # A task failed and is dropped (no paper)");
    thread.addTask(std::make_shared<FunctionTask>([&](Task&) {
        AfterUpdateQueue::instance().add([&ran] { ++ran; });
        throw std::runtime_error("no paper");
    }));
    thread.waitUntilIdle();
    CHECK(Inbox::instance().deliver() == 1);
    CHECK(AfterUpdateQueue::instance().drain() == 1);
    CHECK(ran == 1);
}

TEST_CASE("background thread: a task that throws is logged and dropped, the others go on")
{
    BGThread thread;
    int attempts = 0;
    bool hasNextRun = false;
    TestSupport::expectError("BGThread # A task failed and is dropped (disk on fire)");
    TestSupport::expectError("BGThread # A task failed and is dropped (unknown exception)");
    thread.addTask(std::make_shared<FunctionTask>([&](Task&) {
        ++attempts;
        throw std::runtime_error("disk on fire");
    }));
    thread.addTask(std::make_shared<FunctionTask>([&](Task&) { throw 1; }));
    thread.addTask(once([&] { hasNextRun = true; }));
    thread.waitUntilIdle();
    CHECK(attempts == 1);
    CHECK(hasNextRun);
}

TEST_CASE("background thread: a task finished before its turn does not run")
{
    BGThread thread;
    std::promise<void> isCancelled;
    thread.addTask(once([cancelled = isCancelled.get_future().share()] { cancelled.wait(); }));
    bool hasRun = false;
    auto task = once([&] { hasRun = true; });
    thread.addTask(task);
    task->setFinished();
    isCancelled.set_value();
    thread.waitUntilIdle();
    CHECK_FALSE(hasRun);
}

TEST_CASE("background thread: a task may add a task")
{
    BGThread thread;
    bool hasRun = false;
    thread.addTask(once([&] { thread.addTask(once([&] { hasRun = true; })); }));
    thread.waitUntilIdle();
    CHECK(hasRun);
}

TEST_CASE("background thread: a finished task is let go")
{
    BGThread thread;
    auto held = std::make_shared<int>(1);
    thread.addTask(once([held] {}));
    thread.waitUntilIdle();
    CHECK(held.use_count() == 1);
}

TEST_CASE("background thread: shutdown waits for the running task and drops the waiting ones")
{
    auto thread = BGThread::instance();
    std::promise<void> started;
    std::promise<void> mayEnd;
    bool hasEnded = false;
    bool hasWaitingRun = false;
    thread->addTask(once([&, may = mayEnd.get_future().share()] {
        started.set_value();
        may.wait();
        hasEnded = true;
    }));
    // The running task may end when the waiting one has been dropped.
    std::shared_ptr<void> held(nullptr, [&](void*) { mayEnd.set_value(); });
    thread->addTask(once([&hasWaitingRun, held] { hasWaitingRun = true; }));
    held.reset();
    started.get_future().wait();
    BGThread::shutdown();
    CHECK(hasEnded);
    CHECK_FALSE(hasWaitingRun);

    SUBCASE("a task that comes too late is dropped with a warning")
    {
        TestSupport::expectWarning("BGThread::addTask # The thread has been shut down, a task is dropped");
        thread->addTask(once([] { FAIL("ran after the shutdown"); }));
        thread->waitUntilIdle();
    }
    SUBCASE("the next instance is a new one and works")
    {
        auto next = BGThread::instance();
        CHECK(next != thread);
        bool hasRun = false;
        next->addTask(once([&] { hasRun = true; }));
        next->waitUntilIdle();
        CHECK(hasRun);
        BGThread::shutdown();
    }
    SUBCASE("a second shutdown does nothing")
    {
        BGThread::shutdown();
    }
}

TEST_CASE("background thread: a task may let go of the last reference to its thread")
{
    auto thread = std::make_shared<BGThread>();
    std::promise<void> isLetGo;
    std::promise<void> isOver;
    auto* raw = thread.get();
    raw->addTask(once([&, held = thread, letGo = isLetGo.get_future().share()]() mutable {
        letGo.wait();
        held.reset();
        isOver.set_value();
    }));
    thread.reset();
    isLetGo.set_value();
    isOver.get_future().wait();
}
