#include <boost/expected.hpp>

#include <QString>

#include <doctest/doctest.h>

#include <memory>

namespace
{
using Result = boost::expected<std::unique_ptr<int>, QString>;

Result half(int number)
{
    if (number % 2)
        return boost::make_unexpected(QStringLiteral("%1 is odd").arg(number));
    return std::make_unique<int>(number / 2);
}
}

TEST_CASE("expected: holds a value that can only be moved")
{
    Result result = half(8);
    REQUIRE(result.has_value());
    const std::unique_ptr<int> taken = std::move(result).value();
    CHECK(*taken == 4);
}

TEST_CASE("expected: holds the reason why there is no value")
{
    const Result result = half(3);
    REQUIRE_FALSE(result);
    CHECK(result.error() == QStringLiteral("3 is odd"));
}

TEST_CASE("expected: asking a failed one for its value throws")
{
    CHECK_THROWS((void)half(3).value());
}
