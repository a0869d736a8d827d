#include "LogCapture.hpp"
#include "TestNode.hpp"

#include <Cascara/LazyAttributeManager.hpp>

#include <doctest/doctest.h>

#include <stdexcept>
#include <vector>

using Cascara::LazyAttributeManager;
using CascaraTest::StyleFixture;
using CascaraTest::TestNode;
using FloatAttribute = Facet::AttributeT<float>;

namespace
{
int made = 0;

std::unique_ptr<Facet::Attribute> makeTracking(TestNode& node, const QByteArray& name)
{
    ++made;
    return std::make_unique<FloatAttribute>(&node, name);
}

struct Plain : Facet::Node, Cascara::Styleable
{
    Plain() : Styleable(static_cast<Facet::Node&>(*this)) {}
};
}

TEST_CASE("lazy attribute: is made once per node, when a style sheet first names it for the node, and then gets the value")
{
    made = 0;
    const LazyAttributeManager::Registrant registrant("lazy-a", &makeTracking);
    StyleFixture fixture;
    auto& node = fixture.add("", "N", "n");
    fixture.add("", "M", "m");
    CHECK(made == 0);
    fixture.sheet(".on { lazy-a: 2 } .more { lazy-a: 3 }");
    CHECK(made == 0);
    CHECK(node.attribute("lazy-a") == nullptr);
    node.addCSSClass("on");
    REQUIRE(made == 1);
    auto* attribute = dynamic_cast<FloatAttribute*>(node.attribute("lazy-a"));
    REQUIRE(attribute);
    CHECK(attribute->value() == 2.f);
    node.addCSSClass("more");
    CHECK(attribute->value() == 3.f);
    node.removeCSSClasses({"on", "more"});
    CHECK(node.attribute("lazy-a") == attribute);
    CHECK_FALSE(attribute->hasValue(Facet::kStyleLayer));
    node.addCSSClass("on");
    CHECK(made == 1);
    CHECK(attribute->value() == 2.f);
    CHECK(fixture["m"].attribute("lazy-a") == nullptr);
}

TEST_CASE("lazy attribute: goes with its node, without calling its listeners")
{
    const LazyAttributeManager::Registrant registrant("lazy-b", &makeTracking);
    StyleFixture fixture;
    fixture.sheet("N { lazy-b: 2 }");
    auto node = std::make_unique<TestNode>("N");
    bool heard = false;
    node->attribute("lazy-b")->addListener([&heard] { heard = true; });
    node.reset();
    CHECK_FALSE(heard);
}

TEST_CASE("lazy attribute: a node of another kind does not get it, in silence")
{
    const LazyAttributeManager::Registrant registrant("lazy-c", &makeTracking);
    StyleFixture fixture;
    Plain plain;
    plain.setCSSType("Plain");
    fixture.sheet("Plain { lazy-c: 2 }");
    CHECK(plain.attribute("lazy-c") == nullptr);
}

TEST_CASE("lazy attribute: taking the creator away takes its attributes away")
{
    StyleFixture fixture;
    auto& node = fixture.add("", "N", "n");
    TestSupport::expectWarning(
        "StyleEngine # test.css:1:5: lazy-d: no attribute has this name (did you mean 'lazy-a'?); the declaration is skipped");
    fixture.sheet("N { lazy-d: 2; width: 1 }");
    {
        const LazyAttributeManager::Registrant registrant("lazy-d", &makeTracking);
        CHECK(LazyAttributeManager::isRegistered("lazy-d"));
        node.updateStyle();
        CHECK(node.attribute("lazy-d") != nullptr);
    }
    CHECK_FALSE(LazyAttributeManager::isRegistered("lazy-d"));
    CHECK(node.attribute("lazy-d") == nullptr);
    CHECK(node.width == 1.f);
    // A library that is loaded again gives it again.
    const LazyAttributeManager::Registrant again("lazy-d", &makeTracking);
    node.updateStyle();
    REQUIRE(node.attribute("lazy-d"));
    CHECK(node.attribute("lazy-d")->toText() == QStringLiteral("2"));
}

TEST_CASE(
    "lazy attribute: before it goes with its creator, its listeners hear that its values went, as long as the node is there")
{
    StyleFixture fixture;
    auto& node = fixture.add("", "N", "n");
    auto other = std::make_unique<TestNode>("N");
    std::vector<float> heard;
    {
        const LazyAttributeManager::Registrant registrant("lazy-g", &makeTracking);
        fixture.sheet("N { lazy-g: 2 }");
        auto* attribute = dynamic_cast<FloatAttribute*>(node.attribute("lazy-g"));
        auto* others = dynamic_cast<FloatAttribute*>(other->attribute("lazy-g"));
        REQUIRE(attribute);
        REQUIRE(others);
        attribute->setValue(3.f, Facet::kUserLayer);
        // Each takes the other node away if it comes first: the listener of a node that is gone is not called.
        attribute->addListener([&, attribute] {
            heard.push_back(*attribute);
            other.reset();
        });
        others->addListener([&] {
            if (!other)
                heard.push_back(-1.f);
        });
    }
    CHECK(heard == std::vector<float>{2.f, 0.f});
    CHECK(node.attribute("lazy-g") == nullptr);
}

TEST_CASE("lazy attribute: a value that does not fit is a warning, and the attribute stays without it")
{
    const LazyAttributeManager::Registrant registrant("lazy-e", &makeTracking);
    StyleFixture fixture;
    auto& node = fixture.add("", "N", "n");
    TestSupport::expectWarning("StyleEngine # test.css:1:5: lazy-e: expected a number, got 'x'; the declaration is skipped");
    fixture.sheet("N { lazy-e: x }");
    REQUIRE(node.attribute("lazy-e"));
    CHECK_FALSE(node.attribute("lazy-e")->hasValue(Facet::kStyleLayer));
}

TEST_CASE("lazy attribute: a creator that throws is logged and costs its attribute only")
{
    const LazyAttributeManager::Registrant registrant(
        "lazy-f", LazyAttributeManager::Creator([](Cascara::Styleable&, const QByteArray&) -> std::unique_ptr<Facet::Attribute> {
            throw std::runtime_error("no reader");
        }));
    StyleFixture fixture;
    auto& node = fixture.add("", "N", "n");
    TestSupport::expectError("LazyAttributeManager # Making attribute 'lazy-f' of node " + std::to_string(node.id())
                             + " failed: no reader");
    fixture.sheet("N { lazy-f: x; width: 1 }");
    CHECK(node.width == 1.f);
}
