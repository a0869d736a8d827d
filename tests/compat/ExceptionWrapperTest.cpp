#include <folly/ExceptionWrapper.h>

#include <doctest/doctest.h>

#include <stdexcept>
#include <string>

using folly::exception_wrapper;

TEST_CASE("exception wrapper: an empty one holds nothing")
{
    const exception_wrapper empty;
    CHECK_FALSE(bool(empty));
    CHECK(empty.get_exception<std::exception>() == nullptr);
    CHECK_FALSE(empty.with_exception<std::exception>([](const std::exception&) { FAIL("there is no exception"); }));
}

TEST_CASE("exception wrapper: what() puts the type's name in front of the exception's own text")
{
    const auto wrapper = folly::make_exception_wrapper<std::runtime_error>("no answer");
    CHECK(bool(wrapper));
    CHECK(std::string(wrapper.what().c_str()) == "std::runtime_error: no answer");
    CHECK(std::string(wrapper.class_name().c_str()) == "std::runtime_error");
    REQUIRE(wrapper.get_exception<std::exception>());
    CHECK(std::string(wrapper.get_exception<std::exception>()->what()) == "no answer");
}

TEST_CASE("exception wrapper: finds the exception by its own type and by its bases, not by others")
{
    const exception_wrapper wrapper(std::make_exception_ptr(std::out_of_range("far")));
    CHECK(wrapper.get_exception<std::out_of_range>() != nullptr);
    CHECK(wrapper.get_exception<std::logic_error>() != nullptr);
    CHECK(wrapper.get_exception<std::runtime_error>() == nullptr);
    CHECK(wrapper.is_compatible_with<std::logic_error>());
    CHECK_FALSE(wrapper.is_compatible_with<std::runtime_error>());
    std::string got;
    CHECK(wrapper.with_exception<std::logic_error>([&](const std::logic_error& error) { got = error.what(); }));
    CHECK(got == "far");
    CHECK_FALSE(wrapper.with_exception<std::runtime_error>([&](const std::runtime_error&) { got.clear(); }));
    CHECK(got == "far");
}

TEST_CASE("exception wrapper: throws what it holds")
{
    const auto wrapper = folly::make_exception_wrapper<std::invalid_argument>("odd");
    CHECK_THROWS_WITH_AS(wrapper.throw_exception(), "odd", std::invalid_argument);
    CHECK_THROWS_AS(std::rethrow_exception(wrapper.to_exception_ptr()), std::invalid_argument);
}

TEST_CASE("exception wrapper: holds an exception of another type than std::exception, without a text of its own")
{
    const exception_wrapper wrapper(std::make_exception_ptr(7));
    CHECK(wrapper.get_exception<std::exception>() == nullptr);
    REQUIRE(wrapper.get_exception<int>() != nullptr);
    CHECK(*wrapper.get_exception<int>() == 7);
    CHECK(std::string(wrapper.what().c_str()) == "int");
}

TEST_CASE("exception wrapper: an exception becomes one by itself, and copies share it")
{
    const exception_wrapper wrapper = std::runtime_error("shared");
    const exception_wrapper copy = wrapper;
    CHECK(copy.get_exception<std::runtime_error>() == wrapper.get_exception<std::runtime_error>());
}
