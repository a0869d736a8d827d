#pragma once

#include <tuple>

namespace Cascara
{
/// What a selector tests of a node, and what of a node can change.
struct Feature
{
    enum class Kind {
        Type,
        Id,
        Class,
        PseudoClass,
        Attribute,
        Position,
        Language ///< of the node, or else of the nearest node above it that has one; the name is that of the pseudo-class
    };
    /// The names of Kind::Position: what of a node's place among its siblings a selector depends on.
    enum Position : int {
        First,    ///< whether it is the first
        Last,     ///< whether it is the last
        Count,    ///< its number
        Adjacent, ///< which one is just before it
        Preceding ///< which ones are before it
    };
    Kind kind;
    int name; ///< in Facet::NameTable::instance(); for Kind::Position a `Position`

    friend bool operator==(Feature a, Feature b) noexcept { return a.kind == b.kind && a.name == b.name; }
    friend bool operator<(Feature a, Feature b) noexcept { return std::tie(a.kind, a.name) < std::tie(b.kind, b.name); }
};
}
