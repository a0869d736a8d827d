#include "conformance/StyleTable.hpp"

#include <doctest/doctest.h>

TEST_CASE("font size table: what CSS Fonts says of the words for sizes")
{
    CascaraTest::checkSheets("font sizes", "font-size",
                             {{"N { font-size: xx-small }", "9.6"},
                              {"N { font-size: x-small }", "12"},
                              {"N { font-size: small }", "14.22222"},
                              {"Root { font-size: 30px } N { font-size: medium }", "16"},
                              {"N { font-size: Large }", "19.2"},
                              {"N { font-size: x-large }", "24"},
                              {"N { font-size: xx-large }", "32"},
                              {"N { font-size: xxx-large }", "48"},
                              {"Root { font-size: 20px } N { font-size: larger }", "24"},
                              {"Root { font-size: 24px } N { font-size: smaller }", "20"},
                              {"Root { font-size: small } Panel { font-size: larger } N { font-size: SMALLER }", "14.22222"},
                              {"Root { font-size: large } N { font-size: 50% }", "9.6"},
                              {"Root { font-size: 20px } N { --s: larger; font-size: var(--s) }", "24"},
                              {"Panel.after { font-size: 20px } N { font-size: larger }", "24"},
                              {"N { font: bold x-large/1.2 Inter }", "24"},
                              {"Root { font-size: 20px } N { font: larger Inter }", "24"},
                              {"N { font-size: small large }", "16", nullptr, 1},
                              {"N { font-size: tiny }", "16", nullptr, 1},
                              {"N { font-size: \"small\" }", "16", nullptr, 1}});
}
