#include "conformance/StyleTable.hpp"
#include "selectors/SelectorParser.hpp"
#include "syntax/Tokenizer.hpp"

#include <doctest/doctest.h>

#include <string>

using CascaraTest::StyleRow;

namespace
{
StyleRow matches(const char* selector)
{
    return {std::string(selector) + " { width: 1px }", "1"};
}

StyleRow matchesNot(const char* selector)
{
    return {std::string(selector) + " { width: 1px }", "0"};
}

StyleRow isRefused(const char* selector, const char* skip = nullptr)
{
    return {std::string(selector) + " { width: 1px }", skip ? "1" : "0", skip, 1};
}
}

TEST_CASE("selector table: what CSS Selectors says of matching")
{
    const char* const kNone = "a state is set by the widget, structure is told by :first-child, :last-child and :nth-child()";
    CascaraTest::checkSheets("selectors", "width",
                             {matches("*"),
                              matches("N"),
                              matchesNot("n"),
                              matches("#n"),
                              matchesNot("#N"),
                              matches(".n"),
                              matchesNot(".N"),
                              matches("N#n.n"),
                              matches("*.n"),
                              matches("*#n"),
                              matches(".n.after"),
                              matchesNot(".n.panel"),
                              matches("Root N"),
                              matches("Root Panel N"),
                              matchesNot("Panel Root N"),
                              matches("Panel > N"),
                              matchesNot("Root > N"),
                              matches("Root>Panel>N"),
                              matches("Root > Panel N"),
                              matches("#first + #n"),
                              matches("#first+#n"),
                              matches("#first ~ #n"),
                              matchesNot("#last ~ #n"),
                              matchesNot("#n + #n"),
                              matches("* + *"),
                              matches("Root #first ~ .n"),
                              matches(".panel > #first + .n"),
                              matches("Nosuch, N"),
                              matches("N,Nosuch"),
                              matches(":not(.panel)"),
                              matchesNot(":not(.n)"),
                              matchesNot(":not(.panel, .n)"),
                              matchesNot(":not(Panel > N)"),
                              matches(":not(Root > N)"),
                              matches(":not(:not(N))"),
                              matches(":is(.n, .panel)"),
                              matches(":is(Panel, Root) > N"),
                              matches("Panel :is(.n)"),
                              matchesNot(":is(.panel > .panel)"),
                              matchesNot(":is()"),
                              matches(":not(:is())"),
                              matches("[id]"),
                              matches("[id=n]"),
                              matches("[id=\"n\"]"),
                              matches("[id='n']"),
                              matchesNot("[id=N]"),
                              matches("[id=N i]"),
                              matches("[id=\"N\"i]"),
                              matchesNot("[id=N s]"),
                              matches("[ id = n ]"),
                              matches("[id^=n]"),
                              matches("[id$=n]"),
                              matches("[id*=n]"),
                              matches("[id|=n]"),
                              matches("[id~=n]"),
                              matchesNot("[id^='']"),
                              matchesNot("[id$='']"),
                              matchesNot("[id*='']"),
                              matchesNot("[id~='']"),
                              matchesNot("[nosuch]"),
                              matchesNot(":first-child"),
                              matchesNot(":last-child"),
                              matches(":nth-child(2)"),
                              matches(":nth-child(even)"),
                              matchesNot(":nth-child(odd)"),
                              matches(":NTH-CHILD(EVEN)"),
                              matches(":nth-child(2n)"),
                              matches(":nth-child(2n+0)"),
                              matches(":nth-child(n)"),
                              matches(":nth-child(n+2)"),
                              matchesNot(":nth-child(n+3)"),
                              matches(":nth-child(-n+2)"),
                              matchesNot(":nth-child(-n+1)"),
                              matches(":nth-child( +3n - 1 )"),
                              matches(":nth-child(-n+ 6)"),
                              matches(":nth-child(+2)"),
                              matches(":nth-child(0n+2)"),
                              matchesNot(":nth-child(0n+0)"),
                              matchesNot(":nth-child(-2)"),
                              matches(":nth-child(1n+0)"),
                              matches(":nth-child(-1n+6)"),
                              matches(":nth-child(10n-8)"),
                              matches(":nth-child(N-1)"),
                              matchesNot(":first-child:nth-child(2)"),
                              matches("#first:first-child + N"),
                              matchesNot(".\\6e .x"),
                              matches(".\\6e"),
                              matches("#\\6e"),
                              matchesNot(":nosuch"),
                              matches(":not(:nosuch)"),
                              isRefused(":nth-child(3 n)"),
                              isRefused(":nth-child(+ 2n)"),
                              isRefused(":nth-child(+ 2)"),
                              isRefused(":nth-child(3n + -6)"),
                              isRefused(":nth-child(3 + n)"),
                              isRefused(":nth-child()"),
                              isRefused(":nth-child(a)"),
                              isRefused("N >"),
                              isRefused("> N"),
                              isRefused("N > > N"),
                              isRefused("N,"),
                              isRefused(",N"),
                              isRefused("N,,N"),
                              isRefused("#1"),
                              isRefused(".1"),
                              isRefused("."),
                              isRefused("N:"),
                              isRefused("N::before"),
                              isRefused("[id"),
                              isRefused("[]"),
                              isRefused("[=n]"),
                              isRefused("[id=]"),
                              isRefused("[id=1]"),
                              isRefused("[id==n]"),
                              isRefused("[id=n x]"),
                              isRefused(":not()"),
                              isRefused(":not(,)"),
                              isRefused(":not(N"),
                              isRefused("N#n N Panel,Root !"),
                              isRefused("*N"),
                              isRefused("N, :unknown()"),
                              isRefused(":where(N)", "its rules would weigh nothing, which no sheet here needs"),
                              isRefused(":has(*), N", "no rule looks down"),
                              isRefused(":nth-last-child(2)", kNone),
                              isRefused(":nth-of-type(2)", kNone),
                              isRefused(":nth-child(2 of N)", kNone),
                              isRefused("*|N", "types belong to no namespaces"),
                              isRefused("Root >> N", "blanks stand for descendants")});
}

TEST_CASE("selector table: what CSS Selectors says of specificity")
{
    struct Row
    {
        const char* selector;
        int ids, classes, types;
    };
    const Row rows[] = {{"*", 0, 0, 0},
                        {"LI", 0, 0, 1},
                        {"UL LI", 0, 0, 2},
                        {"UL OL+LI", 0, 0, 3},
                        {"H1 + *[REL=up]", 0, 1, 1},
                        {"UL OL LI.red", 0, 1, 3},
                        {"LI.red.level", 0, 2, 1},
                        {"#x34y", 1, 0, 0},
                        {"#s12:not(FOO)", 1, 0, 1},
                        {".foo :is(.bar, #baz)", 1, 1, 0},
                        {":is(em, #foo)", 1, 0, 0},
                        {":not(em, strong#foo)", 1, 0, 1},
                        {":is()", 0, 0, 0},
                        {"a:first-child", 0, 1, 1},
                        {":nth-child(2n+1)", 0, 1, 0},
                        {":root:root", 0, 2, 0},
                        {".a.a.a", 0, 3, 0},
                        {"[a][b~=c]", 0, 2, 0}};
    int passed = 0;
    for (const Row& row : rows) {
        CAPTURE(std::string(row.selector));
        const Cascara::Tokens tokens = Cascara::Tokenizer::run(QString::fromUtf8(row.selector));
        std::vector<Cascara::Selector> selectors;
        REQUIRE(Cascara::SelectorParser(tokens, 0, int(tokens.list.size()) - 1).parseList(selectors));
        const Cascara::Specificity& got = selectors.at(0).specificity;
        CHECK(got.ids == row.ids);
        CHECK(got.classes == row.classes);
        CHECK(got.types == row.types);
        passed += got == Cascara::Specificity{row.ids, row.classes, row.types} ? 1 : 0;
    }
    MESSAGE("specificity: " << passed << " of " << std::size(rows) << " that apply, 0 skipped");
}
