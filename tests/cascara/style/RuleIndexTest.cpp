#include "style/RuleIndex.hpp"
#include "sheet/StyleSheetParser.hpp"

#include <doctest/doctest.h>

#include <Facet/NameTable.hpp>

#include <algorithm>
#include <string>
#include <vector>

using namespace Cascara;

namespace
{
int number(const char* name)
{
    return Facet::NameTable::instance().number(QByteArray(name));
}

std::vector<std::unique_ptr<StyleSheet>> sheetsOf(std::initializer_list<const char*> texts)
{
    std::vector<std::unique_ptr<StyleSheet>> sheets;
    for (const char* text : texts)
        sheets.push_back(StyleSheetParser::parse(QString::fromUtf8(text), QStringLiteral("test.css"), QString()));
    return sheets;
}

/// The selectors that the index offers for the node, in alphabetical order.
std::string candidates(const RuleIndex& index, const NodeFeatures& node)
{
    std::vector<std::string> found;
    index.forEachCandidate(node, [&](const RuleIndex::Entry& entry) { found.push_back(entry.selector->text.toStdString()); });
    std::sort(found.begin(), found.end());
    std::string text;
    for (const std::string& selector : found)
        text += (text.empty() ? "" : ", ") + selector;
    return text;
}
}

TEST_CASE("rule index: a node is offered the selectors whose most selective feature on the right it has")
{
    const auto sheets = sheetsOf({"#a { x: 1 } B.c { x: 1 } B:on { x: 1 } B { x: 1 } * { x: 1 } .d B#e.c { x: 1 }",
                                  "C .c, D > B { x: 1 } :not(B) { x: 1 }"});
    RuleIndex index;
    index.build(sheets);
    struct Row
    {
        std::string name;
        NodeFeatures node;
        const char* expected;
    };
    NodeFeatures nothing, type, id, cssClass, state;
    type.type = number("B");
    id.id = number("a");
    cssClass.classes = {number("d"), number("c")};
    state.pseudoClasses = {number("on")};
    for (const Row& row :
         {Row{"nothing", nothing, "*, :not(B)"}, Row{"a type", type, "*, :not(B), B, D > B"}, Row{"an id", id, "#a, *, :not(B)"},
          Row{"classes", cssClass, "*, :not(B), B.c, C .c"}, Row{"a state", state, "*, :not(B), B:on"}}) {
        INFO(row.name);
        CHECK(candidates(index, row.node) == row.expected);
    }
}

TEST_CASE("rule index: a selector is possible only where the nodes above have what it wants of them")
{
    const auto sheets = sheetsOf({".a .x { x: 1 } .b > .x { x: 1 } .a .b .x { x: 1 } .a:not(.b) .x { x: 1 } .x { x: 1 }"});
    RuleIndex index;
    index.build(sheets);
    const auto possible = [&](const NodeFeatures& node) {
        std::vector<std::string> found;
        index.forEachPossible(node, [&](const RuleIndex::Entry& entry) { found.push_back(entry.selector->text.toStdString()); });
        return found;
    };
    NodeFeatures root, inner, leaf;
    root.classes = {number("a")};
    inner.parent = &root;
    leaf.parent = &inner;
    leaf.classes = {number("x")};
    CHECK(possible(leaf) == std::vector<std::string>{".a .x", ".a:not(.b) .x", ".x"});
    inner.classes = {number("b")};
    CHECK(possible(leaf) == std::vector<std::string>{".a .x", ".b > .x", ".a .b .x", ".a:not(.b) .x", ".x"});
    leaf.parent = nullptr;
    CHECK(possible(leaf) == std::vector<std::string>{".x"});
}

TEST_CASE("rule index: rules are numbered over all sheets, and a new build forgets the old ones")
{
    const auto sheets = sheetsOf({"A { x: 1 } A { x: 2 }", "A, A { x: 3 }"});
    RuleIndex index;
    index.build(sheets);
    NodeFeatures node;
    node.type = number("A");
    std::vector<int> orders;
    const auto collect = [&](const RuleIndex::Entry& entry) { orders.push_back(entry.order); };
    index.forEachCandidate(node, collect);
    CHECK(orders == std::vector<int>{0, 1, 2, 2});
    index.build({});
    orders.clear();
    index.forEachCandidate(node, collect);
    CHECK(orders.empty());
}
