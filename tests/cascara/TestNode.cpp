#include "TestNode.hpp"

namespace CascaraTest
{
TestNode::TestNode(const char* type, const char* id, Cascara::StylePlace place)
    : Cascara::Styleable(static_cast<Facet::Node&>(*this), place)
{
    setCSSType(type);
    setCSSId(id);
    updateStyle();
    m_changes = 0;
}

TestNode::TestNode(Cascara::Styleable& parent, const char* type) : Cascara::Styleable(static_cast<Facet::Node&>(*this))
{
    setStyleParent(&parent);
    setCSSType(type);
}

StyleFixture::StyleFixture()
{
    engine.clearStyleSheets();
}

StyleFixture::~StyleFixture()
{
    nodes.clear();
    engine.clearStyleSheets();
    engine.finishStyling();
}

TestNode& StyleFixture::add(const char* parent, const char* type, const char* id, const char* classes)
{
    auto& node = nodes[id];
    node = std::make_unique<TestNode>(type, id);
    for (const QByteArray& name : QByteArray(classes).split(' '))
        if (!name.isEmpty())
            node->addCSSClass(name);
    if (*parent)
        node->setStyleParent(nodes.at(parent).get());
    return *node;
}

TestNode& StyleFixture::attach(const char* parent, const char* type, const char* id)
{
    auto& node = nodes[id];
    node = std::make_unique<TestNode>(type, id, Cascara::StylePlace::Attached);
    node->setStyleParent(nodes.at(parent).get());
    return *node;
}

std::string StyleFixture::styled() const
{
    std::string result;
    for (const auto& [id, node] : nodes)
        if (node->width.hasValue(Facet::kStyleLayer))
            result += (result.empty() ? "" : " ") + id;
    return result;
}
}
