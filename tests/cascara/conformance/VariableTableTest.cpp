#include "conformance/StyleTable.hpp"

#include <doctest/doctest.h>

TEST_CASE("variable table: what CSS Custom Properties says of definitions, inheritance, fallbacks and cycles")
{
    CascaraTest::checkSheets(
        "variables", "width",
        {{".n { --a: 1px; width: var(--a) }", "1"},
         {".n { width: var(--a); --a: 1px }", "1"},
         {"Root { --a: 1px } .n { width: var(--a) }", "1"},
         {"Root { --a: 1px } .panel { --a: 2px } .n { width: var(--a) }", "2"},
         {"Root { --a: 1px } .panel { --a: 2px } .n { --a: 3px; width: var(--a) }", "3"},
         {".n { --a: 1px } #n { --a: 2px } N { width: var(--a) }", "2"},
         {".n { --a: 1px !important } #n { --a: 2px } N { width: var(--a) }", "1"},
         {".n { --a: 1px; --A: 2px; width: var(--A) }", "2"},
         {".n { --foo: 1px; --FOO: 2px; width: VAR(--foo) }", "1"},
         {".n { --\\61: 1px; width: var(--a) }", "1"},
         {".n { --1: 1px; width: var(--1) }", "1"},
         {".n { ---: 1px; width: var(---) }", "1"},
         {".n { --a:1px; width:var( --a ) }", "1"},
         {".n { --a: 1px; width: var(--b, 2px) }", "2", nullptr, 0},
         {".n { --a: 1px; width: var(--a, 2px) }", "1"},
         {".n { width: var(--b, var(--c, 3px)) }", "3"},
         {".n { --a: var(--b); --b: 1px; width: var(--a) }", "1"},
         {".n { --a: var(--b, 2px); width: var(--a) }", "2"},
         {".n { --a: var(--a); width: var(--a, 2px) }", "2"},
         {".n { --a: var(--b); --b: var(--a); width: var(--a, 2px) }", "2"},
         {".n { --a: var(--b, 1px); --b: var(--a, 1px); width: var(--a, 2px) }", "2"},
         {".n { --a: var(--b); --b: var(--c); --c: var(--b); width: var(--a, 2px) }", "2"},
         {"Root { --a: 4px } .panel { --a: var(--a); } .n { width: var(--a, 2px) }", "2"}, // a cycle, whatever is inherited
         {"Root { --a: 1px; --b: var(--a) } .n { --a: 2px; width: var(--b) }", "1"},       // substituted where it is defined
         {"Root { --a: 1px } .n { --a: initial; width: var(--a, 2px) }", "2"},
         {"Root { --a: 1px } .n { --a: inherit; width: var(--a, 2px) }", "1"},
         {"Root { --a: 1px } .n { --a: unset; width: var(--a, 2px) }", "1"},
         {".n { --a: ; width: 1px var(--a) }", "1"},
         {".n { --a:; width: 1px var(--a) }", "1"},
         {".n { --a: 1px; width: 3px; width: var(--a) }", "1"},
         {"N { width: 3px } .n { --a: red; width: var(--a) }", "0", nullptr, 1}, // no weaker rule
         {".n { width: 3px; width: var(--nosuch) }", "0", nullptr, 1},
         {".n { --a: 1px; width: calc(var(--a) + 2px) }", "3"},
         {".n { --a: 1px + 2px; width: calc(var(--a)) }", "3"},
         {".n { --a: 1px + 2px; width: calc(var(--a) * 2) }", "5"}, // tokens, not values
         {".n { --a: 1; width: var(--a)px }", "0", nullptr, 1},     // tokens do not grow together
         {".n { --a: 1px; width: var(--a", "1", nullptr, 1},        // closed by the end of the sheet
         {".n { --a: 1px; width: var(--a }", "0", nullptr, 2},
         {".n { --a: 1px; width: var(a) }", "0", nullptr, 1},
         {".n { width: 1px; width: var() }", "1", nullptr, 1},
         {".n { width: 1px; width: var(--a b) }", "1", nullptr, 1},
         {".n { width: 1px; width: var(--a, !) }", "1", nullptr, 1},
         {".n { width: 1px; width: var(--a, ;) }", "1", nullptr, 1},
         {".n { width: 1px; width: var(--a, (!;)) }", "0", nullptr, 1},
         {".n { --a: 1px; --a: 2px ! 3px; width: var(--a) }", "1", nullptr, 1},
         {".n { --a: 1px; --a: [1; width: var(--a) }", "0", nullptr, 2},
         {".n { --a: 1px; --a: ); width: var(--a) }", "1", nullptr, 1},
         {".n { --a: 1px; --a: \"\n; width: var(--a) }", "1", nullptr, 1},
         {".n { --a: { x: y }; width: var(--a, 2px) }", "0", nullptr, 1},
         {".n { --a: 1px; width: var(--a,) }", "1"},
         {".n { --b: var(--a,); width: 1px var(--b) }", "1"},
         {".n { --w: width; var(--w): 1px }", "0", nullptr, 1},
         {".after { --a: 1px } .n { width: var(--a, 2px) }", "1"},
         {"Root { --a: 2px } Root.after { --a: 1px } .n { width: var(--a) }", "1"},
         {".n { width: env(nosuch, 1px) }", "1", "nothing outside of sheets has values for them", 1}});
}
