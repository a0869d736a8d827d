#include <folly/futures/Future.h>

#include <QString>

#include <doctest/doctest.h>

#include <stdexcept>
#include <string>
#include <vector>

using folly::Promise;

namespace Shapes
{
struct Circle
{
};
}

namespace
{
/// The text of the failure that a future is left with when its promise goes away.
template <class T>
std::string brokenText()
{
    auto future = Promise<T>().getFuture();
    const auto* error = future.result().template tryGetExceptionObject<std::logic_error>();
    return error ? error->what() : "no logic error";
}
}

TEST_CASE("promise: the future can be taken once")
{
    Promise<int> promise;
    const auto future = promise.getFuture();
    CHECK(future.valid());
    CHECK_THROWS_WITH_AS((void)promise.getFuture(), "Future already retrieved", folly::FutureAlreadyRetrieved);
    CHECK_THROWS_AS((void)promise.getFuture(), std::logic_error);
}

TEST_CASE("promise: an answer can be given once")
{
    Promise<int> promise;
    CHECK_FALSE(promise.isFulfilled());
    promise.setValue(1);
    CHECK(promise.isFulfilled());
    CHECK_THROWS_WITH_AS(promise.setValue(2), "Promise already satisfied", folly::PromiseAlreadySatisfied);
    CHECK_THROWS_AS(promise.setException(std::runtime_error("late")), std::logic_error);
    CHECK_THROWS_AS(promise.setWith([] { return 3; }), std::logic_error);
    CHECK(promise.getFuture().value() == 1);
}

TEST_CASE("promise: destroyed without an answer it breaks, and the text names the type")
{
    CHECK(brokenText<QString>() == "Broken promise for type name `QString`");
    CHECK(brokenText<int>() == "Broken promise for type name `int`");
    CHECK(brokenText<folly::Unit>() == "Broken promise for type name `folly::Unit`");
    CHECK(brokenText<Shapes::Circle>() == "Broken promise for type name `Shapes::Circle`");
    auto future = Promise<QString>().getFuture();
    CHECK(future.result().hasException<folly::BrokenPromise>());
}

TEST_CASE("promise: assigning over one without an answer breaks it")
{
    Promise<int> promise;
    auto first = promise.getFuture();
    promise = Promise<int>();
    CHECK(first.hasException());
    auto second = promise.getFuture();
    promise.setValue(2);
    CHECK(second.value() == 2);
}

TEST_CASE("promise: one that was moved from can do nothing and breaks nothing")
{
    Promise<int> promise;
    auto future = promise.getFuture();
    Promise<int> moved = std::move(promise);
    CHECK_FALSE(promise.valid());
    CHECK_THROWS_AS(promise.setValue(1), folly::PromiseInvalid);
    CHECK_THROWS_AS((void)promise.getFuture(), folly::PromiseInvalid);
    promise = Promise<int>::makeEmpty();
    CHECK_FALSE(future.isReady());
    moved.setValue(4);
    CHECK(future.value() == 4);
}

TEST_CASE("promise: answers with what a function returns or throws")
{
    Promise<int> good;
    good.setWith([] { return 6; });
    CHECK(good.getFuture().value() == 6);
    Promise<int> bad;
    bad.setWith([]() -> int { throw std::runtime_error("not today"); });
    CHECK_THROWS_WITH_AS((void)bad.getFuture().value(), "not today", std::runtime_error);
    Promise<folly::Unit> plain;
    plain.setWith([] {});
    CHECK(plain.getFuture().hasValue());
}

TEST_CASE("promise: takes an exception as an object or wrapped")
{
    Promise<int> object;
    object.setException(std::out_of_range("far"));
    CHECK(object.getFuture().result().hasException<std::out_of_range>());
    Promise<int> wrapped;
    wrapped.setException(folly::make_exception_wrapper<std::out_of_range>("far"));
    CHECK(wrapped.getFuture().result().hasException<std::out_of_range>());
    Promise<folly::Unit> unit;
    unit.setValue();
    CHECK(unit.getFuture().hasValue());
}

TEST_CASE("promise: the answer may come before the future is taken")
{
    Promise<QString> promise;
    promise.setValue(QStringLiteral("early"));
    auto future = promise.getFuture();
    CHECK(future.isReady());
    CHECK(std::move(future).get() == QStringLiteral("early"));
}

TEST_CASE("promise: a continuation may destroy its own promise")
{
    auto promise = std::make_unique<Promise<int>>();
    int got = 0;
    auto future = promise->getFuture().thenValue([&](int value) {
        promise.reset();
        got = value;
    });
    promise->setValue(8);
    CHECK(got == 8);
    CHECK(future.hasValue());
}
