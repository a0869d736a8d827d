#include "selectors/FeatureSet.hpp"

#include <doctest/doctest.h>

#include <random>
#include <vector>

using namespace Cascara;
using Kind = Feature::Kind;

TEST_CASE("feature set: an empty set holds nothing, and is held by any")
{
    FeatureSet empty, one;
    one.add(Feature{Kind::Class, 7});
    CHECK(empty.isEmpty());
    CHECK_FALSE(one.isEmpty());
    CHECK(one.mayContainAll(empty));
    CHECK_FALSE(empty.mayContainAll(one));
}

TEST_CASE("feature set: the same number as class, type, id and state is four features")
{
    for (const Kind kind : {Kind::Type, Kind::Id, Kind::PseudoClass}) {
        FeatureSet cssClass, other;
        cssClass.add(Feature{Kind::Class, 7});
        other.add(Feature{kind, 7});
        CHECK_FALSE(cssClass.mayContainAll(other));
    }
}

TEST_CASE("feature set: no selector that matches is ever ruled out")
{
    std::mt19937 random(1);
    const auto below = [&random](int end) { return int(random() % unsigned(end)); };
    int matched = 0;
    int ruledOut = 0;
    for (int round = 0; round < 20000; ++round) {
        std::vector<NodeFeatures> nodes(std::size_t(2 + below(5)));
        std::vector<NodeFeatures> siblings(nodes.size()); // one before each
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            nodes[i].type = below(4);
            nodes[i].id = below(4);
            for (int k = below(3); k > 0; --k)
                nodes[i].classes.push_back(below(6));
            if (below(2) == 0)
                nodes[i].pseudoClasses.push_back(below(3));
            nodes[i].parent = i > 0 ? &nodes[i - 1] : nullptr;
            siblings[i].type = below(4);
            siblings[i].classes = {below(6)};
            siblings[i].parent = nodes[i].parent;
            nodes[i].previous = &siblings[i];
        }
        Selector selector;
        for (int k = 1 + below(3); k > 0; --k) {
            Selector::Part part;
            part.toLeft = Combinator(below(4));
            for (int f = below(3); f > 0; --f)
                part.compound.features.push_back({Kind(below(4)), below(6)});
            selector.parts.push_back(part);
        }
        const bool isPossible = FeatureSet::above(nodes.back()).mayContainAll(FeatureSet::neededAbove(selector));
        const bool matches = selector.matches(nodes.back());
        matched += matches;
        ruledOut += !isPossible;
        REQUIRE((isPossible || !matches));
    }
    CHECK(matched > 1000);
    CHECK(ruledOut > 1000);
}

TEST_CASE("feature set: of other features than a few it holds, hardly one in fifty seems to be held")
{
    int seeming = 0;
    constexpr int kSets = 50, kOthers = 200;
    for (int first = 0; first < kSets; ++first) {
        FeatureSet set;
        for (int i = 0; i < 7; ++i)
            set.add(Feature{Kind::Class, 1000 + 7 * first + i});
        for (int other = 0; other < kOthers; ++other) {
            FeatureSet one;
            one.add(Feature{Kind::Id, 100 + other});
            seeming += set.mayContainAll(one);
        }
    }
    CHECK(seeming < kSets * kOthers / 50);
}
