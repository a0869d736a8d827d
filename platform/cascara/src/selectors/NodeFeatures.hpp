#pragma once

#include "selectors/Feature.hpp"

#include <QString>

#include <algorithm>
#include <vector>

namespace Cascara
{
/// What selectors test of a node: numbers of names, the node above it, and its siblings in the order in which they were added.
struct NodeFeatures
{
    NodeFeatures() = default;
    virtual ~NodeFeatures() = default;
    NodeFeatures(const NodeFeatures&) = default;
    NodeFeatures& operator=(const NodeFeatures&) = default;

    int type = 0;
    int id = 0;
    std::vector<int> classes; ///< in the order they were added
    std::vector<int> pseudoClasses;
    const NodeFeatures* parent = nullptr; ///< null for a root
    NodeFeatures* previous = nullptr;     ///< sibling
    NodeFeatures* next = nullptr;         ///< sibling
    /// Among its siblings, from 1; also 1 without a parent. 0 for a node that is no sibling of others.
    int place = 1;

    [[nodiscard]] bool has(Feature feature) const
    {
        switch (feature.kind) {
        case Feature::Kind::Type: return type == feature.name;
        case Feature::Kind::Id: return id == feature.name;
        case Feature::Kind::Class: return contains(classes, feature.name);
        case Feature::Kind::PseudoClass: return contains(pseudoClasses, feature.name);
        case Feature::Kind::Attribute:
        case Feature::Kind::Position: break;
        }
        return false;
    }

    /// The text of the attribute with that number, as attribute selectors compare it. False when the node has none.
    [[nodiscard]] virtual bool readAttribute(int /*name*/, QString& /*text*/) const { return false; }

    [[nodiscard]] static bool contains(const std::vector<int>& names, int name)
    {
        return std::find(names.begin(), names.end(), name) != names.end();
    }
};
}
