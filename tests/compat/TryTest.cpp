#include <folly/Try.h>

#include <doctest/doctest.h>

#include <memory>
#include <stdexcept>
#include <string>

using folly::Try;

TEST_CASE("try: holds a value")
{
    Try<std::unique_ptr<int>> result(std::make_unique<int>(3));
    CHECK(result.hasValue());
    CHECK_FALSE(result.hasException());
    CHECK(**result == 3);
    CHECK(result.tryGetExceptionObject<std::exception>() == nullptr);
    CHECK_THROWS_AS(result.exception(), folly::TryException);
    const std::unique_ptr<int> taken = std::move(result).value();
    CHECK(*taken == 3);
}

TEST_CASE("try: holds an exception, which value() throws")
{
    const Try<int> result(folly::make_exception_wrapper<std::runtime_error>("gone"));
    CHECK_FALSE(result.hasValue());
    CHECK(result.hasException());
    CHECK(result.hasException<std::runtime_error>());
    CHECK_FALSE(result.hasException<std::logic_error>());
    CHECK_THROWS_WITH_AS((void)result.value(), "gone", std::runtime_error);
    REQUIRE(result.tryGetExceptionObject<std::exception>());
    CHECK(std::string(result.tryGetExceptionObject<std::exception>()->what()) == "gone");
    CHECK(result.tryGetExceptionObject<std::logic_error>() == nullptr);
}

TEST_CASE("try: one that was never assigned is neither, and says so")
{
    const Try<int> result;
    CHECK_FALSE(result.hasValue());
    CHECK_FALSE(result.hasException());
    CHECK_THROWS_AS((void)result.value(), folly::UsingUninitializedTry);
}

TEST_CASE("try: makeTryWith catches what the function throws")
{
    const auto good = folly::makeTryWith([] { return 5; });
    CHECK(good.value() == 5);
    const auto bad = folly::makeTryWith([]() -> int { throw std::out_of_range("far"); });
    CHECK(bad.hasException<std::out_of_range>());
}
