#pragma once

#include "selectors/NodeFeatures.hpp"
#include "style/NodeInheritance.hpp"

#include <Bedrock/Color.hpp>
#include <Cascara/Styleable.hpp>
#include <Facet/Attribute.hpp>
#include <Facet/Node.hpp>

#include <forward_list>
#include <memory>
#include <vector>

namespace Cascara
{
/// The number of "id", by which attribute selectors test the id.
[[nodiscard]] int idAttribute();

/// The style engine's record of a Styleable. Shared, because lists of nodes to restyle outlive nodes that a listener
/// destroys on the way.
struct StyleNode final : NodeFeatures, Facet::AttributeObserver
{
    explicit StyleNode(Styleable& styleable) : owner(&styleable) {}

    /// Null once the Styleable is gone.
    Styleable* owner;

    /// What layer 1 holds: which declaration gave the value of which attribute, ordered by attribute.
    struct Applied
    {
        int attribute; ///< number of its name
        int declaration;
    };
    QVarLengthArray<Applied, 2> applied;
    /// Numbers of attributes that declarations in force name and the node does not have, ascending. Null as long as there are
    /// none: nearly every node has all.
    std::unique_ptr<std::vector<int>> missing;
    /// Its constructors may still be running, as far as the engine can see: what is missing may yet come.
    bool isNew = true;
    /// Its children are about to end with it.
    bool isEnding = false;
    /// In the engine's list of nodes to finish.
    bool isUnfinished = false;
    /// RunningAnimations has a record of it.
    bool isAnimated = false;
    /// Grows with each restyling. One that was interrupted by another of the same node sees it and gives up.
    unsigned restyling = 0;
    /// In the engine's list of all nodes.
    unsigned index = 0;
    /// The frame in which it was made or came to its parent: what it shows from the first is no change.
    unsigned born = 0;

    /// Made because a style sheet named them.
    struct LazyAttribute
    {
        long creator;
        std::unique_ptr<Facet::Attribute> attribute;
    };
    std::forward_list<LazyAttribute> lazyAttributes;

    /// Null in a tree without variables and inherited values.
    std::unique_ptr<NodeInheritance> inheritance;
    [[nodiscard]] NodeInheritance& obtainInheritance()
    {
        if (!inheritance)
            inheritance = std::make_unique<NodeInheritance>();
        return *inheritance;
    }
    /// Null when there is none.
    [[nodiscard]] const NodeInheritance* parentInheritance() const
    {
        return parent ? static_cast<const StyleNode*>(parent)->inheritance.get() : nullptr;
    }

    /// In px: what style sheets say, or else what the code gave the attribute, or else 16. What the code gives later counts from
    /// the next restyling on.
    [[nodiscard]] double fontSize() const;
    [[nodiscard]] double parentFontSize() const;
    /// What `currentcolor` stands for.
    [[nodiscard]] Bedrock::Color color() const;

    /// Whether it stands below a node that is `:root`, or is one.
    [[nodiscard]] bool isInTree() const;
    /// As Styleable::animationCovers and animationUncovers.
    void reportCover(Facet::Attribute& attribute) const { owner->animationCovers(attribute); }
    void reportUncover(Facet::Attribute& attribute) const { owner->animationUncovers(attribute); }

    /// Becomes the last sibling below `parent`'s node, or leaves its siblings.
    void link(const Styleable& parentNode);
    void unlink();

    /// An attribute that a declaration or a selector asked for: the node is restyled when styles are next finished.
    void attributeAdded(Facet::Attribute& attribute) override;
    void attributeValueGiven(Facet::Attribute& attribute) override;
    /// What the code or the presentation gave the attribute, or its default; not what a style sheet says, on which the
    /// match of a selector must not depend. `id` is the id.
    bool readAttribute(int name, QString& text) const override;

    static StyleNode& of(const Styleable& styleable) { return *styleable.d; }
    static const std::shared_ptr<StyleNode>& shared(const Styleable& styleable) { return styleable.d; }
};
}
