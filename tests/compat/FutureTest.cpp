#include <doctest/doctest.h>

#include <folly/executors/InlineExecutor.h>
#include <folly/executors/ManualExecutor.h>
#include <folly/futures/Future.h>
#include <folly/futures/Promise.h>

#include <QString>

#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

TEST_CASE("future: a continuation gets the value when the promise is kept")
{
    folly::Promise<int> promise;
    int got = 0;
    auto future = promise.getFuture().thenValue([&](int value) {
        got = value;
        return value + 1;
    });
    CHECK(got == 0);
    CHECK_FALSE(future.isReady());
    promise.setValue(41);
    CHECK(got == 41);
    CHECK(future.isReady());
    CHECK(future.value() == 42);
}
