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

TEST_CASE("sheet messages: sheets that are read together end with their warnings in the order of lines, also of what is in none")
{
    StyleFixture fixture;
    const std::vector<std::string> expected = {
        "StyleEngine # test.css:1:5: width: there is no variable '--wdie' (did you mean '--wide'?); the default is used",
        "StyleEngine # test.css:2:5: animation-name: there are no @keyframes 'gro' (did you mean 'grow'?); nothing moves",
        "StyleEngine # test.css:3:5: width: expected ':' after the attribute name; the declaration is skipped",
        "StyleEngine # test.css:4:1: @font-face: odd; and so on"};
    for (const std::string& text : expected)
        expectWarning(text);
    {
        const Cascara::StyleEngine::Batch batch;
        fixture.sheet("N { width: var(--wdie) }\nN { animation: gro 1s }\nN { width?: 1 }");
        Cascara::FontFace face;
        face.sheet = QStringLiteral("test.css");
        face.line = 4;
        face.column = 1;
        Cascara::StyleEngine::warnOfFontFace(face, QStringLiteral("odd; and so on"));
        fixture.sheet("Root { --wide: 1 } @keyframes grow { from { width: 2 } }"); // no mistake: the names are in a later sheet
        CHECK(TestSupport::loggedLines().empty());
    }
    std::vector<std::string> got;
    for (const auto& line : TestSupport::loggedLines())
        got.push_back(line.text);
    CHECK(got == expected);
    fixture.add("", "N", "n"); // and nothing is told again
    fixture.engine.beginAnimations();
}
