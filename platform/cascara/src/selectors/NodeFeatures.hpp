#pragma once

#include "selectors/Feature.hpp"

#include <QString>
#include <QVarLengthArray>

#include <algorithm>

namespace Cascara
{
/// What selectors test of a node: numbers of names, the node above it, and its siblings in the order in which they were added.
struct NodeFeatures
{
    NodeFeatures() = default;
    virtual ~NodeFeatures() = default;
    NodeFeatures(const NodeFeatures&) = default;
    NodeFeatures& operator=(const NodeFeatures&) = default;

    /// Few nodes have more than two: these are read without another access to memory.
    using Names = QVarLengthArray<int, 2>;

    // What most selectors test stands first, in one line of the processor's cache.
    int type = 0;
    int id = 0;
    const NodeFeatures* parent = nullptr; ///< null for a root
    Names classes;                        ///< in the order they were added
    Names pseudoClasses;
    bool hasLanguage = false; ///< some of the pseudo-classes name a language
    /// Among its siblings, from 1; also 1 without a parent. 0 for a node that is no sibling of others.
    int place = 1;
    /// The last collection of nodes to restyle that has this one.
    unsigned collection = 0;
    NodeFeatures* previous = nullptr; ///< sibling
    NodeFeatures* next = nullptr;     ///< sibling

    [[nodiscard]] bool has(Feature feature) const
    {
        switch (feature.kind) {
        case Feature::Kind::Type: return type == feature.name;
        case Feature::Kind::Id: return id == feature.name;
        case Feature::Kind::Class: return contains(classes, feature.name);
        case Feature::Kind::PseudoClass: return contains(pseudoClasses, feature.name);
        case Feature::Kind::Language: return isInLanguage(feature.name);
        case Feature::Kind::Attribute:
        case Feature::Kind::Position: break;
        }
        return false;
    }

    /// `language` is the number of a pseudo-class such as "lang(de)".
    [[nodiscard]] bool isInLanguage(int language) const
    {
        const NodeFeatures* node = this;
        while (node && !node->hasLanguage)
            node = node->parent;
        return node && contains(node->pseudoClasses, language);
    }

    /// The text of the attribute with that number, as attribute selectors compare it. False when the node has none.
    [[nodiscard]] virtual bool readAttribute(int /*name*/, QString& /*text*/) const { return false; }

    [[nodiscard]] static bool contains(const Names& names, int name)
    {
        return std::find(names.begin(), names.end(), name) != names.end();
    }
};
}
