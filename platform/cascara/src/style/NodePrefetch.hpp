#pragma once

#include "style/StyleNode.hpp"

#include <Bedrock/Prefetch.hpp>

namespace Cascara
{
// In a large tree hardly anything of a node is in the processor's caches when it changes.

/// At the beginning of a change: the node, and what selectors test above it.
inline void prefetchNode(const Styleable& changed)
{
    // Most objects have their Facet::Node right before, and what their class keeps right behind.
    constexpr std::ptrdiff_t kBefore = 64;
    constexpr std::size_t kObjectBytes = 192;
    const auto prefetchObject = [](const Styleable& object) {
        Bedrock::prefetch(reinterpret_cast<const char*>(&object) - kBefore, kObjectBytes);
    };
    const StyleNode& styled = StyleNode::of(changed);
    Bedrock::prefetch(&styled, sizeof(StyleNode));
    prefetchObject(changed);
    if (const Styleable* const parent = changed.styleParent()) {
        prefetchObject(*parent);
        Bedrock::prefetch(styled.parent, sizeof(NodeFeatures));
    }
}

/// Before rules are matched: the record of what the node inherits, and the list of its values, where it has grown.
inline void prefetchInheritance(const StyleNode& node)
{
    Bedrock::prefetch(node.inheritance.get(), sizeof(NodeInheritance));
    Bedrock::prefetch(node.applied.constData(), sizeof(StyleNode::Applied));
}

/// Before values are written: the first attribute with a value from style sheets, which is the one that most nodes have changed,
/// of the node and of its parent. What their class keeps of it is beside it.
inline void prefetchStyledAttribute(const StyleNode& node)
{
    constexpr std::ptrdiff_t kBesideBytes = 64;
    if (node.applied.isEmpty())
        return;
    const int number = node.applied[0].attribute;
    const auto prefetch = [number](const Facet::Node& whose) {
        if (const Facet::Attribute* const attribute = whose.attributeNumbered(number))
            Bedrock::prefetch(reinterpret_cast<const char*>(attribute) - kBesideBytes, 2 * std::size_t(kBesideBytes));
    };
    prefetch(node.owner->node());
    if (const Styleable* const parent = node.owner->styleParent(); parent && parent->node().hasMadeAttribute(number))
        prefetch(parent->node());
}
}
