#include "style/RunningAnimations.hpp"

#include <algorithm>
#include <utility>

namespace Cascara
{
RunningAnimations::Pointer RunningAnimations::find(const StyleNode& node) const
{
    if (!node.isAnimated)
        return nullptr;
    const auto found =
        std::find_if(m_nodes.begin(), m_nodes.end(), [&](const Pointer& animated) { return &animated->node() == &node; });
    return found != m_nodes.end() ? *found : nullptr;
}

void RunningAnimations::setAnimations(StyleNode& node, std::shared_ptr<const AnimationList> list, bool mayBegin)
{
    Pointer animated = find(node);
    if (!list) {
        if (!animated)
            return;
        node.isAnimated = false;
        m_nodes.erase(std::find(m_nodes.begin(), m_nodes.end(), animated));
        animated->uncoverAll();
        return;
    }
    if (!animated) {
        animated = std::make_shared<AnimatedNode>(StyleNode::shared(*node.owner));
        node.isAnimated = true;
        m_nodes.push_back(animated);
    }
    if (animated->setAnimations(std::move(list), mayBegin))
        m_waits = true;
}

void RunningAnimations::begin(const LoadedSheets& sheets, bool jumps)
{
    // What begins meanwhile, by a listener, begins in the next frame.
    if (!std::exchange(m_waits, false))
        return;
    removeDead();
    const std::vector<Pointer> nodes = m_nodes;
    for (const Pointer& animated : nodes)
        if (animated->isAlive() && find(animated->node()) == animated)
            animated->begin(sheets, jumps);
}

void RunningAnimations::advance(double seconds, bool jumps)
{
    if (m_nodes.empty())
        return;
    std::vector<Pointer> nodes;
    nodes.swap(m_advanced); // an inner call makes one of its own
    nodes = m_nodes;
    for (const Pointer& animated : nodes)
        if (animated->isAlive())
            animated->advance(seconds, jumps);
    nodes.clear();
    m_advanced.swap(nodes);
    removeDead();
}

void RunningAnimations::removeDead()
{
    m_nodes.erase(std::remove_if(m_nodes.begin(), m_nodes.end(), [](const Pointer& animated) { return !animated->isAlive(); }),
                  m_nodes.end());
}

bool RunningAnimations::isMoving() const
{
    return m_waits || std::any_of(m_nodes.begin(), m_nodes.end(), [](const Pointer& animated) {
               return animated->isAlive() && animated->isMoving();
           });
}

void RunningAnimations::end(const Styleable& root)
{
    const auto stands = [&root](const AnimatedNode& animated) {
        const Styleable* styleable = animated.node().owner;
        while (styleable && styleable != &root)
            styleable = styleable->styleParent();
        return styleable != nullptr;
    };
    std::vector<Pointer> ended;
    for (const Pointer& animated : m_nodes)
        if (stands(*animated))
            ended.push_back(animated);
    for (const Pointer& animated : ended) {
        animated->node().isAnimated = false;
        m_nodes.erase(std::remove(m_nodes.begin(), m_nodes.end(), animated), m_nodes.end());
    }
    for (const Pointer& animated : ended)
        animated->uncoverAll();
}

bool RunningAnimations::covers(const StyleNode& node, int attribute) const
{
    const Pointer animated = find(node);
    return animated && animated->covers(attribute);
}

void RunningAnimations::restWritten(StyleNode& node, Facet::Attribute& attribute)
{
    if (const Pointer animated = find(node))
        animated->restWritten(attribute);
}

void RunningAnimations::hold(StyleNode& node, Facet::Attribute& attribute)
{
    if (const Pointer animated = find(node))
        animated->hold(attribute);
}
}
