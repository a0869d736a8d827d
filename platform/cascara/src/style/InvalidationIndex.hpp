#pragma once

#include "selectors/Selector.hpp"
#include "sheet/StyleSheet.hpp"

#include <map>
#include <memory>
#include <set>
#include <vector>

namespace Cascara
{
/// Which nodes a change of a feature can reach: the node itself when the feature is tested of the node that a selector
/// styles, and other nodes when it is tested further left. These are found by the steps that lead there from the changed node,
/// and by the rightmost compound.
class InvalidationIndex
{
public:
    struct Reach
    {
        static constexpr int kAny = -1;
        const Compound* changed; ///< the compound that tests the feature
        const Compound* around;  ///< the one in whose list it stands, if it is for the same node; else the same
        const Compound* rightmost;
        /// First to a later sibling: so many further, 0 for none, kAny for each later one.
        int siblings;
        /// Then down so many levels; kAny for each level from the first on.
        int levels;
    };

    static constexpr Feature kAnyLanguage{Feature::Kind::Language, 0};

    /// Replaces what there is. The sheets must outlive the index or the next call.
    void build(const std::vector<std::unique_ptr<StyleSheet>>& sheets);

    [[nodiscard]] bool reachesSelf(Feature feature) const { return m_rightmost.count(feature) > 0; }
    /// Null when the feature reaches no other node. All languages are one feature, `kAnyLanguage`.
    [[nodiscard]] const std::vector<Reach>* reachOthers(Feature feature) const;
    /// Whether any selector tests the feature.
    [[nodiscard]] bool isTested(Feature feature) const { return reachesSelf(feature) || reachOthers(feature); }
    [[nodiscard]] bool testsPositions() const noexcept { return m_testsPositions; }
    /// Numbers of the attributes that selectors test.
    [[nodiscard]] const std::set<int>& testedAttributes() const noexcept { return m_testedAttributes; }

private:
    /// The combinators between a compound and the node that its selector styles, the last one first.
    using Path = std::vector<Combinator>;

    void add(const Selector& selector, const Compound* around, const Compound& rightmost, Path& path);
    void add(const Compound& compound, const Compound& around, const Compound& rightmost, Path& path);
    void add(Feature feature, Reach reach, const Path& path);
    void addLanguage(const Compound& rightmost, const Path& path);
    void addOther(Feature feature, const Reach& reach);
    static Reach along(Reach reach, const Path& path);

    std::set<Feature> m_rightmost;
    std::map<Feature, std::vector<Reach>> m_others;
    bool m_testsPositions = false;
    std::set<int> m_testedAttributes;
};
}
