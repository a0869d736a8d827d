#include "values/DependencyOrder.hpp"

#include <doctest/doctest.h>

#include <string>

using Cascara::DependencyOrder;

namespace
{
/// The indices in their order, those in a cycle with a star.
std::string order(const std::vector<std::vector<int>>& dependencies)
{
    std::string text;
    for (const auto& entry : DependencyOrder::of(dependencies))
        text += (text.empty() ? "" : " ") + std::to_string(entry.index) + (entry.isInCycle ? "*" : "");
    return text;
}
}

TEST_CASE("dependency order: each comes after what it depends on, and cycles are marked with all their members only")
{
    CHECK(order({}).empty());
    CHECK(order({{}, {}}) == "0 1");
    CHECK(order({{1}, {2}, {}}) == "2 1 0");
    CHECK(order({{1, 2}, {2}, {}}) == "2 1 0");
    CHECK(order({{0}}) == "0*");
    CHECK(order({{1}, {0}}) == "1* 0*");
    CHECK(order({{1}, {2}, {1}}) == "2* 1* 0");     // 0 only names members of a cycle
    CHECK(order({{1, 2}, {0}, {1}}) == "2* 1* 0*"); // through one that was left already
    CHECK(order({{1}, {0, 2}, {3}, {2}}) == "3* 2* 1* 0*");
    CHECK(order({{1}, {0, 2}, {3}, {4}, {3}}) == "4* 3* 2 1* 0*"); // 2 stands between two cycles
}

TEST_CASE("dependency order: a chain of any length needs no stack of the program")
{
    std::vector<std::vector<int>> chain(200000);
    for (std::size_t i = 0; i + 1 < chain.size(); ++i)
        chain[i].push_back(int(i) + 1);
    const auto entries = DependencyOrder::of(chain);
    REQUIRE(entries.size() == chain.size());
    CHECK(entries.front().index == int(chain.size()) - 1);
    CHECK(entries.back().index == 0);
}
