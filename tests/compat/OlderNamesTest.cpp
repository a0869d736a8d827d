#include <folly/executors/ManualExecutor.h>
#include <folly/futures/Future.h>

#include <QString>

#include <doctest/doctest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>

using folly::Future;
using folly::makeFuture;
using folly::Promise;
using folly::Try;
using folly::Unit;

namespace
{
int lengthOf(const std::exception& error)
{
    return int(std::string(error.what()).size());
}
}

TEST_CASE("future, older names: then takes the value, the try or nothing")
{
    CHECK(makeFuture(3).then([](int value) { return value + 1; }).value() == 4);
    CHECK(makeFuture(3).then([](Try<int>&& result) { return result.hasValue(); }).value());
    CHECK(makeFuture(3).then([] { return QStringLiteral("done"); }).value() == QStringLiteral("done"));
    CHECK(makeFuture(3).then([](int value) { return makeFuture(value * 2); }).value() == 6);
    CHECK(makeFuture(std::make_unique<int>(3)).then([](std::unique_ptr<int> value) { return *value; }).value() == 3);
    auto nothing = makeFuture().then([] {});
    CHECK(std::is_same_v<decltype(nothing), Future<Unit>>);
    CHECK(nothing.hasValue());
}

TEST_CASE("future, older names: a failure passes by a then that takes a value or nothing, not one that takes the try")
{
    const auto failing = [] { return makeFuture<int>(std::runtime_error("no")); };
    int calls = 0;
    CHECK(failing().then([&](int) { ++calls; }).hasException());
    CHECK(failing().then([&] { ++calls; }).hasException());
    CHECK(calls == 0);
    CHECK(failing().then([](Try<int>&& result) { return result.hasException(); }).value());
}

TEST_CASE("future, older names: onError stands in for the failure that its parameter names")
{
    const auto failing = [] { return makeFuture<int>(std::out_of_range("far")); };
    CHECK(failing().onError([](const std::out_of_range&) { return 1; }).value() == 1);
    CHECK(failing().onError([](std::logic_error&) { return makeFuture(2); }).value() == 2);
    CHECK(failing().onError(lengthOf).value() == 3);
    CHECK(failing().onError([](const std::runtime_error&) { return 4; }).result().hasException<std::out_of_range>());
    CHECK(makeFuture(5).onError([](const std::exception&) { return 6; }).value() == 5);
}

TEST_CASE("future, older names: onError with a wrapper stands in for any failure")
{
    const auto failing = [] { return makeFuture<int>(folly::exception_wrapper(std::make_exception_ptr(7))); };
    CHECK(failing().onError([](folly::exception_wrapper) { return 1; }).value() == 1);
    CHECK(failing().onError([](const folly::exception_wrapper& error) { return int(error.what().size()); }).value() == 3);
}

TEST_CASE("future, older names: then and onError keep the executor, and a future takes one of them")
{
    folly::ManualExecutor executor;
    Promise<int> promise;
    auto future = promise.getFuture();
    auto last = std::move(future)
                    .via(&executor)
                    .then([](int) -> int { throw std::runtime_error("no"); })
                    .onError([](const std::runtime_error&) { return 9; });
    promise.setValue(1);
    CHECK(executor.run() == 1);
    CHECK_FALSE(last.isReady());
    CHECK(executor.run() == 1);
    CHECK(last.value() == 9);
    CHECK_THROWS_AS((void)std::move(future).then([] {}), folly::FutureInvalid);
}
