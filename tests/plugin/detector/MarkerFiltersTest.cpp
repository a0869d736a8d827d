#include "detector/MarkerFilters.hpp"

#include "LogCapture.hpp"

#include <doctest/doctest.h>

#include <string>
#include <vector>

using Tavola::MarkerFilters;
using Codes = std::vector<std::uint64_t>;

namespace
{
constexpr std::uint64_t kLargest = 18446744073709551615u;

MarkerFilters filtersOf(const std::string& text)
{
    MarkerFilters filters;
    filters.parse(QString::fromStdString(text));
    return filters;
}

void expectInvalid(const std::string& entry, const std::string& text)
{
    TestSupport::expectError("PersonalTesselDetectorWidget::parseFilters # Invalid entry '" + entry + "' in '" + text
                             + "', expected format '10,20-25,30'");
}

void checkCodes(const MarkerFilters& filters, const Codes& accepted, const Codes& rejected)
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

TEST_CASE("marker filters: entries accept the codes that they name and no others, malformed ones are logged and skipped")
{
    struct Row
    {
        const char* text;
        std::vector<std::string> invalid; ///< entries, in order
        Codes accepted;
        Codes rejected; ///< none: nothing is filtered
    };
    const Row rows[] = {
        {"", {}, {0, 1, kLargest}, {}},
        {"10,20-25,30", {}, {10, 20, 22, 25, 30}, {0, 9, 11, 19, 26, 29, 31}},
        {"0", {}, {0}, {1}},
        // A lower bound that is not the lower one.
        {"5-5", {"5-5"}, {0, 5}, {}},
        {"10,25-20", {"25-20"}, {10}, {20, 22, 25}},
        // Parts without a number.
        {"10,,20", {""}, {10, 20}, {0, 15}},
        {",10,", {"", ""}, {10}, {0}},
        {"abc", {"abc"}, {0, 1, 99}, {}},
        {"ä,1,-", {"ä", "-"}, {1}, {0, 2}},
        // 64 bits.
        {"4294967306,5000000000-6000000000,18446744073709551615",
         {},
         {4294967306u, 5000000000u, 6000000000u, kLargest},
         {10, 705032704, 4999999999u, 6000000001u}},
        {"18446744073709551616", {"18446744073709551616"}, {0, kLargest}, {}},
        {"1-18446744073709551616,3", {"1-18446744073709551616"}, {3}, {1, 2}},
        // Decimal numbers only.
        {"0x10,1a,3,010", {"0x10", "1a"}, {3, 10}, {0, 1, 8, 16, 26}},
        // Blanks around a number are part of the entry, and no error.
        {" 10 , 20 - 25 ", {}, {10, 20, 25}, {11}},
        {" 10, 1 x ,20 ", {" 1 x "}, {10, 20}, {1}},
    };
    for (const Row& row : rows) {
        CAPTURE(row.text);
        for (const auto& entry : row.invalid)
            expectInvalid(entry, row.text);
        const auto linesBefore = TestSupport::loggedLines().size();
        const auto filters = filtersOf(row.text);
        const auto lines = TestSupport::loggedLines();
        REQUIRE(lines.size() == linesBefore + row.invalid.size());
        for (std::size_t i = 0; i < row.invalid.size(); ++i)
            CHECK(lines[linesBefore + i].text.find("'" + row.invalid[i] + "'") != std::string::npos);
        CHECK(filters.hasFilters == !row.rejected.empty());
        checkCodes(filters, row.accepted, row.rejected);
    }
}

TEST_CASE("marker filters: a range is two numbers with one dash between them, anything else with a dash is an error")
{
    for (const char* entry : {"1-2-3", "1--2", "-1-2", "1-2-", "-5", "6-", "-", "--", "1-x", "x-2", "1- ", "0x1-9", "1-0x9"}) {
        CAPTURE(entry);
        const std::string text = std::string(entry) + ",8";
        expectInvalid(entry, text);
        const auto filters = filtersOf(text);
        CHECK(filters.codeRanges.empty());
        checkCodes(filters, {8}, {0, 1, 2, 3, 5, 6});
    }
}

TEST_CASE("marker filters: a range keeps its place in the list and both of its bounds")
{
    const auto filters = filtersOf("7-9,1-3");
    REQUIRE(filters.codeRanges.size() == 2);
    CHECK(filters.codeRanges[0].low == 7);
    CHECK(filters.codeRanges[0].high == 9);
    CHECK(filters.codeRanges[1].low == 1);
    CHECK(filters.codeRanges[1].high == 3);
    for (const auto& range : filters.codeRanges) {
        CHECK(range.lowBounded);
        CHECK(range.highBounded);
    }
}

TEST_CASE("marker filters: single codes are a set of load factor 1, in which a code is once")
{
    CHECK(filtersOf("4,4,4").singleCodes.size() == 1);
    const MarkerFilters filters;
    CHECK(filters.singleCodes.max_load_factor() == 1.f);
    // Before the first code: with one, every set has more.
    CHECK(filters.singleCodes.bucket_count() >= 10);
}

TEST_CASE("marker filters: a new text replaces the one before")
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
