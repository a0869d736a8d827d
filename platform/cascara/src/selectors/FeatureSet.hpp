#pragma once

#include "selectors/NodeFeatures.hpp"
#include "selectors/Selector.hpp"

#include <array>
#include <cstdint>

namespace Cascara
{
/// A set of features in 128 bits that may seem to hold more than was added, but never less: it rules selectors out before they
/// are matched, and says nothing about the others.
class FeatureSet
{
public:
    void add(Feature feature) noexcept
    {
        const auto key = std::uint64_t(feature.name) * 4 + std::uint64_t(feature.kind);
        // Consecutive numbers are spread over all bits. Two bits each: one of few is seldom in a set by chance.
        const std::uint64_t spread = key * 0x9E3779B97F4A7C15ull;
        add(unsigned(spread >> 57));
        add(unsigned(spread >> 50) % 128u);
    }
    /// What a node has, by which its descendants are selected.
    void add(const NodeFeatures& node) noexcept
    {
        add({Feature::Kind::Type, node.type});
        add({Feature::Kind::Id, node.id});
        for (const int name : node.classes)
            add({Feature::Kind::Class, name});
        for (const int name : node.pseudoClasses)
            add({Feature::Kind::PseudoClass, name});
    }

    [[nodiscard]] bool isEmpty() const noexcept { return (m_bits[0] | m_bits[1]) == 0; }
    /// False when some feature of `others` was never added.
    [[nodiscard]] bool mayContainAll(const FeatureSet& others) const noexcept
    {
        return ((others.m_bits[0] & ~m_bits[0]) | (others.m_bits[1] & ~m_bits[1])) == 0;
    }

    /// What all nodes above `node` have.
    [[nodiscard]] static FeatureSet above(const NodeFeatures& node) noexcept
    {
        FeatureSet set;
        for (const NodeFeatures* ancestor = node.parent; ancestor; ancestor = ancestor->parent)
            set.add(*ancestor);
        return set;
    }
    /// What the nodes above one that `selector` matches must have between them. Its siblings have the same nodes above them.
    [[nodiscard]] static FeatureSet neededAbove(const Selector& selector) noexcept
    {
        FeatureSet set;
        for (std::size_t i = 1; i < selector.parts.size(); ++i) {
            const Combinator fromRight = selector.parts[i - 1].toLeft;
            if (fromRight == Combinator::Descendant || fromRight == Combinator::Child)
                for (const Feature feature : selector.parts[i].compound.features)
                    set.add(feature.kind == Feature::Kind::Language ? Feature{Feature::Kind::PseudoClass, feature.name}
                                                                    : feature);
        }
        return set;
    }

private:
    void add(unsigned bit) noexcept { m_bits[bit / 64] |= std::uint64_t(1) << (bit % 64); }

    std::array<std::uint64_t, 2> m_bits{};
};
}
