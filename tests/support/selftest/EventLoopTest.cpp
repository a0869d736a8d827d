#include <EventLoop.hpp>

#include <QCoreApplication>
#include <QTimer>

#include <doctest/doctest.h>

#include <atomic>
#include <thread>

using TestSupport::pumpUntil;

TEST_CASE("event loop: pumps until an event brings the condition")
{
    bool hasCome = false;
    QTimer::singleShot(0, [&] { hasCome = true; });
    CHECK(pumpUntil([&] { return hasCome; }));
}

TEST_CASE("event loop: a condition that holds already needs no event")
{
    CHECK(pumpUntil([] { return true; }, 0));
}

TEST_CASE("event loop: gives up when the condition does not come in time")
{
    CHECK_FALSE(pumpUntil([] { return false; }, 20));
}

TEST_CASE("event loop: sees a condition that another thread fulfils without an event")
{
    std::atomic<bool> isDone{false};
    std::thread thread([&] { isDone = true; });
    CHECK(pumpUntil([&] { return isDone.load(); }));
    thread.join();
}
