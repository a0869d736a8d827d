#include <Bedrock/LateLibrary.hpp>

#include <doctest/doctest.h>

#include <stdexcept>
#include <string>

using Bedrock::LateLibrary;

namespace
{
std::string reasonOf(const char* file, const char* function)
{
    try {
        const LateLibrary library(file);
        static_cast<void>(library[function]);
    } catch (const std::runtime_error& fault) {
        return fault.what();
    }
    return {};
}
}

TEST_CASE("late library: a function is found by its name, and can be called")
{
    const LateLibrary library("libm.so.6");
    double (*const power)(double, double) = library["pow"];
    CHECK(power(2.0, 10.0) == 1024.0);
}

TEST_CASE("late library: a library or a function that is missing is named in the reason")
{
    CHECK(reasonOf("libm.so.6", "pow").empty());
    CHECK(reasonOf("libnone-of-that-name.so.1", "pow").find("libnone-of-that-name.so.1") != std::string::npos);
    CHECK(reasonOf("libm.so.6", "functionThatIsNotThere").find("functionThatIsNotThere") != std::string::npos);
}
