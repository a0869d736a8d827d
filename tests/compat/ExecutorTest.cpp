#include <folly/executors/InlineExecutor.h>
#include <folly/executors/ManualExecutor.h>

#include <doctest/doctest.h>

#include <memory>
#include <vector>

TEST_CASE("inline executor: runs a function inside the call")
{
    int ran = 0;
    folly::InlineExecutor::instance().add([&] { ++ran; });
    CHECK(ran == 1);
}

TEST_CASE("manual executor: runs in order and only when told; what a function adds waits for the next run")
{
    folly::ManualExecutor executor;
    std::vector<int> order;
    executor.add([&] {
        order.push_back(1);
        executor.add([&] { order.push_back(3); });
    });
    executor.add([&] { order.push_back(2); });
    CHECK(order.empty());
    CHECK(executor.run() == 2);
    CHECK(order == std::vector<int>{1, 2});
    CHECK(executor.run() == 1);
    CHECK(order == std::vector<int>{1, 2, 3});
    CHECK(executor.run() == 0);
}

TEST_CASE("manual executor: drain goes on until nothing waits, clear drops what waits")
{
    folly::ManualExecutor executor;
    int ran = 0;
    executor.add([&] {
        ++ran;
        executor.add([&] { ++ran; });
    });
    CHECK(executor.drain() == 2);
    CHECK(ran == 2);
    auto held = std::make_shared<int>(1);
    executor.add([&ran, held] { ++ran; });
    executor.clear();
    CHECK(held.use_count() == 1);
    CHECK(executor.drain() == 0);
    CHECK(ran == 2);
}
