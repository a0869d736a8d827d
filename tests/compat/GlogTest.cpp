#include <doctest/doctest.h>

// As a header of folly would bring it, after doctest.
#include <glog/logging.h>

TEST_CASE("glog beside doctest: a check that fails fails its test, and does not end the program" * doctest::should_fail())
{
    CHECK(1 == 2);
    CHECK_EQ(1, 2);
    CHECK_GE(1, 2);
}

TEST_CASE("glog beside doctest: the comparing checks are doctest's")
{
    CHECK_EQ(2, 2);
    CHECK_NE(1, 2);
    CHECK_LT(1, 2);
    CHECK_LE(2, 2);
    CHECK_GT(2, 1);
    CHECK_GE(2, 2);
}
