#include <folly/executors/InlineExecutor.h>
#include <folly/executors/ManualExecutor.h>
#include <folly/futures/Future.h>

#include <QString>

#include <doctest/doctest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

using folly::Future;
using folly::makeFuture;
using folly::Promise;
using folly::Try;
using folly::Unit;

static_assert(!std::is_copy_constructible_v<Future<int>>);
static_assert(std::is_nothrow_move_constructible_v<Future<int>>);

TEST_CASE("future: a continuation gets the value when the promise is kept")
{
    Promise<int> promise;
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

TEST_CASE("future: a continuation of a completed future runs at once when there is no executor")
{
    int got = 0;
    auto future = makeFuture(3).thenValue([&](int value) { got = value; });
    CHECK(got == 3);
    CHECK(std::is_same_v<decltype(future), Future<Unit>>);
    CHECK(future.hasValue());
}

TEST_CASE("future: a continuation may return a future, which is waited for")
{
    Promise<QString> later;
    auto future = makeFuture(1).thenValue([&](int) { return later.getFuture(); });
    CHECK(std::is_same_v<decltype(future), Future<QString>>);
    CHECK_FALSE(future.isReady());
    later.setValue(QStringLiteral("there"));
    CHECK(future.value() == QStringLiteral("there"));
}

TEST_CASE("future: a failure passes by the value continuations")
{
    bool hasRun = false;
    auto future = makeFuture<int>(std::runtime_error("no")).thenValue([&](int value) {
        hasRun = true;
        return value;
    });
    CHECK_FALSE(hasRun);
    CHECK(future.hasException());
    CHECK_THROWS_WITH_AS((void)future.value(), "no", std::runtime_error);
}

TEST_CASE("future: what a continuation throws is the failure of its future")
{
    auto future = makeFuture(1).thenValue([](int) -> int { throw std::out_of_range("far"); });
    CHECK(future.result().hasException<std::out_of_range>());
    auto inner = makeFuture(1).thenValue([](int) -> Future<int> { throw std::out_of_range("farther"); });
    CHECK(inner.result().hasException<std::out_of_range>());
}

TEST_CASE("future: a try continuation gets value and failure alike")
{
    auto good = makeFuture(1).thenTry([](Try<int>&& result) { return result.hasValue(); });
    CHECK(good.value());
    auto bad = makeFuture<int>(std::runtime_error("no")).thenTry([](Try<int> result) { return result.hasValue(); });
    CHECK_FALSE(bad.value());
    auto chained = makeFuture(2).thenTry([](Try<int>&& result) { return makeFuture(*result * 2); });
    CHECK(chained.value() == 4);
}

TEST_CASE("future: an error continuation stands in for a failure of its type")
{
    const auto failing = [] { return makeFuture<int>(std::out_of_range("far")); };
    CHECK(failing().thenError(folly::tag_t<std::logic_error>{}, [](const std::logic_error&) { return 7; }).value() == 7);
    CHECK(failing()
              .thenError(folly::tag_t<std::exception>{},
                         [](const std::exception& e) { return makeFuture(int(std::string(e.what()).size())); })
              .value()
          == 3);

    SUBCASE("another failure passes it by")
    {
        auto future = failing().thenError(folly::tag_t<std::runtime_error>{}, [](const std::runtime_error&) { return 7; });
        CHECK(future.result().hasException<std::out_of_range>());
    }
    SUBCASE("a value passes it by")
    {
        CHECK(makeFuture(1).thenError(folly::tag_t<std::exception>{}, [](const std::exception&) { return 7; }).value() == 1);
    }
    SUBCASE("what it throws is the new failure")
    {
        auto future = failing().thenError(folly::tag_t<std::exception>{},
                                          [](const std::exception&) -> int { throw std::runtime_error("worse"); });
        CHECK_THROWS_WITH_AS((void)future.value(), "worse", std::runtime_error);
    }
    SUBCASE("one without a type stands in for any failure")
    {
        std::string text;
        auto future = failing().thenError([&](folly::exception_wrapper error) {
            text = error.what().c_str();
            return 9;
        });
        CHECK(future.value() == 9);
        CHECK(text == "std::out_of_range: far");
    }
    SUBCASE("one of a future of nothing returns nothing")
    {
        int handled = 0;
        auto future =
            makeFuture<Unit>(std::runtime_error("no")).thenError(folly::tag_t<std::exception>{}, [&](const std::exception&) {
                ++handled;
            });
        CHECK(handled == 1);
        CHECK(future.hasValue());
    }
}

TEST_CASE("future: continuations run on the executor, never inside the call")
{
    folly::ManualExecutor executor;
    std::vector<int> order;
    Promise<int> promise;
    auto future = promise.getFuture().via(&executor).thenValue([&](int) { order.push_back(1); }).thenValue([&](Unit) {
        order.push_back(2);
    });
    promise.setValue(1);
    CHECK(order.empty());
    CHECK(executor.run() == 1);
    CHECK(order == std::vector<int>{1});
    CHECK(executor.run() == 1);
    CHECK(order == std::vector<int>{1, 2});
    CHECK(future.isReady());
}

TEST_CASE("future: the answer of a future that a continuation returned takes one step of that future's executor")
{
    folly::ManualExecutor outer;
    folly::ManualExecutor inner;
    auto future = makeFuture(1)
                      .via(&outer)
                      .thenValue([&](int value) { return makeFuture(value + 1).via(&inner); })
                      .thenValue([](int value) { return value * 10; });
    CHECK(outer.run() == 1);
    CHECK(outer.run() == 0);
    CHECK(inner.run() == 1);
    CHECK(inner.run() == 0);
    CHECK(outer.run() == 1);
    CHECK(future.value() == 20);
}

TEST_CASE("future: via an executor runs a function there")
{
    folly::ManualExecutor executor;
    auto plain = folly::via(&executor).thenValue([](Unit) { return 1; });
    auto value = folly::via(&executor, [] { return 5; });
    auto nothing = folly::via(&executor, [] {});
    auto future = folly::via(&executor, [] { return makeFuture(QStringLiteral("x")); });
    CHECK_FALSE(value.isReady());
    executor.drain();
    CHECK(plain.value() == 1);
    CHECK(value.value() == 5);
    CHECK(nothing.hasValue());
    CHECK(future.value() == QStringLiteral("x"));
    CHECK(folly::via(&folly::InlineExecutor::instance(), [] { return 6; }).value() == 6);
}

TEST_CASE("future: when the executor drops the continuation its future fails, while the promise still lives")
{
    folly::ManualExecutor executor;
    auto held = std::make_shared<int>(1);
    Promise<int> promise;
    auto future = promise.getFuture().via(&executor).thenValue([held](int value) { return value; });
    promise.setValue(1);
    executor.clear();
    REQUIRE(future.isReady());
    CHECK(future.result().hasException<folly::BrokenPromise>());
    CHECK(held.use_count() == 1);
}

TEST_CASE("future: when the executor throws the continuation learns of it")
{
    struct Full final : folly::Executor
    {
        void add(folly::Func) override { throw std::runtime_error("full"); }
    } executor;
    std::string text;
    auto future = makeFuture(1).via(&executor).thenTry([&](Try<int>&& result) {
        if (const auto* error = result.tryGetExceptionObject<std::exception>())
            text = error->what();
    });
    CHECK(text == "full");
}

TEST_CASE("future: what a continuation holds is gone when its future is answered")
{
    auto held = std::make_shared<int>(1);
    long uses = 0;
    Promise<int> promise;
    auto future = promise.getFuture().thenValue([copy = held](int value) { return value + *copy; }).thenValue([&](int value) {
        uses = held.use_count();
        return value;
    });
    CHECK(held.use_count() == 2);
    promise.setValue(1);
    CHECK(uses == 1);
    CHECK(future.value() == 2);
}

TEST_CASE("future: a continuation runs although its own future is let go")
{
    Promise<int> promise;
    int got = 0;
    (void)promise.getFuture().thenValue([&](int value) { got = value; });
    promise.setValue(5);
    CHECK(got == 5);
}

TEST_CASE("future: values that can only be moved go through a chain")
{
    auto future = makeFuture(std::make_unique<int>(4)).thenValue([](std::unique_ptr<int> value) {
        ++*value;
        return value;
    });
    const std::unique_ptr<int> value = std::move(future).get();
    CHECK(*value == 5);
}

TEST_CASE("future: one that was moved from is invalid")
{
    auto future = makeFuture(1);
    const auto next = std::move(future);
    CHECK_FALSE(future.valid());
    CHECK_THROWS_WITH_AS((void)future.isReady(), "Future invalid", folly::FutureInvalid);
    CHECK_THROWS_AS((void)future.value(), folly::FutureInvalid);
    CHECK_THROWS_AS((void)std::move(future).thenValue([](int) {}), folly::FutureInvalid);
    CHECK(next.valid());
}

TEST_CASE("future: one that was continued stays valid and takes no second continuation")
{
    Promise<int> promise;
    auto future = promise.getFuture();
    int calls = 0;
    auto next = std::move(future).thenValue([&](int value) {
        ++calls;
        return value;
    });
    CHECK(future.valid());
    CHECK_THROWS_WITH_AS((void)std::move(future).thenValue([&](int) { ++calls; }), "Future already continued",
                         folly::FutureAlreadyContinued);
    promise.setValue(1);
    CHECK(future.valid());
    CHECK_THROWS_AS((void)std::move(future).thenTry([&](Try<int>&&) { ++calls; }), folly::FutureAlreadyContinued);
    CHECK_THROWS_AS((void)std::move(future).thenValue([&](int) { ++calls; }), folly::FutureException);
    CHECK(calls == 1);
    CHECK(next.value() == 1);
}

TEST_CASE("future: asking before the answer is there throws")
{
    Promise<int> promise;
    auto future = promise.getFuture();
    CHECK_THROWS_AS((void)future.value(), folly::FutureNotReady);
    CHECK_THROWS_AS((void)future.hasValue(), folly::FutureNotReady);
    CHECK_THROWS_AS((void)std::move(future).get(std::chrono::milliseconds(1)), folly::FutureTimeout);
}

TEST_CASE("future: made from a value, an exception, a wrapper, a try or nothing")
{
    const QString text = QStringLiteral("kept");
    CHECK(makeFuture(text).value() == text);
    CHECK(makeFuture<QString>(QStringLiteral("x")).value() == QStringLiteral("x"));
    CHECK(makeFuture<int>(std::runtime_error("a")).hasException());
    CHECK(makeFuture<int>(folly::make_exception_wrapper<std::runtime_error>("b")).hasException());
    CHECK(makeFuture(Try<int>(3)).value() == 3);
    CHECK(makeFuture().hasValue());
    CHECK(folly::makeFutureWith([] { return 1; }).value() == 1);
    CHECK(folly::makeFutureWith([] { return makeFuture(2); }).value() == 2);
    CHECK(folly::makeFutureWith([]() -> int { throw std::runtime_error("c"); }).hasException());
    CHECK(folly::makeFutureWith([]() -> Future<int> { throw std::runtime_error("d"); }).hasException());
}
