#include "conformance/StyleTable.hpp"

#include <doctest/doctest.h>

#include <string>
#include <vector>

using CascaraTest::StyleRow;

namespace
{
/// The width on a way from 0 to 1000, on which a transition with a negative delay has come so far at once.
StyleRow at(const char* timing, int percent, const char* expected)
{
    return {".n { width: 0px; transition: width 100s " + std::string(timing) + " -" + std::to_string(percent)
                + "s } .after { width: 1000px }",
            expected};
}
}

TEST_CASE("timing table: what CSS Easing says of steps, their jumps and their ends")
{
    CascaraTest::checkSheets("steps", "width",
                             {at("steps(4, end)", 24, "0"),
                              at("steps(4, end)", 25, "250"),
                              at("steps(4, end)", 99, "750"),
                              at("steps(4, jump-end)", 49, "250"),
                              at("steps(4)", 50, "500"),
                              at("steps(4, start)", 1, "250"),
                              at("steps(4, jump-start)", 25, "500"),
                              at("steps(4, jump-start)", 99, "1000"),
                              at("steps(4, jump-both)", 1, "200"),
                              at("steps(4, jump-both)", 25, "400"),
                              at("steps(4, jump-both)", 99, "800"),
                              at("steps(5, jump-none)", 19, "0"),
                              at("steps(5, jump-none)", 20, "250"),
                              at("steps(5, jump-none)", 99, "1000"),
                              at("step-start", 1, "1000"),
                              at("step-end", 99, "0"),
                              at("STEPS(2, START)", 10, "500"),
                              at("linear", 0, "0"),
                              at("linear", 37, "370"),
                              at("cubic-bezier(0, 0, 1, 1)", 25, "250"),
                              at("cubic-bezier(0.5, 0, 0.5, 1)", 50, "500"),
                              at("ease-in-out", 50, "500")});
}

TEST_CASE("timing table: what CSS Transitions says of durations, delays and lists")
{
    const auto row = [](const char* transition, const char* expected, int warnings = 0) {
        return StyleRow{".n { width: 0px; transition: " + std::string(transition) + " } .after { width: 1000px }", expected,
                        nullptr, warnings};
    };
    CascaraTest::checkSheets(
        "transitions", "width",
        {row("width 2s linear -1s", "500"),
         row("width -1s linear 2s", "1000", 1),
         row("linear width 2s -1s", "500"),
         row("2s -1s width linear", "500"),
         row("all 2s linear -1s", "500"),
         row("2s linear -1s", "500"),
         row("2000ms linear -500ms", "250"),
         row("width 2s linear -2s", "1000"),
         row("width 2s linear -3s", "1000"),
         row("width 0s linear 1s", "0"),
         row("width 0s linear -1s", "1000"),
         row("width 1s linear", "0"),
         row("width 0s", "1000"),
         row("none", "1000"),
         row("opacity 2s linear -1s", "1000"),
         row("all 2s linear -1s, width 4s linear -1s", "250"),
         row("width 4s linear -1s, all 2s linear -1s", "500"),
         row("width 2s linear -1s, opacity 1s", "500"),
         row("none, width 2s", "1000", 1),
         row("width 2s 1s 1s", "1000", 1),
         row("width 2s linear ease", "1000", 1),
         row("width 2px", "1000", 1),
         row("width height 2s", "1000", 1),
         row("width 2s linear -1s,", "1000", 1),
         row("width 2s cubic-bezier(2, 0, 0, 1) -1s", "1000", 1),
         row("width 2s cubic-bezier(0, 0, 1) -1s", "1000", 1),
         row("width 2s steps(0) -1s", "1000", 1),
         row("width 2s steps(1, jump-none) -1s", "1000", 1),
         row("width 2s steps(1.5) -1s", "1000", 1),
         {".n { width: 0px } .after { width: 1000px; transition: width 2s linear -1s }", "500"},
         {".n { width: 0px; transition: width 2s linear -1s } .n.after { width: 1000px; transition: none }", "1000"},
         {".n { width: 0px; transition: width 2s linear -1s } N { transition: none } .after { width: 1000px }", "500"},
         {".n { transition: width 2s linear -1s } .after { width: 1000px }", "500"},
         {"Panel { transition: width 2s linear -1s } .after { width: 1000px }", "1000"},
         {".n { --t: 2s; width: 0px; transition: width var(--t) linear -1s } .after { width: 1000px }", "500"},
         {".n { width: 0px; transition: width calc(1s + 1s) linear calc(-1 * 1s) } .after { width: 1000px }", "500"},
         {".n { width: 0px; transition: inherit } Panel { transition: width 2s linear -1s } .after { width: 1000px }", "500"},
         {".n { width: 0px; transition-property: width; transition-duration: 2s; transition-delay: -1s; "
          "transition-timing-function: linear } .after { width: 1000px }",
          "500"},
         {".n { width: 0px; transition-property: opacity, width; transition-duration: 9s, 2s; transition-delay: -1s; "
          "transition-timing-function: linear } .after { width: 1000px }",
          "500"},
         {".n { width: 0px; transition-duration: 2s; transition-delay: -1s; transition-timing-function: linear } "
          ".after { width: 1000px }",
          "500"},
         {".n { width: 0px; transition: width 2s linear -1s; transition-delay: -0.5s } .after { width: 1000px }", "250"},
         {".n { width: 0px; transition-delay: -0.5s; transition: width 2s linear -1s } .after { width: 1000px }", "500"},
         {".n { width: 0px; transition-property: none; transition-duration: 2s; transition-delay: -1s } "
          ".after { width: 1000px }",
          "1000"},
         {".n { width: 0px; transition: width 2s linear -1s; transition-duration: -2s } .after { width: 1000px }", "500", nullptr,
          1}});
}
