#pragma once

#include "selectors/Feature.hpp"

#include <QString>

#include <tuple>
#include <vector>

namespace Cascara
{
struct NodeFeatures;

/// Counted as CSS does: ids, then classes and pseudo-classes, then types.
struct Specificity
{
    int ids = 0;
    int classes = 0;
    int types = 0;

    Specificity& operator+=(const Specificity& other) noexcept
    {
        ids += other.ids;
        classes += other.classes;
        types += other.types;
        return *this;
    }
    friend bool operator<(const Specificity& a, const Specificity& b) noexcept
    {
        return std::tie(a.ids, a.classes, a.types) < std::tie(b.ids, b.classes, b.types);
    }
    friend bool operator==(const Specificity& a, const Specificity& b) noexcept
    {
        return std::tie(a.ids, a.classes, a.types) == std::tie(b.ids, b.classes, b.types);
    }
};

/// Conditions on one node, all of which must hold: `Button.big:not(.off)`. Without conditions it is the universal selector.
struct Compound
{
    std::vector<Feature> features;
    /// One list per :not(); none of its compounds may hold.
    std::vector<std::vector<Compound>> negations;

    [[nodiscard]] bool matches(const NodeFeatures& node) const;
    [[nodiscard]] Specificity specificity() const;
    /// Every feature mentioned, those inside :not() too.
    void collectFeatures(std::vector<Feature>& result) const;
};

enum class Combinator { Descendant, Child };

/// Compounds joined by combinators, from right to left.
struct Selector
{
    struct Part
    {
        Compound compound;
        Combinator toLeft = Combinator::Descendant; ///< meaningless at the last part
    };
    std::vector<Part> parts;
    Specificity specificity;
    QString text;

    [[nodiscard]] bool matches(const NodeFeatures& node) const;
};
}
