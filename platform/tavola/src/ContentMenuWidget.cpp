#include <Tavola/ContentMenuWidget.hpp>

#include "AttributeValues.hpp"

#include <Bedrock/IntrusiveWeakPtr.hpp>
#include <Tavola/LaunchedContentOperator.hpp>
#include <Trellis/FadeAnimator.hpp>

#include <map>

namespace Tavola
{
namespace
{
constexpr float kFadeOutSeconds = 0.2f;
}

struct ContentMenuWidget::MenuPrivate
{
    std::map<NodeId, Bedrock::IntrusiveWeakPtr<Trellis::Widget>> nodes;
    NodeId lastNode = 0;
};

ContentMenuWidget::ContentMenuWidget(Trellis::Widget* parent) : Trellis::Widget(parent), d(std::make_unique<MenuPrivate>())
{
    setDefault(*this, "position", "absolute");
    setDefault(*this, "input-transparent", "true");
    setCSSType("ContentMenuWidget");
}

ContentMenuWidget::~ContentMenuWidget() = default;

ContentMenuWidget::NodeId ContentMenuWidget::prepare(Vecta::Vector2T<float> point)
{
    const auto node = Bedrock::makeIntrusive<Trellis::Widget>(this);
    node->setCSSType("ContentMenuNode");
    node->addOperator(Bedrock::makeIntrusive<LaunchedContentOperator>(false, mapFromParent(point), 0.3f));
    d->nodes.emplace(++d->lastNode, node);
    return d->lastNode;
}

void ContentMenuWidget::closeNode(NodeId node)
{
    if (const auto widget = nodeWidget(node))
        Trellis::FadeAnimator::fadeOutAndDelete(*widget, kFadeOutSeconds, 0.f);
    d->nodes.erase(node);
}

Bedrock::IntrusivePtr<Trellis::Widget> ContentMenuWidget::nodeWidget(NodeId node) const
{
    const auto found = d->nodes.find(node);
    return found != d->nodes.end() ? found->second.lock() : nullptr;
}

void ContentMenuWidget::attributeChanged(Facet::Attribute& attribute)
{
    Widget::attributeChanged(attribute);
}
}
