#include <Cadence/TaskScheduler.hpp>

#include <Bedrock/AfterUpdateQueue.hpp>
#include <Bedrock/Inbox.hpp>

#include <LogCapture.hpp>

#include <folly/futures/Future.h>

#include <doctest/doctest.h>

#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

using Bedrock::AfterUpdateQueue;
using Cadence::TaskScheduler;

TEST_CASE("task scheduler: there is one")
{
    CHECK(TaskScheduler::instance() == TaskScheduler::instance());
    CHECK(TaskScheduler::instance()->afterUpdate() == TaskScheduler::instance()->afterUpdate());
}

TEST_CASE("after-update executor: a continuation of a completed future still waits for the drain")
{
    int got = 0;
    auto future = folly::makeFuture(5).via(TaskScheduler::instance()->afterUpdate()).thenValue([&](int value) { got = value; });
    CHECK(got == 0);
    CHECK(AfterUpdateQueue::instance().drain() == 1);
    CHECK(got == 5);
    CHECK(future.isReady());
}

TEST_CASE("after-update executor: shares one order with what else waits for the after-update moment")
{
    std::vector<int> order;
    folly::Executor* executor = TaskScheduler::instance()->afterUpdate();
    executor->add([&] { order.push_back(1); });
    AfterUpdateQueue::instance().add([&] { order.push_back(2); });
    executor->add([&] {
        order.push_back(3);
        executor->add([&] { order.push_back(4); });
    });
    CHECK(AfterUpdateQueue::instance().drain() == 3);
    CHECK(order == std::vector<int>{1, 2, 3});
    CHECK(AfterUpdateQueue::instance().drain() == 1);
    CHECK(order == std::vector<int>{1, 2, 3, 4});
}

TEST_CASE("after-update executor: an answer of another thread enters in the input step, and is handled after the update")
{
    folly::Promise<int> promise;
    std::thread::id where;
    auto future = promise.getFuture().via(TaskScheduler::instance()->afterUpdate()).thenValue([&](int value) {
        where = std::this_thread::get_id();
        return value + 1;
    });
    std::thread([&] { promise.setValue(1); }).join();
    CHECK_FALSE(future.isReady());
    CHECK(AfterUpdateQueue::instance().drain() == 0);
    CHECK(Bedrock::Inbox::instance().deliver() == 1);
    CHECK_FALSE(future.isReady());
    CHECK(AfterUpdateQueue::instance().drain() == 1);
    CHECK(where == std::this_thread::get_id());
    CHECK(std::move(future).get() == 2);
}

TEST_CASE("after-update executor: each step of a chain takes a frame of its own")
{
    folly::Executor* executor = TaskScheduler::instance()->afterUpdate();
    int steps = 0;
    auto future =
        folly::makeFuture().via(executor).thenValue([&](folly::Unit) { ++steps; }).thenValue([&](folly::Unit) { ++steps; });
    AfterUpdateQueue::instance().drain();
    CHECK(steps == 1);
    AfterUpdateQueue::instance().drain();
    CHECK(steps == 2);
    CHECK(future.isReady());
}

TEST_CASE("after-update executor: a continuation that is dropped breaks its promise")
{
    auto future = folly::makeFuture(1).via(TaskScheduler::instance()->afterUpdate()).thenValue([](int value) { return value; });
    AfterUpdateQueue::instance().clear();
    REQUIRE(future.isReady());
    CHECK(future.result().tryGetExceptionObject<folly::BrokenPromise>() != nullptr);
}

TEST_CASE("after-update executor: a function that throws is logged, the next one runs")
{
    folly::Executor* executor = TaskScheduler::instance()->afterUpdate();
    bool hasRun = false;
    executor->add([] { throw std::runtime_error("lost"); });
    executor->add([&] { hasRun = true; });
    TestSupport::expectError("AfterUpdateQueue::drain # A function failed, the others go on (lost)");
    CHECK(AfterUpdateQueue::instance().drain() == 2);
    CHECK(hasRun);
}
