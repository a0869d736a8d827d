#include "shared/AfterUpdate.hpp"

#include "TestHost.hpp"

#include <LogCapture.hpp>

#include <doctest/doctest.h>

#include <stdexcept>
#include <string>

using TestSupport::expectError;
using TestSupport::TestHost;

TEST_CASE("after update: a result is handled after the update of the coming frame, never inside the call")
{
    TestHost host;
    int got = 0;
    Tavola::afterUpdate(folly::makeFuture(5), [&](folly::Try<int>&& result) { got = result.value(); });
    CHECK(got == 0);
    host.frame();
    CHECK(got == 5);
}

TEST_CASE("after update: a failure comes with its text, one that is no std::exception with an empty one")
{
    TestHost host;
    QByteArray text;
    const auto keepText = [&](folly::Try<int>&& result) { text = result.hasException() ? Tavola::failureText(result) : "none"; };
    Tavola::afterUpdate(folly::makeFuture<int>(std::runtime_error("no paper")), keepText);
    host.frame();
    CHECK(text == "no paper");
    Tavola::afterUpdate(folly::makeFutureWith([]() -> int { throw 7; }), keepText);
    host.frame();
    CHECK(text.isEmpty());
}

TEST_CASE("after update: whatever a callback throws is one error, and the next callback runs")
{
    TestHost host;
    int ran = 0;
    Tavola::afterUpdate(folly::makeFuture(1), [](folly::Try<int>&&) { throw std::runtime_error("no more paper"); });
    Tavola::afterUpdate(folly::makeFuture(2), [](folly::Try<int>&&) { throw 7; });
    Tavola::afterUpdate(folly::makeFuture(3), [&](folly::Try<int>&& result) { ran = result.value(); });
    expectError("Tavola::afterUpdate # A result could not be handled (no more paper)");
    expectError("Tavola::afterUpdate # A result could not be handled (unknown exception)");
    host.frame();
    CHECK(ran == 3);
}
