#include "LogCapture.hpp"

#include <Bedrock/RareWarnings.hpp>

#include <doctest/doctest.h>

using Bedrock::RareWarnings;
using std::chrono::seconds;
using TestSupport::expectWarning;

TEST_CASE("rare warnings: each is written once a minute, and then with the number of those left out")
{
    const RareWarnings::Clock::time_point begin{};
    RareWarnings warnings("Store");
    const std::string full = "The disk is full";
    expectWarning("Store # The disk is full (a)");
    warnings.log(full, "a", begin);
    for (int i = 1; i < 60; ++i)
        warnings.log(full, "b", begin + seconds(i));
    expectWarning("Store # The folder is gone (c)");
    warnings.log("The folder is gone", "c", begin + seconds(1));
    expectWarning("Store # The disk is full (d; 59 more times since the last line)");
    warnings.log(full, "d", begin + seconds(60));
    warnings.log(full, "e", begin + seconds(119));
    expectWarning("Store # The disk is full (f; 1 more times since the last line)");
    warnings.log(full, "f", begin + seconds(120));
    expectWarning("Store # The disk is full (g)");
    warnings.log(full, "g", begin + seconds(180));
}
