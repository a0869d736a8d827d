#include <folly/Function.h>

#include <doctest/doctest.h>

#include <array>
#include <functional>
#include <memory>

using folly::Function;

TEST_CASE("function: holds what can only be moved")
{
    Function<int(int)> function = [held = std::make_unique<int>(40)](int more) { return *held + more; };
    CHECK(function(2) == 42);
    Function<int(int)> moved = std::move(function);
    CHECK_FALSE(bool(function));
    CHECK(moved(1) == 41);
}

TEST_CASE("function: one too large to live inside moves and is destroyed once")
{
    auto counted = std::make_shared<int>(1);
    {
        std::array<char, 200> ballast{};
        ballast[199] = 5;
        Function<int()> function = [counted, ballast] { return int(ballast[199]); };
        CHECK(counted.use_count() == 2);
        Function<int()> moved = std::move(function);
        CHECK(moved() == 5);
        CHECK(counted.use_count() == 2);
        moved = nullptr;
        CHECK(counted.use_count() == 1);
        moved = [counted, ballast] { return 6; };
        CHECK(moved() == 6);
    }
    CHECK(counted.use_count() == 1);
}

TEST_CASE("function: a small one is destroyed once")
{
    auto counted = std::make_shared<int>(1);
    {
        Function<void()> function = [counted] {};
        Function<void()> other = std::move(function);
        function = std::move(other);
        CHECK(counted.use_count() == 2);
    }
    CHECK(counted.use_count() == 1);
}

TEST_CASE("function: calling an empty one throws")
{
    Function<void()> empty;
    CHECK_FALSE(bool(empty));
    CHECK_THROWS_AS(empty(), std::bad_function_call);
}

TEST_CASE("function: arguments that can only be moved go through, and state is kept between calls")
{
    int sum = 0;
    Function<int(std::unique_ptr<int>)> function = [&sum](std::unique_ptr<int> value) mutable { return sum += *value; };
    CHECK(function(std::make_unique<int>(2)) == 2);
    CHECK(function(std::make_unique<int>(3)) == 5);
}
