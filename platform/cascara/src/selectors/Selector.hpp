#pragma once

#include "selectors/Feature.hpp"

#include <QString>

#include <optional>
#include <tuple>
#include <vector>

namespace Cascara
{
struct NodeFeatures;
struct Selector;

/// Compounds of one selector at most: matching takes a time that grows with the square of their number.
constexpr int kMostSelectorParts = 256;

/// Counted as CSS does: ids, then classes, attributes and pseudo-classes, then types.
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

/// `[name]`, `[name="value"]` and the other comparisons of CSS.
struct AttributeTest
{
    enum class Comparison { Exists, Equals, HasWord, HasPrefixWord, StartsWith, EndsWith, Contains };
    int name = 0; ///< in Facet::NameTable::instance()
    Comparison comparison = Comparison::Exists;
    QString value;
    Qt::CaseSensitivity caseSensitivity = Qt::CaseSensitive;

    [[nodiscard]] bool matches(const NodeFeatures& node) const;
    friend bool operator==(const AttributeTest& a, const AttributeTest& b)
    {
        return a.name == b.name && a.comparison == b.comparison && a.value == b.value && a.caseSensitivity == b.caseSensitivity;
    }
};

/// A place among siblings: `:first-child`, `:last-child`, or `:nth-child()`.
struct PositionTest
{
    Feature::Position position = Feature::Count; ///< First, Last or Count
    /// For Count: step * n + offset, for an n from 0.
    int step = 0;
    int offset = 0;

    /// `text` is "odd", "even", a number or a form like "2n+1"; nothing for anything else.
    [[nodiscard]] static std::optional<PositionTest> nth(const QString& text);
    [[nodiscard]] bool matches(const NodeFeatures& node) const;
    friend bool operator==(const PositionTest& a, const PositionTest& b)
    {
        return a.position == b.position && a.step == b.step && a.offset == b.offset;
    }
};

/// The arguments of `:is()`, one of which must match, or of `:not()`, none of which may.
struct Alternatives
{
    bool isNegation = false;
    std::vector<Selector> selectors;

    friend bool operator==(const Alternatives& a, const Alternatives& b);
};

/// Conditions on one node, all of which must hold: `Button.big:not(.off)`. Without conditions it is the universal selector.
struct Compound
{
    std::vector<Feature> features; ///< types, ids, classes, pseudo-classes
    std::vector<AttributeTest> attributes;
    std::vector<PositionTest> positions;
    std::vector<Alternatives> alternatives;

    [[nodiscard]] bool matches(const NodeFeatures& node) const;
    /// False only when the node cannot match, wherever it stands: what depends on other nodes is left open.
    [[nodiscard]] bool couldMatch(const NodeFeatures& node) const;
    /// True only when the node matches, wherever it stands.
    [[nodiscard]] bool matchesAnywhere(const NodeFeatures& node) const;
    [[nodiscard]] Specificity specificity() const;
    /// What this compound tests of its node, but for what stands in its alternatives.
    void collectFeatures(std::vector<Feature>& result) const;

    friend bool operator==(const Compound& a, const Compound& b);
};

enum class Combinator { Descendant, Child, NextSibling, LaterSibling };

/// A type or a pseudo-class where a selector names it.
struct SelectorName
{
    Feature feature;
    int type; ///< that the same compound names; 0 for none
    int line;
    int column;
};

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
