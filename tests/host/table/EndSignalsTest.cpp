#include "table/EndSignals.hpp"

#include "SignalGuard.hpp"

#include <EventLoop.hpp>

#include <doctest/doctest.h>

#include <QCoreApplication>

#include <cerrno>

using namespace Host;

namespace
{
constexpr int kSignals[] = {SIGINT, SIGTERM};
}

TEST_CASE("end signals: each of them is reported in the event loop, not inside the handler")
{
    for (const int signal : kSignals) {
        CAPTURE(signal);
        const SignalGuard guard;
        int told = 0;
        const EndSignals signals([&told] { ++told; });
        REQUIRE(signals.isListening());
        REQUIRE(::raise(signal) == 0);
        CHECK(told == 0);
        CHECK(TestSupport::pumpUntil([&told] { return told > 0; }));
        CHECK(told == 1);
        CHECK(guard.caught() == 0);
    }
}

TEST_CASE("end signals: they are reported once, however many come, and none of them blocks")
{
    const SignalGuard guard;
    int told = 0;
    const EndSignals signals([&told] { ++told; });
    constexpr int kMoreThanAPipeHolds = 70000;
    for (int i = 0; i < kMoreThanAPipeHolds; ++i)
        ::raise(kSignals[i % 2]);
    CHECK(TestSupport::pumpUntil([&told] { return told > 0; }));
    ::raise(SIGTERM);
    QCoreApplication::processEvents();
    CHECK(told == 1);
    CHECK(guard.caught() == 0);
}

TEST_CASE("end signals: one that is noted does not change what went wrong before")
{
    const SignalGuard guard;
    const EndSignals signals([] {});
    for (int i = 0; i < 70000; ++i)
        ::raise(SIGINT); // the pipe is full
    errno = ENOENT;
    ::raise(SIGINT);
    CHECK(errno == ENOENT);
}

TEST_CASE("end signals: afterwards the signals do what they did, and the next one listens as well")
{
    const SignalGuard guard;
    int told = 0;
    for (int round = 1; round <= 3; ++round) {
        {
            const EndSignals signals([&told] { ++told; });
            ::raise(SIGTERM);
            CHECK(TestSupport::pumpUntil([&] { return told == round; }));
        }
        for (const int signal : kSignals)
            ::raise(signal);
        CHECK(guard.caught() == 2 * round);
        CHECK(told == round);
    }
}

TEST_CASE("end signals: one that came and was not reported yet is dropped with it")
{
    const SignalGuard guard;
    int told = 0;
    {
        const EndSignals signals([&told] { ++told; });
        ::raise(SIGTERM);
    }
    QCoreApplication::processEvents();
    CHECK(told == 0);
}
