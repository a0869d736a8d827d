#include <Lantern/PaintingThreads.hpp>

#include <Patience.hpp>

#include <doctest/doctest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

using Lantern::PaintingThreads;

namespace
{
/// False after TestSupport::kPatience.
template <class Condition>
bool comesTrue(Condition condition)
{
    const auto end = std::chrono::steady_clock::now() + TestSupport::kPatience;
    while (!condition() && std::chrono::steady_clock::now() < end)
        std::this_thread::yield();
    return condition();
}
}

TEST_CASE("painting threads: each part is done once, and all are when the call returns")
{
    for (const int count : {1, 2, 4}) {
        PaintingThreads threads(count);
        CHECK(threads.count() == count);
        for (int parts = 0; parts < 200; ++parts) {
            std::vector<std::atomic<int>> done(200);
            threads.run(parts, [&](int part) { ++done[std::size_t(part)]; });
            for (int i = 0; i < 200; ++i)
                REQUIRE(done[std::size_t(i)] == (i < parts ? 1 : 0));
        }
    }
}

TEST_CASE("painting threads: parts are done at the same time")
{
    PaintingThreads threads(2);
    std::mutex mutex;
    std::condition_variable changed;
    int begun = 0;
    bool haveMet[2] = {false, false};
    threads.run(2, [&](int part) {
        std::unique_lock lock(mutex);
        ++begun;
        changed.notify_all();
        haveMet[part] = changed.wait_for(lock, TestSupport::kPatience, [&] { return begun == 2; });
    });
    CHECK(haveMet[0]);
    CHECK(haveMet[1]);
}

TEST_CASE("painting threads: each begins with parts of its own that are neighbours")
{
    PaintingThreads threads(2);
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<std::thread::id> begun;
    const std::thread::id mainThread = std::this_thread::get_id();
    int first = -1, firstOfHelper = -1;
    threads.run(10, [&](int part) {
        std::unique_lock lock(mutex);
        if (std::find(begun.begin(), begun.end(), std::this_thread::get_id()) != begun.end())
            return;
        begun.push_back(std::this_thread::get_id());
        (begun.back() == mainThread ? first : firstOfHelper) = part;
        changed.notify_all();
        changed.wait_for(lock, TestSupport::kPatience, [&] { return begun.size() == 2; });
    });
    CHECK(first == 0);
    CHECK(firstOfHelper == 5);
}

TEST_CASE("painting threads: their number is kept in range, and there is one object at a time")
{
    CHECK_FALSE(PaintingThreads::current());
    CHECK(PaintingThreads::usualCount() >= 1);
    CHECK(PaintingThreads::usualCount() <= 4);
    {
        const PaintingThreads threads(0);
        CHECK(PaintingThreads::current() == &threads);
        CHECK(threads.count() == 1);
    }
    CHECK_FALSE(PaintingThreads::current());
    CHECK(PaintingThreads(99).count() == PaintingThreads::kMost);
}

TEST_CASE("painting threads: prepared or not, and whether work follows or not, each part is done once")
{
    PaintingThreads threads(3);
    for (int frame = 0; frame < 300; ++frame) {
        threads.prepare();
        if (frame % 3 == 0)
            threads.prepare();
        if (frame % 7 == 0)
            continue;
        std::vector<std::atomic<int>> done(20);
        threads.run(20, [&](int part) { ++done[std::size_t(part)]; });
        for (const auto& count : done)
            REQUIRE(count == 1);
    }
    threads.prepare(); // whose threads end while they wait
}

TEST_CASE("painting threads: those that were prepared for work that does not come still do what comes later")
{
    PaintingThreads threads(2);
    threads.run(2, [](int) {});
    threads.prepare();
    std::mutex mutex;
    std::condition_variable changed;
    for (int round = 0; round < 3; ++round) {
        int begun = 0, met = 0;
        threads.run(2, [&](int) {
            std::unique_lock lock(mutex);
            ++begun;
            changed.notify_all();
            met += changed.wait_for(lock, TestSupport::kPatience, [&] { return begun == 2; });
        });
        CHECK(met == 2);
        threads.prepare();
        threads.prepare();
    }
}

TEST_CASE("painting threads: all take part in calls that follow each other closely, and end while they stay awake")
{
    for (int round = 0; round < 3; ++round) {
        PaintingThreads threads(3);
        for (int call = 0; call < 15; ++call) {
            std::mutex mutex;
            std::condition_variable changed;
            int begun = 0, met = 0;
            threads.run(3, [&](int) {
                std::unique_lock lock(mutex);
                ++begun;
                changed.notify_all();
                met += changed.wait_for(lock, TestSupport::kPatience, [&] { return begun == 3; });
            });
            REQUIRE(met == 3);
        }
    }
}

TEST_CASE("painting threads: those that wake up by themselves for the next frame do each part once, and end meanwhile")
{
    for (int round = 0; round < 5; ++round) {
        PaintingThreads threads(3);
        unsigned busy = 1;
        for (int frame = 0; frame < 10; ++frame) {
            threads.prepare();
            std::vector<std::atomic<int>> done(8);
            threads.run(8, [&](int part) { ++done[std::size_t(part)]; });
            for (const auto& count : done)
                REQUIRE(count == 1);
            // About a millisecond of something else.
            for (int i = 0; i < 300'000; ++i)
                busy = busy * 1664525u + 1013904223u;
        }
        CHECK(busy != 0);
    }
}

TEST_CASE("painting threads: one that sleeps is woken up by work, and by the end")
{
    std::atomic<int> begun{0}, met{0};
    PaintingThreads threads(2);
    REQUIRE(comesTrue([&] { return threads.activity().asleep == 1; }));
    const long before = threads.activity().wakeUps;
    threads.run(2, [&](int) {
        ++begun;
        met += comesTrue([&] { return begun == 2; });
    });
    CHECK(met == 2);
    CHECK(threads.activity().wakeUps == before + 1);
    CHECK(comesTrue([&] { return threads.activity().asleep == 1; }));
}

TEST_CASE(
    "painting threads: those that sleep are woken up when a frame is prepared after one with work, and not after one without")
{
    PaintingThreads threads(3);
    REQUIRE(comesTrue([&] { return threads.activity().asleep == 2; }));
    const long before = threads.activity().wakeUps;
    threads.prepare();
    CHECK(threads.activity().wakeUps == before);
    threads.run(1, [](int) {}); // which wakes none up
    CHECK(threads.activity().wakeUps == before);
    threads.prepare();
    CHECK(comesTrue([&] { return threads.activity().wakeUps >= before + 2; }));
    CHECK(comesTrue([&] { return threads.activity().asleep == 2; }));
}

TEST_CASE("painting threads: they stay awake after a work only where frames with work follow each other")
{
    PaintingThreads threads(2);
    const auto workTogether = [&threads] {
        std::atomic<int> begun{0};
        threads.run(2, [&](int) {
            ++begun;
            comesTrue([&] { return begun == 2; });
        });
    };
    const auto waitsAfterWork = [&] {
        REQUIRE(comesTrue([&] { return threads.activity().asleep == 1; }));
        const long before = threads.activity().activeWaits;
        workTogether();
        REQUIRE(comesTrue([&] { return threads.activity().asleep == 1; }));
        return threads.activity().activeWaits - before;
    };
    CHECK(waitsAfterWork() == 0);
    CHECK(waitsAfterWork() == 0);
    threads.prepare(); // wakes the other thread up
    CHECK(waitsAfterWork() > 0);
    threads.prepare(); // again; then comes a frame without work
    threads.prepare();
    CHECK(waitsAfterWork() == 0);
}

TEST_CASE("painting threads: a call does not return before the last part, however long that takes")
{
    std::atomic<int> begun{0};
    std::atomic<bool> hasReturned{false}, isDone{false}, wasWaitedFor{false};
    const std::thread::id mainThread = std::this_thread::get_id();
    PaintingThreads threads(2);
    threads.run(2, [&](int) {
        ++begun;
        comesTrue([&] { return begun == 2; });
        if (std::this_thread::get_id() == mainThread)
            return;
        // The main thread is the only one that can sleep now.
        comesTrue([&] { return threads.activity().asleep == 1 || hasReturned; });
        wasWaitedFor = !hasReturned;
        isDone = true;
    });
    hasReturned = true;
    CHECK(isDone);
    CHECK(wasWaitedFor);
}
