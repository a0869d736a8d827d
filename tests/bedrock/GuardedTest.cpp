#include <Bedrock/Guarded.hpp>

#include <LogCapture.hpp>

#include <doctest/doctest.h>

#include <stdexcept>
#include <string>

using Bedrock::guarded;
using TestSupport::expectError;

TEST_CASE("guarded: a function that throws nothing runs once, and nothing is logged")
{
    int ran = 0;
    CHECK(guarded("Lamp # A handler failed", [&] { ++ran; }));
    CHECK(ran == 1);
}

TEST_CASE("guarded: an exception is one error with its reason")
{
    expectError("Lamp # A handler failed (no power)");
    CHECK_FALSE(guarded("Lamp # A handler failed", [] { throw std::runtime_error("no power"); }));
}

TEST_CASE("guarded: a thrown value that is no std::exception is an error, too")
{
    expectError("Lamp # A handler failed (unknown exception)");
    CHECK_FALSE(guarded("Lamp # A handler failed", [] { throw 7; }));
}

TEST_CASE("guarded: percent signs and an empty reason stand in the log as they are")
{
    expectError("100%s (50% of %n)");
    guarded("100%s", [] { throw std::runtime_error("50% of %n"); });
    expectError("Lamp # A handler failed ()");
    guarded("Lamp # A handler failed", [] { throw std::runtime_error(""); });
}

TEST_CASE("guarded: the caller can word the error itself")
{
    std::string told;
    CHECK_FALSE(guarded([] { throw std::runtime_error("no power"); }, [&](const char* reason) { told = reason; }));
    CHECK(told == "no power");
    CHECK_FALSE(guarded([] { throw 7; }, [&](const char* reason) { told = reason; }));
    CHECK(told == "unknown exception");
}

TEST_CASE("guarded: of two in one another the inner one stops the exception")
{
    expectError("The inner (inside)");
    bool wentOn = false;
    CHECK(guarded("The outer", [&] {
        guarded("The inner", [] { throw std::logic_error("inside"); });
        wentOn = true;
    }));
    CHECK(wentOn);
}
