#pragma once

#include "selectors/Feature.hpp"

#include <algorithm>
#include <vector>

namespace Cascara
{
/// What selectors test of a node: numbers of names, and the node above it.
struct NodeFeatures
{
    int type = 0;
    int id = 0;
    std::vector<int> classes; ///< in the order they were added
    std::vector<int> pseudoClasses;
    const NodeFeatures* parent = nullptr; ///< null for a root

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
};
}
