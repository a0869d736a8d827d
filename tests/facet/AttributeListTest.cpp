#include "AllocationCounter.hpp"

#include <doctest/doctest.h>

#include <Facet/AttributeList.hpp>
#include <Facet/AttributeT.hpp>

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

using Facet::AttributeList;
using FloatAttribute = Facet::AttributeT<float>;

namespace
{
/// Attributes as members of a class. No other test has attributes of these names: what lists share of a sequence of names depends
/// on the distances at which they were first seen.
struct Members
{
    FloatAttribute width{nullptr, "members-width"};
    FloatAttribute height{nullptr, "members-height"};
    FloatAttribute depth{nullptr, "members-depth"};

    void addTo(AttributeList& list)
    {
        for (FloatAttribute* attribute : {&width, &height, &depth})
            list.add(*attribute);
    }
};

int number(const char* name)
{
    return Facet::AttributeName(name).number();
}
}

TEST_CASE("attribute list: finds attributes by the number of their name and lists them in order")
{
    Members members;
    AttributeList list;
    CHECK(list.all().empty());
    CHECK(list.find(number("members-width")) == nullptr);
    members.addTo(list);
    CHECK(list.all() == std::vector<Facet::Attribute*>{&members.width, &members.height, &members.depth});
    CHECK(list.find(number("members-height")) == &members.height);
    CHECK(list.find(number("colour")) == nullptr);
}

TEST_CASE("attribute list: attributes that are members of one class need no memory of a list's own")
{
    Members first;
    Members second;
    {
        AttributeList list;
        first.addTo(list); // what lists like this share
    }
    const long before = FacetTest::allocations();
    AttributeList list;
    second.addTo(list);
    CHECK(FacetTest::allocations() == before);
    CHECK(list.find(number("members-depth")) == &second.depth);
}

TEST_CASE(
    "attribute list: an attribute whose distance differs from list to list takes memory of its list, and none that all share")
{
    constexpr int kCount = 30;
    // One beside the other.
    struct
    {
        FloatAttribute first{nullptr, "apart-first"};
        std::array<std::optional<FloatAttribute>, kCount> others;
    } node;
    for (auto& other : node.others)
        other.emplace(nullptr, "apart-second");
    const int secondName = number("apart-second");
    const auto allocationsOfAll = [&] {
        const long before = FacetTest::allocations();
        for (auto& other : node.others) {
            AttributeList list;
            list.add(node.first);
            list.add(*other);
            CHECK(list.find(secondName) == &*other);
        }
        return FacetTest::allocations() - before;
    };
    (void)allocationsOfAll(); // what lists like these share
    CHECK(allocationsOfAll() >= kCount - 1);
}

TEST_CASE("attribute list: of two attributes with one name the first is found, and the second after it is gone")
{
    FloatAttribute first(nullptr, "width");
    FloatAttribute other(nullptr, "height");
    FloatAttribute second(nullptr, "width");
    AttributeList list;
    for (FloatAttribute* attribute : {&first, &other, &second})
        list.add(*attribute);
    CHECK(list.find(number("width")) == &first);
    list.remove(first);
    CHECK(list.find(number("width")) == &second);
    CHECK(list.all() == std::vector<Facet::Attribute*>{&other, &second});
}

TEST_CASE("attribute list: any order of adding and removing, near and far in memory, gives what a plain list gives")
{
    constexpr int kCount = 24;
    std::mt19937 random(7);
    std::vector<std::unique_ptr<FloatAttribute>> attributes;
    std::vector<std::unique_ptr<char[]>> gaps; // so that distances differ
    for (int i = 0; i < kCount; ++i) {
        attributes.push_back(std::make_unique<FloatAttribute>(nullptr, ("random-" + std::to_string(i % 20)).c_str()));
        gaps.push_back(std::make_unique<char[]>(random() % 6000));
    }
    for (int round = 0; round < 40; ++round) {
        std::shuffle(attributes.begin(), attributes.end(), random);
        AttributeList list;
        std::vector<Facet::Attribute*> expected;
        for (int step = 0; step < 60; ++step) {
            FloatAttribute& attribute = *attributes[random() % kCount];
            const auto found = std::find(expected.begin(), expected.end(), &attribute);
            if (found == expected.end()) {
                list.add(attribute);
                expected.push_back(&attribute);
            } else {
                list.remove(attribute);
                expected.erase(found);
            }
            REQUIRE(list.all() == expected);
            for (int name = 0; name < 20; ++name) {
                const int nameNumber = number(("random-" + std::to_string(name)).c_str());
                const auto first = std::find_if(expected.begin(), expected.end(), [nameNumber](const Facet::Attribute* entry) {
                    return entry->nameNumber() == nameNumber;
                });
                REQUIRE(list.find(nameNumber) == (first == expected.end() ? nullptr : *first));
            }
        }
    }
}
