#include <Bedrock/AfterUpdateQueue.hpp>

#include <Bedrock/Inbox.hpp>
#include <LogCapture.hpp>

#include <doctest/doctest.h>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using Bedrock::AfterUpdateQueue;
using Bedrock::Inbox;

TEST_CASE("after-update queue: functions run in order of arrival, at the drain and not before")
{
    AfterUpdateQueue queue;
    std::vector<int> order;
    for (int i = 0; i < 5; ++i)
        queue.add([&order, i] { order.push_back(i); });
    CHECK(order.empty());
    CHECK(queue.drain() == 5);
    CHECK(order == std::vector<int>{0, 1, 2, 3, 4});
    CHECK(queue.isEmpty());
    CHECK(queue.drain() == 0);
}

TEST_CASE("after-update queue: what a queued function queues waits for the next drain")
{
    AfterUpdateQueue queue;
    std::vector<int> order;
    queue.add([&] {
        order.push_back(1);
        queue.add([&] { order.push_back(3); });
    });
    queue.add([&] { order.push_back(2); });
    CHECK(queue.drain() == 2);
    CHECK(order == std::vector<int>{1, 2});
    CHECK_FALSE(queue.isEmpty());
    CHECK(queue.drain() == 1);
    CHECK(order == std::vector<int>{1, 2, 3});
}

TEST_CASE("after-update queue: a function that throws is logged and the others still run")
{
    AfterUpdateQueue queue;
    int ran = 0;
    queue.add([] { throw std::runtime_error("no more paper"); });
    queue.add([&] { ++ran; });
    queue.add([] { throw 7; });
    queue.add([&] { ++ran; });
    TestSupport::expectError("AfterUpdateQueue::drain # A function failed, the others go on (no more paper)");
    TestSupport::expectError("AfterUpdateQueue::drain # A function failed, the others go on (unknown exception)");
    CHECK(queue.drain() == 4);
    CHECK(ran == 2);
}

TEST_CASE("after-update queue: a function may drain the queue, which runs what still waits")
{
    AfterUpdateQueue queue;
    std::vector<int> order;
    queue.add([&] {
        order.push_back(1);
        CHECK(queue.drain() == 1);
        order.push_back(3);
    });
    queue.add([&] { order.push_back(2); });
    CHECK(queue.drain() == 1);
    CHECK(order == std::vector<int>{1, 2, 3});
}

TEST_CASE("after-update queue: clear drops what waits, also from inside a function")
{
    AfterUpdateQueue queue;
    auto held = std::make_shared<int>(1);
    int ran = 0;
    queue.add([&] {
        queue.clear();
        queue.add([&] { ran += 10; });
    });
    queue.add([&ran, held] { ++ran; });
    CHECK(queue.drain() == 1);
    CHECK(ran == 0);
    CHECK(held.use_count() == 1);
    CHECK(queue.drain() == 1);
    CHECK(ran == 10);
}

TEST_CASE("after-update queue: a function may queue from the destructor of what it holds")
{
    AfterUpdateQueue queue;
    int ran = 0;
    auto held = std::shared_ptr<int>(new int(0), [&](int* p) {
        delete p;
        queue.add([&] { ++ran; });
    });
    queue.add([held = std::move(held)] {});
    CHECK(queue.drain() == 1);
    CHECK(ran == 0);
    CHECK(queue.drain() == 1);
    CHECK(ran == 1);
}

TEST_CASE("after-update queue: an empty function is not queued")
{
    AfterUpdateQueue queue;
    queue.add(nullptr);
    CHECK(queue.isEmpty());
}

TEST_CASE("after-update queue: what another thread adds enters in the input step, after what the main thread has added")
{
    AfterUpdateQueue queue;
    std::vector<int> order;
    std::thread([&] {
        queue.add([&] { order.push_back(2); });
        queue.add([&] { order.push_back(3); });
    }).join();
    queue.add([&] { order.push_back(1); });
    CHECK(queue.drain() == 1);
    CHECK(Inbox::instance().deliver() == 2);
    CHECK(order == std::vector<int>{1});
    CHECK(queue.drain() == 2);
    CHECK(order == std::vector<int>{1, 2, 3});
}

TEST_CASE("after-update queue: what a thread adds for a job enters as results of that job, in order")
{
    AfterUpdateQueue queue;
    Inbox& inbox = Inbox::instance();
    std::vector<int> order;
    std::string taken;
    inbox.setTap([&](const Bedrock::Arrival& arrival) {
        taken += arrival.kind + std::to_string(arrival.job) + "." + std::to_string(arrival.part) + " ";
    });
    Bedrock::Reply outer = inbox.begin('a');
    Bedrock::Reply inner = inbox.begin('b');
    std::thread([&] {
        const AfterUpdateQueue::ThroughReply throughOuter(outer);
        queue.add([&] { order.push_back(1); });
        {
            const AfterUpdateQueue::ThroughReply throughInner(inner);
            queue.add([&] { order.push_back(2); });
        }
        queue.add([&] { order.push_back(3); });
    }).join();
    CHECK(inbox.deliver() == 3);
    CHECK(taken == "a1.0 b2.0 a1.1 ");
    CHECK(queue.drain() == 3);
    CHECK(order == std::vector<int>{1, 2, 3});
    inbox.setTap(nullptr);
}

TEST_CASE("after-update queue: functions of several threads all run, each thread's in its own order")
{
    AfterUpdateQueue queue;
    constexpr int kThreads = 4;
    constexpr int kEach = 500;
    std::vector<std::vector<int>> seen(kThreads);
    std::atomic<int> done{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < kEach; ++i)
                queue.add([&seen, t, i] { seen[t].push_back(i); });
            ++done;
        });
    }
    int ran = 0;
    while (done < kThreads) {
        (void)Inbox::instance().deliver();
        ran += queue.drain();
    }
    for (std::thread& thread : threads)
        thread.join();
    (void)Inbox::instance().deliver();
    ran += queue.drain();
    CHECK(ran == kThreads * kEach);
    for (const std::vector<int>& numbers : seen) {
        REQUIRE(numbers.size() == kEach);
        for (int i = 0; i < kEach; ++i)
            REQUIRE(numbers[i] == i);
    }
}

TEST_CASE("after-update queue: the instance is one for the whole process")
{
    AfterUpdateQueue* other = nullptr;
    std::thread([&] { other = &AfterUpdateQueue::instance(); }).join();
    CHECK(other == &AfterUpdateQueue::instance());
}
