#include "detector/MarkerFilters.hpp"

#include "LogCapture.hpp"

#include <doctest/doctest.h>

#include <string>
#include <vector>

using Tavola::MarkerFilters;

namespace
{
MarkerFilters filtersOf(const char* text)
{
    MarkerFilters filters;
    filters.parse(QString::fromUtf8(text));
    return filters;
}

void expectInvalid(const std::string& entry, const std::string& text)
{
    TestSupport::expectError("PersonalTesselDetectorWidget::parseFilters # Invalid entry '" + entry + "' in '" + text
                             + "', expected format '10,20-25,30'");
}

void checkCodes(const MarkerFilters& filters, const std::vector<std::uint64_t>& accepted,
                const std::vector<std::uint64_t>& rejected)
{
    for (const auto code : accepted) {
        CAPTURE(code);
        CHECK(filters.validCode(code));
    }
    for (const auto code : rejected) {
        CAPTURE(code);
        CHECK_FALSE(filters.validCode(code));
    }
}
}

TEST_CASE("marker filters: single codes and ranges accept what they name and nothing else")
{
    const auto filters = filtersOf("10,20-25,30");
    CHECK(filters.hasFilters);
    checkCodes(filters, {10, 20, 22, 25, 30}, {0, 9, 11, 19, 26, 29, 31});
}

TEST_CASE("marker filters: a range keeps its place in the list and both of its bounds")
{
    const auto filters = filtersOf("7-9,1-3");
    REQUIRE(filters.codeRanges.size() == 2);
    CHECK(filters.codeRanges[0].low == 7);
    CHECK(filters.codeRanges[0].high == 9);
    CHECK(filters.codeRanges[1].low == 1);
    for (const auto& range : filters.codeRanges) {
        CHECK(range.lowBounded);
        CHECK(range.highBounded);
    }
}

TEST_CASE("marker filters: a range whose lower bound is not the lower one is an error")
{
    SUBCASE("equal bounds")
    {
        expectInvalid("5-5", "5-5");
        CHECK_FALSE(filtersOf("5-5").hasFilters);
    }
    SUBCASE("bounds the wrong way round")
    {
        expectInvalid("25-20", "10,25-20");
        checkCodes(filtersOf("10,25-20"), {10}, {20, 22, 25});
    }
}

TEST_CASE("marker filters: a range is two numbers with one dash between them, anything else with a dash is an error")
{
    for (const char* entry : {"1-2-3", "1--2", "-1-2", "1-2-", "-5", "6-", "-", "--", "1-x", "x-2", "1- ", "0x1-9", "1-0x9"}) {
        CAPTURE(entry);
        const std::string text = std::string(entry) + ",8";
        expectInvalid(entry, text);
        const auto filters = filtersOf(text.c_str());
        CHECK(filters.codeRanges.empty());
        checkCodes(filters, {8}, {0, 1, 2, 3, 5, 6});
    }
}

TEST_CASE("marker filters: an empty entry in the middle is logged, its neighbours hold")
{
    expectInvalid("", "10,,20");
    checkCodes(filtersOf("10,,20"), {10, 20}, {0, 15});
}

TEST_CASE("marker filters: a text without a single good entry filters nothing")
{
    expectInvalid("abc", "abc");
    const auto filters = filtersOf("abc");
    CHECK_FALSE(filters.hasFilters);
    checkCodes(filters, {0, 1, 99}, {});
}

TEST_CASE("marker filters: an empty text accepts every code")
{
    checkCodes(filtersOf(""), {0, 1, 18446744073709551615u}, {});
}

TEST_CASE("marker filters: codes of 64 bits are compared in full")
{
    const auto filters = filtersOf("4294967306,5000000000-6000000000,18446744073709551615");
    checkCodes(filters, {4294967306u, 5000000000u, 6000000000u, 18446744073709551615u},
               {10, 705032704, 4999999999u, 6000000001u});
}

TEST_CASE("marker filters: a number that 64 bits do not hold is an error")
{
    expectInvalid("18446744073709551616", "18446744073709551616");
    CHECK_FALSE(filtersOf("18446744073709551616").hasFilters);
}

TEST_CASE("marker filters: only decimal numbers are codes")
{
    expectInvalid("0x10", "0x10,1a,3");
    expectInvalid("1a", "0x10,1a,3");
    checkCodes(filtersOf("0x10,1a,3"), {3}, {0, 1, 16, 26});
}

TEST_CASE("marker filters: blanks around a number are no error")
{
    checkCodes(filtersOf(" 10 , 20 - 25 "), {10, 20, 25}, {11});
}

TEST_CASE("marker filters: an error names the entry and the text as they stand, with their blanks")
{
    expectInvalid(" 1 x ", " 10, 1 x ,20 ");
    checkCodes(filtersOf(" 10, 1 x ,20 "), {10, 20}, {1});
}

TEST_CASE("marker filters: every bad entry is logged, in order, as UTF-8")
{
    expectInvalid("ä", "ä,1,-");
    expectInvalid("-", "ä,1,-");
    (void)filtersOf("ä,1,-");
    const auto lines = TestSupport::loggedLines();
    REQUIRE(lines.size() == 2);
    CHECK(lines[0].text.find("'ä'") != std::string::npos);
    CHECK(lines[1].text.find("'-'") != std::string::npos);
}

TEST_CASE("marker filters: the same code twice is one")
{
    const auto filters = filtersOf("4,4,4");
    CHECK(filters.singleCodes.size() == 1);
}

TEST_CASE("marker filters: the set of single codes keeps its load factor")
{
    const auto filters = filtersOf("1");
    CHECK(filters.singleCodes.max_load_factor() == 1.f);
    CHECK(filters.singleCodes.bucket_count() >= 10);
}

TEST_CASE("marker filters: a new text takes the place of the one before")
{
    MarkerFilters filters = filtersOf("1,5-9");
    filters.parse(QString::fromUtf8("2"));
    checkCodes(filters, {2}, {1, 5, 9});
    filters.parse(QString());
    CHECK_FALSE(filters.hasFilters);
    CHECK(filters.singleCodes.empty());
    CHECK(filters.codeRanges.empty());
    checkCodes(filters, {1, 2, 3}, {});
}

TEST_CASE("marker filters: a range without a bound on a side is open on that side")
{
    MarkerFilters filters;
    filters.hasFilters = true;
    filters.codeRanges = {{10, 0, true, false}};
    checkCodes(filters, {10, 1000}, {9});
    filters.codeRanges = {{0, 10, false, true}};
    checkCodes(filters, {0, 10}, {11});
    filters.codeRanges = {{5, 5, false, false}};
    checkCodes(filters, {0, 5, 99}, {});
}
