// What a restyled node hands to the nodes below it.

#include "style/OwnDefinitions.hpp"
#include "style/Restyler.hpp"

#include <Facet/Node.hpp>

#include <algorithm>

namespace Cascara
{
/// Writes what the node takes from its parent and defines itself. Most nodes define nothing and share what their parent has.
void Restyler::updateInheritance(StyleNode& node, Lists& lists)
{
    const NodeInheritance* const parent = node.parentInheritance();
    if (!node.inheritance && !parent && !lists.inherits)
        return;
    if (node.inheritance && !lists.defines && node.inheritance->isSharedWith(parent)) {
        node.inheritance->clearUses();
        return;
    }
    const NodeInheritance::Changes changes = OwnDefinitions(node, lists.candidates).update();
    if (!changes.isEmpty())
        inheritBelow(*node.owner, changes, lists);
}

/// Has the node restyled in this round.
void Restyler::add(const Styleable& styleable, Lists& lists)
{
    const auto& node = StyleNode::shared(styleable);
    if (node->collection == lists.collection)
        return;
    node->collection = lists.collection;
    lists.nodes.push_back(node);
}

/// Gives the nodes below what has changed of what they inherit of `parent`, and has those restyled that it reaches.
void Restyler::inheritBelow(const Styleable& parent, const NodeInheritance::Changes& changes, Lists& lists)
{
    for (const Styleable* child : parent.styleChildren()) {
        NodeInheritance& inheritance = StyleNode::of(*child).obtainInheritance();
        const NodeInheritance::Changes below = inheritance.inherit(StyleNode::of(parent).inheritance.get());
        const auto hasIt = [child](int attribute) { return child->node().attributeNumbered(attribute) != nullptr; };
        if (inheritance.dependsOn(below, changes) || std::any_of(below.values.begin(), below.values.end(), hasIt))
            add(*child, lists);
        if (!below.isEmpty())
            inheritBelow(*child, below, lists);
    }
}

/// Has the children restyled that take one of the attributes from `parent`.
void Restyler::takeBelow(const Styleable& parent, const std::vector<int>& changed, Lists& lists)
{
    for (const Styleable* child : parent.styleChildren()) {
        const auto& inheritance = StyleNode::of(*child).inheritance;
        const auto takes = [&inheritance](int attribute) {
            return std::count(inheritance->fromParent.begin(), inheritance->fromParent.end(), attribute) > 0;
        };
        if (inheritance && std::any_of(changed.begin(), changed.end(), takes))
            add(*child, lists);
    }
}
}
