#include "shared/WaitingThread.hpp"

#include <LogCapture.hpp>

#include <doctest/doctest.h>

#include <atomic>
#include <future>
#include <stdexcept>
#include <string>

using MediaServer::WaitingThread;

namespace
{

/// A thread whose first task waits for the test.
struct Busy
{
    explicit Busy(int mostWaiting) : thread(mostWaiting)
    {
        REQUIRE(thread.add([this] {
            started.set_value();
            release.get_future().wait();
        }));
        started.get_future().wait();
    }

    std::promise<void> started;
    std::promise<void> release;
    std::string log; ///< of the thread, until it was closed
    WaitingThread thread;
};

}

TEST_CASE("waiting thread: tasks run in the order of the calls, and a request too many is refused")
{
    Busy busy(3);
    CHECK(busy.thread.add([&busy] { busy.log += "a"; }));
    busy.thread.post([&busy] { busy.log += "b"; });
    std::promise<void> last;
    CHECK(busy.thread.add([&] {
        busy.log += "c";
        last.set_value();
    }));
    CHECK_FALSE(busy.thread.add([&busy] { busy.log += "never"; }));
    busy.release.set_value();
    last.get_future().wait();
    busy.thread.close();
    CHECK(busy.log == "abc");
}

TEST_CASE("waiting thread: a request that has ended makes room, also one that throws")
{
    TestSupport::expectErrorStartingWith("WorkerPool # A task failed and is dropped");
    std::promise<void> ended;
    WaitingThread thread(1);
    REQUIRE(thread.add([] { throw std::runtime_error("no disk"); }));
    thread.post([&ended] { ended.set_value(); });
    ended.get_future().wait();
    CHECK(thread.add([] {}));
}

TEST_CASE("waiting thread: its end waits for what runs, drops the rest and refuses what comes later")
{
    std::atomic<bool> hasEnded{false};
    std::atomic<bool> hasRun{false};
    std::promise<void> started;
    WaitingThread thread(5);
    REQUIRE(thread.add([&] {
        started.set_value();
        hasEnded = true;
    }));
    started.get_future().wait();
    thread.close();
    CHECK(hasEnded);
    CHECK_FALSE(thread.add([&hasRun] { hasRun = true; }));
    thread.post([&hasRun] { hasRun = true; });
    thread.close();
    CHECK_FALSE(hasRun);
}
