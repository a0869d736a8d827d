#include <folly/executors/ManualExecutor.h>
#include <folly/futures/Future.h>

#include <QString>

#include <doctest/doctest.h>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using folly::Promise;

TEST_CASE("future across threads: get waits for an answer of another thread")
{
    for (int round = 0; round < 100; ++round) {
        Promise<QString> promise;
        auto future = promise.getFuture();
        std::thread thread([p = std::move(promise)]() mutable { p.setValue(QStringLiteral("done")); });
        CHECK(std::move(future).get() == QStringLiteral("done"));
        thread.join();
    }
}

TEST_CASE("future across threads: answer and continuation meet exactly once, whichever comes first")
{
    for (int round = 0; round < 300; ++round) {
        Promise<int> promise;
        auto future = promise.getFuture();
        std::atomic<int> runs{0};
        std::atomic<bool> go{false};
        std::thread answering([&go, p = std::move(promise)]() mutable {
            while (!go)
                std::this_thread::yield();
            p.setValue(1);
        });
        go = true;
        auto last = std::move(future).thenValue([&](int value) {
            ++runs;
            return value + 1;
        });
        CHECK(std::move(last).get() == 2);
        answering.join();
        CHECK(runs == 1);
    }
}

TEST_CASE("future across threads: failures of many threads are read on one")
{
    folly::ManualExecutor executor;
    std::vector<std::string> texts;
    std::vector<std::thread> threads;
    std::atomic<int> handled{0};
    constexpr int kThreads = 4;
    constexpr int kEach = 50;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < kEach; ++i) {
                Promise<int> promise;
                (void)promise.getFuture().via(&executor).thenTry([&](folly::Try<int>&& result) {
                    if (const auto* error = result.tryGetExceptionObject<std::exception>())
                        texts.push_back(error->what());
                    ++handled;
                });
                if (i % 2)
                    promise.setException(std::runtime_error("failed " + std::to_string(i)));
            }
        });
    }
    while (handled < kThreads * kEach)
        executor.run();
    for (std::thread& thread : threads)
        thread.join();
    REQUIRE(texts.size() == kThreads * kEach);
    int broken = 0;
    for (const std::string& text : texts)
        broken += text == "Broken promise for type name `int`" ? 1 : 0;
    CHECK(broken == kThreads * kEach / 2);
}

TEST_CASE("future across threads: one failure is looked at by several threads at once")
{
    const auto wrapper = folly::make_exception_wrapper<std::runtime_error>("seen by all");
    std::atomic<int> seen{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, copy = wrapper] {
            for (int i = 0; i < 50; ++i) {
                if (copy.get_exception<std::runtime_error>() && copy.what() == "std::runtime_error: seen by all")
                    ++seen;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    CHECK(seen == 200);
}
