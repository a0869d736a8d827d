#include "LogCapture.hpp"

#include <doctest/doctest.h>

#include <Facet/AttributeT.hpp>
#include <Facet/Node.hpp>

#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>

using Facet::AttributeT;
using Facet::kStyleLayer;
using Facet::kUserLayer;

namespace
{
/// Writes down when its hook runs.
class HookNode : public Facet::Node
{
public:
    std::string calls;
    AttributeT<int> count{this, "count", 1};

protected:
    void attributeChanged(Facet::Attribute& attribute) override { calls += "hook:" + attribute.name().toStdString() + ' '; }
};
}

TEST_CASE("attribute: the highest layer that is set shows, and clearing it lets the one below show again")
{
    Facet::Node node;
    AttributeT<int> attribute(&node, "count", 1);
    CHECK(attribute.value() == 1);
    CHECK(attribute.visibleLayer() == 0);
    attribute.setValue(3);
    CHECK(attribute.value() == 3);
    attribute.setValue(2, kStyleLayer);
    CHECK(attribute.value() == 3);
    CHECK(attribute.value(kStyleLayer) == 2);
    attribute.clearValue(kUserLayer);
    CHECK(attribute.value() == 2);
    CHECK(attribute.visibleLayer() == kStyleLayer);
    attribute.clearValue(kStyleLayer);
    CHECK(attribute.value() == 1);
    attribute.clearValue(Facet::kDefaultLayer);
    CHECK(attribute.value() == 1);
    CHECK(attribute.hasValue(Facet::kDefaultLayer));
}

TEST_CASE("attribute: listeners are called for changes of the visible value and for nothing else")
{
    struct Row
    {
        const char* what;
        void (*change)(AttributeT<int>&);
        int heard;
    };
    const Row rows[] = {
        {"a new value at run time", [](auto& a) { a.setValue(5); }, 1},
        {"the same value again", [](auto& a) { a.setValue(5); }, 0},
        {"another value below the visible one", [](auto& a) { a.setValue(7, kStyleLayer); }, 0},
        {"another default below the visible one", [](auto& a) { a.setValue(9, Facet::kDefaultLayer); }, 0},
        {"the layer below holds another value", [](auto& a) { a.clearValue(kUserLayer); }, 1},
        {"a layer that is not set", [](auto& a) { a.clearValue(kUserLayer); }, 0},
        {"the visible value on a higher layer", [](auto& a) { a.setValue(7); }, 0},
        {"the layer below holds the same value", [](auto& a) { a.clearValue(kUserLayer); }, 0},
        {"back to the default", [](auto& a) { a.clearValue(kStyleLayer); }, 1},
        {"a new default that shows", [](auto& a) { a.setValue(10, Facet::kDefaultLayer); }, 1},
    };
    Facet::Node node;
    AttributeT<int> attribute(&node, "count", 1);
    int heard = 0;
    attribute.addListener([&heard] { ++heard; });
    for (const Row& row : rows) {
        INFO(row.what);
        heard = 0;
        row.change(attribute);
        CHECK(heard == row.heard);
    }
}

TEST_CASE("attribute: the node's hook runs before the listeners, which read the new value")
{
    HookNode node;
    node.count.addListener([&node] { node.calls += "listener:" + std::to_string(node.count.value()); });
    node.count = 4;
    CHECK(node.calls == "hook:count listener:4");
}

TEST_CASE("attribute: a listener may set the attribute again")
{
    Facet::Node node;
    AttributeT<int> attribute(&node, "count", 0);
    int last = 0;
    attribute.addListener([&attribute] {
        if (attribute.value() < 3)
            attribute.setValue(attribute.value() + 1);
    });
    attribute.addListener([&] { last = attribute.value(); });
    attribute.setValue(1);
    CHECK(attribute.value() == 3);
    CHECK(last == 3);
}

TEST_CASE("attribute: listeners may be added and removed inside a call")
{
    Facet::Node node;
    AttributeT<int> attribute(&node, "count", 0);
    std::string calls;
    Facet::Attribute::ListenerId self = 0;
    Facet::Attribute::ListenerId other = 0;
    self = attribute.addListener([&] {
        calls += 'a';
        attribute.removeListener(self);
        attribute.removeListener(other);
        attribute.addListener([&calls] { calls += 'c'; });
    });
    other = attribute.addListener([&calls] { calls += 'b'; });
    attribute = 1;
    attribute = 2;
    CHECK(calls == "ac");
}

TEST_CASE("attribute: a listener may destroy the attribute, whose other listeners are then not called")
{
    Facet::Node node;
    auto attribute = std::make_unique<AttributeT<QString>>(&node, "text");
    std::string calls;
    attribute->addListener([&] {
        calls += 'a';
        attribute.reset();
    });
    attribute->addListener([&calls] { calls += 'b'; });
    attribute->setValue(QStringLiteral("x"));
    CHECK(calls == "a");
    CHECK(node.attributes().empty());
}

TEST_CASE(
    "attribute: what a listener captured lives until its own call has ended, also when the attribute goes in a change within it")
{
    Facet::Node node;
    auto attribute = std::make_unique<AttributeT<int>>(&node, "count", 0);
    auto captured = std::make_shared<int>(1);
    const std::weak_ptr<int> watched = captured;
    bool wasThere = false;
    int calls = 0;
    attribute->addListener([&, captured] {
        if (attribute->value() == 1)
            attribute->setValue(2);
        else
            attribute.reset();
        wasThere = *captured == 1;
        ++calls;
    });
    captured.reset();
    attribute->setValue(1);
    CHECK(wasThere);
    CHECK(calls == 2);
    CHECK(attribute == nullptr);
    CHECK(watched.expired());
}

TEST_CASE("attribute: a listener that is removed within a call is freed when the outermost call has ended")
{
    Facet::Node node;
    AttributeT<int> attribute(&node, "count", 0);
    auto captured = std::make_shared<int>(0);
    const std::weak_ptr<int> watched = captured;
    Facet::Attribute::ListenerId id = 0;
    bool wasThere = false;
    id = attribute.addListener([&, captured] {
        attribute.removeListener(id);
        wasThere = !watched.expired() && *captured == 0;
    });
    captured.reset();
    attribute = 1;
    CHECK(wasThere);
    CHECK(watched.expired());
}

TEST_CASE("attribute: a listener that owns the attribute takes it along when it is removed")
{
    Facet::Node node;
    auto attribute = std::make_shared<AttributeT<int>>(&node, "count", 0);
    AttributeT<int>* const bare = attribute.get();
    const std::weak_ptr<AttributeT<int>> watched = attribute;
    const auto id = attribute->addListener([attribute] { (void)attribute; });
    attribute.reset();
    CHECK_FALSE(watched.expired());
    bare->removeListener(id);
    CHECK(watched.expired());
    CHECK(node.attributes().empty());
}

TEST_CASE("attribute: one that is destroyed frees its listeners, and those of the other attributes stay")
{
    Facet::Node node;
    auto first = std::make_unique<AttributeT<int>>(&node, "count", 0);
    AttributeT<int> second(&node, "width", 0);
    int calls = 0;
    auto captured = std::make_shared<int>(0);
    const std::weak_ptr<int> watched = captured;
    first->addListener([captured] { ++*captured; });
    captured.reset();
    second.addListener([&calls] { ++calls; });
    first->setValue(1);
    CHECK_FALSE(watched.expired());
    first.reset();
    CHECK(watched.expired());
    second.setValue(1);
    CHECK(calls == 1);
}

TEST_CASE("attribute: clearing may destroy the attribute")
{
    Facet::Node node;
    auto attribute = std::make_unique<AttributeT<QString>>(&node, "text");
    attribute->setValue(QStringLiteral("x"));
    attribute->addListener([&attribute] { attribute.reset(); });
    attribute->clearValue(kUserLayer);
    CHECK(attribute == nullptr);
}

TEST_CASE("attribute: the node's hook may destroy the attribute")
{
    struct Destroyer : Facet::Node
    {
        std::unique_ptr<AttributeT<int>> attribute = std::make_unique<AttributeT<int>>(this, "count");
        void attributeChanged(Facet::Attribute&) override { attribute.reset(); }
    };
    Destroyer node;
    bool heard = false;
    node.attribute->addListener([&heard] { heard = true; });
    node.attribute->setValue(1);
    CHECK_FALSE(heard);
    CHECK(node.attribute == nullptr);
}

TEST_CASE("attribute: a listener that throws is logged and the others are called")
{
    Facet::Node node;
    AttributeT<int> attribute(&node, "count", 0);
    bool heard = false;
    attribute.addListener([] { throw std::runtime_error("no width"); });
    attribute.addListener([] { throw 1; });
    attribute.addListener([&heard] { heard = true; });
    TestSupport::expectError("Attribute::notifyChanged # A listener of attribute 'count' failed: no width");
    TestSupport::expectError("Attribute::notifyChanged # A listener of attribute 'count' failed: unknown exception");
    attribute = 1;
    CHECK(heard);
}

TEST_CASE("attribute: one that is destroyed after its node has no host and still works")
{
    auto node = std::make_unique<Facet::Node>();
    AttributeT<int> attribute(node.get(), "count", 0);
    CHECK(attribute.host() == node.get());
    node.reset();
    CHECK(attribute.host() == nullptr);
    attribute = 2;
    CHECK(attribute.value() == 2);
}

TEST_CASE("attribute: one whose node is gone keeps its hidden value and its listeners")
{
    auto node = std::make_unique<Facet::Node>();
    AttributeT<QString> attribute(node.get(), "text", QStringLiteral("a"));
    int heard = 0;
    attribute.addListener([&heard] { ++heard; });
    attribute.setValue(QStringLiteral("b"), kStyleLayer);
    attribute.setValue(QStringLiteral("c"));
    node.reset();
    CHECK(heard == 2);
    CHECK(attribute.value(kStyleLayer) == QStringLiteral("b"));
    attribute.clearValue(kUserLayer);
    CHECK(heard == 3);
    CHECK(attribute == QStringLiteral("b"));
}

TEST_CASE("attribute: values come and go on their layers in any order as three values would")
{
    std::mt19937 random(3);
    Facet::Node node;
    AttributeT<int> attribute(&node, "count", 0);
    int shown = 0;
    attribute.addListener([&] { shown = attribute.value(); });
    int values[Facet::kLayerCount] = {0, 0, 0};
    bool isSet[Facet::kLayerCount] = {true, false, false};
    for (int step = 0; step < 2000; ++step) {
        const int layer = int(random() % Facet::kLayerCount);
        if (random() % 3 == 0) {
            attribute.clearValue(layer);
            isSet[layer] = layer == Facet::kDefaultLayer;
        } else {
            values[layer] = int(random() % 4);
            isSet[layer] = true;
            attribute.setValue(values[layer], layer);
        }
        const int top = isSet[kUserLayer] ? kUserLayer : isSet[kStyleLayer] ? kStyleLayer : Facet::kDefaultLayer;
        REQUIRE(attribute.visibleLayer() == top);
        REQUIRE(attribute.value() == values[top]);
        REQUIRE(shown == values[top]);
        for (int i = 0; i < Facet::kLayerCount; ++i) {
            REQUIRE(attribute.hasValue(i) == isSet[i]);
            if (isSet[i])
                REQUIRE(attribute.value(i) == values[i]);
        }
    }
}

TEST_CASE("attribute: a name is known from the first attribute that had it")
{
    CHECK_FALSE(Facet::Attribute::isKnownName("attribute-test-name"));
    {
        Facet::Node node;
        AttributeT<int> attribute(&node, "attribute-test-name");
    }
    CHECK(Facet::Attribute::isKnownName("attribute-test-name"));
}
