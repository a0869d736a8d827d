#include "RareWarning.hpp"

#include <LogCapture.hpp>
#include <doctest/doctest.h>

using Http::RareWarning;

TEST_CASE("HTTP rare warning: it is written once a minute")
{
    const RareWarning::Clock::time_point begin{};
    RareWarning warning;
    TestSupport::expectWarning("HttpServer # Full (1)");
    warning.log("Full", "1", begin);
    warning.log("Full", "2", begin + std::chrono::seconds(59));
    TestSupport::expectWarning("HttpServer # Full (3)");
    warning.log("Full", "3", begin + std::chrono::seconds(60));
    warning.log("Full", "4", begin + std::chrono::seconds(119));
}
