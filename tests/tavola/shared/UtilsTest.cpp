#include <Tavola/Utils.hpp>

#include <doctest/doctest.h>

TEST_CASE("utils: the class of temporary widgets is the one that style sheets name")
{
    CHECK(Tavola::Utils::temporaryWidgetCSSClass() == "tavola-temporary");
}
