#pragma once

#include "selectors/Selector.hpp"
#include "sheet/StyleSheet.hpp"

#include <map>
#include <memory>
#include <set>
#include <vector>

namespace Cascara
{
/// Which nodes a change of a feature can reach: the node itself when a rightmost compound mentions the feature, and those
/// below it that match the rightmost compound of a selector that mentions the feature further left, in a compound whose
/// other features the node has.
class InvalidationIndex
{
public:
    struct Reach
    {
        const Compound* changed; ///< the compound that mentions the feature
        const Compound* rightmost;
        int depth; ///< levels below the changed node, 0 for any
    };

    /// Replaces what there is. The sheets must outlive the index or the next call.
    void build(const std::vector<std::unique_ptr<StyleSheet>>& sheets);

    [[nodiscard]] bool reachesSelf(Feature feature) const { return m_rightmost.count(feature) > 0; }
    /// Null when the feature reaches nothing below.
    [[nodiscard]] const std::vector<Reach>* reachBelow(Feature feature) const;

private:
    void add(const Selector& selector);

    std::set<Feature> m_rightmost;
    std::map<Feature, std::vector<Reach>> m_below;
};
}
