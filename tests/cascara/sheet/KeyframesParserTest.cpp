#include "sheet/StyleSheetParser.hpp"

#include <doctest/doctest.h>

#include <string>

using Cascara::StyleSheetParser;

namespace
{
/// The keyframes of a sheet, and what is wrong in it, in one text.
std::string parsed(const char* css)
{
    const auto sheet = StyleSheetParser::parse(QString::fromUtf8(css), QStringLiteral("test.css"), QString());
    std::string result;
    for (const auto& keyframes : sheet->keyframes) {
        result += keyframes->name.toStdString() + (keyframes->media ? " in media" : "") + "[";
        for (const auto& frame : keyframes->frames) {
            result += " " + std::to_string(int(frame.offset * 100.0 + 0.5));
            for (const auto& declaration : frame.rule->declarations)
                result += " " + declaration.attribute.toStdString() + "=" + declaration.text().toStdString();
        }
        result += " ]";
    }
    for (const auto& error : sheet->errors)
        result += "\n" + std::to_string(error.line) + ":" + std::to_string(error.column) + " " + error.text.toStdString();
    return result;
}
}

TEST_CASE("keyframes parser: moments have declarations, and several moments may share them")
{
    CHECK(parsed("@keyframes grow { from { scale: 0.8; opacity: 0 } to { scale: 1 } }")
          == "grow[ 0 scale=0.8 opacity=0 100 scale=1 ]");
    CHECK(parsed("@KEYFRAMES \"a b\" { 0%, 50% ,TO { width: 1 } 12.5% { width: 2 } }")
          == "a b[ 0 width=1 50 width=1 100 width=1 13 width=2 ]");
    CHECK(parsed("@keyframes x {} N { width: 1 } @keyframes x { to { width: var(--w) } }") == "x[ ]x[ 100 width=var(--w) ]");
    CHECK(parsed("@media (width > 1px) { @keyframes x { to { width: 1 } } }") == "x in media[ 100 width=1 ]");
    CHECK(parsed("@keyframes x { from { border: 2px solid red; animation-timing-function: linear } }")
          == "x[ 0 border-width=2px border-color=red animation-timing-function=linear ]");
}

TEST_CASE("keyframes parser: a mistake costs the smallest piece")
{
    struct Row
    {
        const char* css;
        const char* expected;
    };
    const Row rows[] = {
        {"@keyframes { from { width: 1 } }", "\n1:1 expected a name and '{' after '@keyframes'; it is skipped"},
        {"@keyframes none { from { width: 1 } } @keyframes a {}",
         "a[ ]\n1:1 expected a name and '{' after '@keyframes'; it is skipped"},
        {"@keyframes inherit { } @keyframes a {}", "a[ ]\n1:1 expected a name and '{' after '@keyframes'; it is skipped"},
        {"@keyframes a b { from { width: 1 } } N { width: 1 }",
         "\n1:1 expected a name and '{' after '@keyframes'; it is skipped"},
        {"@keyframes a; @keyframes b {}", "b[ ]\n1:1 expected a name and '{' after '@keyframes'; it is skipped"},
        {"@keyframes a { 120% { width: 1 } to { width: 2 } }",
         "a[ 100 width=2 ]\n1:16 expected from, to or a percentage up to 100%, got '120%'; the keyframe is skipped"},
        {"@keyframes a { from to { width: 1 } to { width: 2 } }",
         "a[ 100 width=2 ]\n1:16 expected from, to or a percentage up to 100%, got 'from to'; the keyframe is skipped"},
        {"@keyframes a { from, { width: 1 } }",
         "a[ ]\n1:16 expected from, to or a percentage up to 100%, got 'from,'; the keyframe is skipped"},
        {"@keyframes a { 1px { width: 1 } }",
         "a[ ]\n1:16 expected from, to or a percentage up to 100%, got '1px'; the keyframe is skipped"},
        {"@keyframes a { width: 1 } @keyframes b {}", "a[ ]b[ ]\n1:16 expected '{' after 'width: 1'; the keyframe is skipped"},
        {"@keyframes a { to { width: 1 }", "a[ 100 width=1 ]\n1:14 the block is not closed; it ends with the file"},
        {"@keyframes a { to { width: 1; tooltip-timeout: 3; height: 2 } }",
         "a[ 100 width=1 height=2 ]\n1:31 'tooltip-timeout' takes no part in animations; the declaration is skipped"},
        {"@keyframes a { to { opacty: 1 } }",
         "a[ 100 ]\n1:21 'opacty' takes no part in animations (did you mean 'opacity'?); the declaration is skipped"},
        {"@keyframes a { to { width: 1 !important; height: 2 } }",
         "a[ 100 height=2 ]\n1:21 width: nothing in a keyframe is !important; the declaration is skipped"},
        {"@keyframes a { to { animation-name: b } }",
         "a[ 100 ]\n1:21 'animation-name' takes no part in animations; the declaration is skipped"},
        {"@keyframe a { to { width: 1 } }", "\n1:1 @keyframe is not supported (did you mean 'keyframes'?); it is skipped"},
        {"N { @keyframes a { to { width: 1 } } }", "\n1:5 @keyframes is not supported; it is skipped"},
        {"@keyframes a {} @import \"b.css\";", "a[ ]\n1:17 @import must stand before all rules; it is skipped"},
    };
    for (const Row& row : rows) {
        CAPTURE(std::string(row.css));
        CHECK(parsed(row.css) == row.expected);
    }
}
