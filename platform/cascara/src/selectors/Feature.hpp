#pragma once

#include <tuple>

namespace Cascara
{
/// What a selector tests of a node, and what of a node can change.
struct Feature
{
    enum class Kind { Type, Id, Class, PseudoClass };
    Kind kind;
    int name; ///< in Facet::NameTable::instance()

    friend bool operator==(Feature a, Feature b) noexcept { return a.kind == b.kind && a.name == b.name; }
    friend bool operator<(Feature a, Feature b) noexcept { return std::tie(a.kind, a.name) < std::tie(b.kind, b.name); }
};
}
