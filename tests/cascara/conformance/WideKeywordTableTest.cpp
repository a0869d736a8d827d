#include "conformance/StyleTable.hpp"

#include <doctest/doctest.h>

TEST_CASE("wide keyword table: what CSS Cascade says of inherit, initial and unset on an attribute that is not inherited")
{
    const char* const kOneOrigin = "there is one origin, and there are no layers";
    CascaraTest::checkSheets("wide keywords", "width",
                             {{"Panel { width: 5px }", "0"},
                              {"Panel { width: 5px } .n { width: inherit }", "5"},
                              {"Panel { width: 5px } .n { width: INHERIT }", "5"},
                              {"Panel { width: 5px } .n { width: initial }", "0"},
                              {"Panel { width: 5px } .n { width: unset }", "0"},
                              {"Root { width: 5px } .n { width: inherit }", "0"},
                              {"Root { width: 5px } Panel, .n { width: inherit }", "5"},
                              {"N { width: 5px } .n { width: initial }", "0"},
                              {"N { width: initial } .n { width: 5px }", "5"},
                              {"N { width: initial !important } .n { width: 5px }", "0"},
                              {"Panel { width: 5px } .n { width: 3px; width: inherit }", "5"},
                              {"Panel { width: 5px } .n { --k: inherit; width: var(--k, 3px) }", "3"},
                              {"Panel { width: 5px } .n { width: var(--k, inherit) }", "5"},
                              {"Panel.after { width: 5px } .n { width: inherit }", "5"},
                              {"N { width: 5px } .n { width: 3px inherit }", "5", nullptr, 1},
                              {"N { width: 5px } .n { width: \"inherit\" }", "5", nullptr, 1},
                              {"N { width: 5px } .n { all: unset }", "0", "each attribute is named", 1},
                              {"N { width: 0px } .n { width: revert }", "5", kOneOrigin, 1},
                              {"N { width: 0px } .n { width: revert-layer }", "5", kOneOrigin, 1}});
}

TEST_CASE("wide keyword table: what CSS Cascade says of inherit, initial and unset on an inherited attribute")
{
    CascaraTest::checkSheets("wide keywords of what is inherited", "font-size",
                             {{"Root { font-size: 20px }", "20"},
                              {"Root { font-size: 20px } .n { font-size: inherit }", "20"},
                              {"Root { font-size: 20px } .n { font-size: unset }", "20"},
                              {"Root { font-size: 20px } .n { font-size: initial }", "16"},
                              {"Root { font-size: 20px } Panel { font-size: initial }", "16"},
                              {"Root { font-size: 20px } Panel { font-size: initial } .n { font-size: unset }", "16"},
                              {"Root { font-size: 20px } N { font-size: 30px } .n { font-size: unset }", "20"},
                              {"Root { font-size: 20px } .n { font-size: 2em }", "40"},
                              {"Root { font-size: 20px } .n { font-size: 150% }", "30"},
                              {"Root { font-size: 20px } Panel { font-size: 2em } .n { font-size: 0.5em }", "20"},
                              {"Root { font: 20px Inter } .n { font-weight: bold }", "20"},
                              {"Root { font-size: 20px } .n { font: inherit }", "20"},
                              {"Root { font-size: 20px } .n { font: initial }", "16"},
                              {"Root { font-size: 20px } .n { font: unset }", "20"},
                              {"Root.after { font-size: 20px }", "20"}});
}
