#include "RareWarnings.hpp"

#include <LogCapture.hpp>
#include <doctest/doctest.h>

using MediaServer::RareWarnings;
using TestSupport::expectWarning;

TEST_CASE("rare warnings: each is written once a minute, and then with the number of those left out")
{
    const RareWarnings::Clock::time_point begin{};
    RareWarnings warnings;
    const QString full = QStringLiteral("The disk is full");
    const QString gone = QStringLiteral("The folder is gone");
    expectWarning("MediaServer # The disk is full (a)");
    warnings.log(full, QStringLiteral("a"), begin);
    for (int i = 1; i < 60; ++i)
        warnings.log(full, QStringLiteral("b"), begin + std::chrono::seconds(i));
    expectWarning("MediaServer # The folder is gone (c)");
    warnings.log(gone, QStringLiteral("c"), begin + std::chrono::seconds(1));
    expectWarning("MediaServer # The disk is full (d; 59 more times since the last line)");
    warnings.log(full, QStringLiteral("d"), begin + std::chrono::seconds(60));
    expectWarning("MediaServer # The disk is full (e)");
    warnings.log(full, QStringLiteral("e"), begin + std::chrono::seconds(120));
}
