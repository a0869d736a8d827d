#pragma once

#include "Selector.hpp"

#include <Cascara/Styleable.hpp>
#include <Facet/Attribute.hpp>

#include <QByteArray>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

namespace Cascara
{
/// What the style engine knows of a Styleable. Shared, because lists of nodes to restyle outlive nodes that a listener
/// destroys on the way.
struct StyleNode
{
    explicit StyleNode(Styleable& styleable) : owner(&styleable) {}

    /// Null once the Styleable is gone.
    Styleable* owner;
    int type = 0;
    int id = 0;
    std::vector<int> classes;
    std::vector<int> pseudoClasses;

    /// What layer 1 holds: which declaration gave the value of which attribute, ordered by attribute.
    struct Applied
    {
        int attribute;
        long declaration;
    };
    std::vector<Applied> applied;
    /// Grows with each restyling. One that was interrupted by another of the same node sees it and gives up.
    unsigned restyling = 0;
    /// In the engine's list of all nodes.
    std::size_t index = 0;

    /// Made because a style sheet named them.
    struct LazyAttribute
    {
        long creator;
        std::unique_ptr<Facet::Attribute> attribute;
    };
    std::vector<LazyAttribute> lazyAttributes;

    [[nodiscard]] const StyleNode* parent() const;
    [[nodiscard]] bool has(Feature feature) const
    {
        switch (feature.kind) {
        case Feature::Kind::Type: return type == feature.name;
        case Feature::Kind::Id: return id == feature.name;
        case Feature::Kind::Class: return contains(classes, feature.name);
        case Feature::Kind::PseudoClass: return contains(pseudoClasses, feature.name);
        }
        return false;
    }

    [[nodiscard]] static bool contains(const std::vector<int>& names, int name)
    {
        return std::find(names.begin(), names.end(), name) != names.end();
    }
    static StyleNode& of(const Styleable& styleable) { return *styleable.d; }
    static const std::shared_ptr<StyleNode>& shared(const Styleable& styleable) { return styleable.d; }
};

inline const StyleNode* StyleNode::parent() const
{
    const Styleable* above = owner ? owner->styleParent() : nullptr;
    return above ? &of(*above) : nullptr;
}
}
