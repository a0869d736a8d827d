#include "LogCapture.hpp"
#include "TestNode.hpp"

#include <doctest/doctest.h>

#include <string>
#include <vector>

using CascaraTest::StyleFixture;
using TestSupport::expectWarning;

TEST_CASE("sheet messages: warnings come in the order of lines, whether the parser or a node found them")
{
    StyleFixture fixture;
    fixture.add("", "N", "n");
    const std::vector<std::string> expected = {
        "StyleEngine # test.css:1:5: width: expected a number, got 'a'; the declaration is skipped",
        "StyleEngine # test.css:2:5: width: expected ':' after the attribute name; the declaration is skipped",
        "StyleEngine # test.css:3:5: height: expected a number, got 'b'; the declaration is skipped"};
    for (const std::string& text : expected)
        expectWarning(text);
    fixture.sheet("N { width: a }\nN { width?: 1 }\nN { height: b }");
    std::vector<std::string> got;
    for (const auto& line : TestSupport::loggedLines())
        got.push_back(line.text);
    CHECK(got == expected);
}
