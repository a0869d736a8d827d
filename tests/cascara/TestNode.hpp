#pragma once

#include <Cascara/StyleEngine.hpp>
#include <Cascara/Styleable.hpp>
#include <Facet/AttributeT.hpp>
#include <Facet/Node.hpp>

#include <map>
#include <memory>
#include <string>
#include <utility>

namespace CascaraTest
{
/// A node with an attribute of each kind.
class TestNode : public Facet::Node, public Cascara::Styleable
{
public:
    explicit TestNode(const char* type = "Node", const char* id = "", Cascara::StylePlace place = Cascara::StylePlace::Sibling);
    /// One whose maker does not say when it is complete.
    TestNode(Cascara::Styleable& parent, const char* type);

    Facet::AttributeT<float> width{this, "width"};
    Facet::AttributeT<float> height{this, "height"};
    Facet::AttributeT<QString> text{this, "text"};
    Facet::AttributeT<QStringList> list{this, "list"};
    Facet::AttributeT<Bedrock::Color> color{this, "color"};
    Facet::AttributeT<Bedrock::Color> backgroundColor{this, "background-color"};
    Facet::AttributeT<float> fontSize{this, "font-size", 16.f};

    /// Changes of visible values since the last call.
    int resetChanges() { return std::exchange(m_changes, 0); }

protected:
    void attributeChanged(Facet::Attribute&) override { ++m_changes; }

private:
    int m_changes = 0;
};

/// A node without any attribute.
class BareNode : public Facet::Node, public Cascara::Styleable
{
public:
    explicit BareNode(const char* type) : Cascara::Styleable(static_cast<Facet::Node&>(*this))
    {
        setCSSType(type);
        updateStyle();
    }
};

/// A tree of nodes found by id, and no style sheets before and after.
class StyleFixture
{
public:
    StyleFixture();
    ~StyleFixture();

    /// Adds a node under `parent` (an id; empty for a root).
    TestNode& add(const char* parent, const char* type, const char* id, const char* classes = "");
    /// As above, but one that is attached and no sibling.
    TestNode& attach(const char* parent, const char* type, const char* id);
    TestNode& operator[](const std::string& id) { return *nodes.at(id); }
    /// Adds a sheet named "test.css".
    void sheet(const char* css) { engine.addStyleSheet(QString::fromUtf8(css), QStringLiteral("test.css")); }
    /// Ids of the nodes whose layer 1 of "width" is set, in the order of ids.
    [[nodiscard]] std::string styled() const;

    Cascara::StyleEngine& engine = Cascara::StyleEngine::instance();
    std::map<std::string, std::unique_ptr<TestNode>> nodes;
};

/// Nodes restyled by `change`.
template <class Change>
long restyledBy(Change change)
{
    const long before = Cascara::StyleEngine::instance().counters().nodesRestyled;
    change();
    return Cascara::StyleEngine::instance().counters().nodesRestyled - before;
}
}
