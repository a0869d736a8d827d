#include <doctest/doctest.h>

#include "tree/FrameGuard.hpp"

#include "LogCapture.hpp"

#include <stdexcept>

using TestSupport::expectError;
using Trellis::guardedInFrame;

TEST_CASE("frame guard: what throws nothing runs once, without a word")
{
    int ran = 0;
    guardedInFrame("A handler", [&] { ++ran; });
    CHECK(ran == 1);
}

TEST_CASE("frame guard: an exception is an error that names what was called, and why")
{
    expectError("Application::frame # A handler threw (no power), the frame goes on");
    int ran = 0;
    guardedInFrame("A handler", [&] {
        ++ran;
        throw std::runtime_error("no power");
    });
    CHECK(ran == 1);
}

TEST_CASE("frame guard: what is no exception of the library is an error, too")
{
    expectError("Application::frame # A handler threw (unknown exception), the frame goes on");
    guardedInFrame("A handler", [] { throw 7; });
}

TEST_CASE("frame guard: percent signs and an empty reason stand in the log as they are")
{
    expectError("Application::frame # 100%s threw (50% of %n), the frame goes on");
    guardedInFrame("100%s", [] { throw std::runtime_error("50% of %n"); });
    expectError("Application::frame # A handler threw (), the frame goes on");
    guardedInFrame("A handler", [] { throw std::runtime_error(""); });
}

TEST_CASE("frame guard: of two in one another the inner one takes it")
{
    expectError("Application::frame # The inner threw (inside), the frame goes on");
    bool wentOn = false;
    guardedInFrame("The outer", [&] {
        guardedInFrame("The inner", [] { throw std::logic_error("inside"); });
        wentOn = true;
    });
    CHECK(wentOn);
}
