#include "style/Restyler.hpp"

#include <Bedrock/Trace.hpp>
#include <Facet/Node.hpp>

#include <algorithm>
#include <utility>

namespace Cascara
{
namespace
{
/// Deeper than any sensible chain of listeners; beyond it listeners are undoing each other's work for ever.
constexpr int kDeepestRound = 100;
}

/// One round of restyling: gives the scratch lists of its depth, which are reused so that restyling allocates nothing. The
/// outermost round frees the sheets that were taken away meanwhile.
class Restyler::Round
{
public:
    explicit Round(Restyler& restyler) : m_restyler(restyler)
    {
        if (int(m_restyler.m_lists.size()) == m_restyler.m_depth)
            m_restyler.m_lists.push_back(std::make_unique<Lists>());
        m_lists = m_restyler.m_lists[std::size_t(m_restyler.m_depth++)].get();
    }
    Round(const Round&) = delete;
    Round& operator=(const Round&) = delete;
    ~Round()
    {
        m_lists->nodes.clear();
        if (--m_restyler.m_depth == 0)
            m_restyler.m_retiredSheets.clear();
    }
    [[nodiscard]] Lists& lists() noexcept { return *m_lists; }

private:
    Restyler& m_restyler;
    Lists* m_lists;
};

void Restyler::addNode(StyleNode& node)
{
    node.index = unsigned(m_nodes.size());
    m_nodes.push_back(&node);
}

void Restyler::removeNode(StyleNode& node)
{
    m_nodes.back()->index = node.index;
    m_nodes[node.index] = m_nodes.back();
    m_nodes.pop_back();
}

void Restyler::addSheets(std::vector<std::unique_ptr<StyleSheet>> sheets)
{
    // No constructor loads style sheets: the nodes there are have all their attributes.
    for (StyleNode* node : m_nodes)
        node->isNew = false;
    for (auto& sheet : sheets)
        m_sheets.push_back(std::move(sheet));
    rebuildAndRestyle();
}

void Restyler::clearSheets()
{
    for (auto& sheet : m_sheets)
        m_retiredSheets.push_back(std::move(sheet));
    m_sheets.clear();
    rebuildAndRestyle();
}

void Restyler::rebuildAndRestyle()
{
    m_rules.build(m_sheets);
    m_invalidation.build(m_sheets);
    m_definedVariables.clear();
    for (const auto& sheet : m_sheets)
        for (const auto& rule : sheet->rules)
            for (const Declaration& declaration : rule->declarations)
                if (declaration.isVariable)
                    m_definedVariables.insert(declaration.attributeNumber);
    // Those of sheets that are gone are withdrawn by this restyling.
    m_mayHaveVariables = m_mayHaveVariables || !m_definedVariables.empty();
    Facet::AttributeObserver::setReceivesValues(!m_invalidation.testedAttributes().empty());
    Round round(*this);
    Lists& lists = round.lists();
    begin(lists);
    for (const StyleNode* node : m_nodes)
        if (!node->parent)
            m_collector.addSubtree(*node->owner);
    restyleNodes(lists);
    m_mayHaveVariables = !m_definedVariables.empty();
}

void Restyler::begin(Lists& lists)
{
    lists.collection = m_collector.begin(lists.nodes);
}

void Restyler::finishLater(StyleNode& node)
{
    if (std::exchange(node.isUnfinished, true))
        return;
    m_unfinished.push_back(StyleNode::shared(*node.owner));
}

void Restyler::attributeChanged(StyleNode& node, int attribute)
{
    if (m_invalidation.testedAttributes().count(attribute) == 0)
        return;
    // Of one that changes often, only the last entry is likely to be found; the others cost little.
    if (m_changedAttributes.empty() || m_changedAttributes.back().node.get() != &node
        || m_changedAttributes.back().attribute != attribute)
        m_changedAttributes.push_back({StyleNode::shared(*node.owner), attribute});
}

void Restyler::finish()
{
    if (!isUnfinished())
        return;
    Round round(*this);
    std::vector<std::shared_ptr<StyleNode>> unfinished;
    unfinished.swap(m_unfinished);
    std::vector<ChangedAttribute> changes;
    changes.swap(m_changedAttributes);
    begin(round.lists());
    for (const auto& node : unfinished) {
        node->isNew = node->isUnfinished = false;
        if (node->owner)
            m_collector.addNode(*node);
    }
    for (const ChangedAttribute& change : changes) {
        const Feature changed{Feature::Kind::Attribute, change.attribute};
        if (change.node->owner)
            m_collector.addReached(*change.node, &changed, &changed + 1);
    }
    restyleNodes(round.lists());
}

void Restyler::restyleSubtree(const Styleable& root)
{
    Round round(*this);
    begin(round.lists());
    m_collector.addSubtree(root);
    restyleNodes(round.lists());
}

void Restyler::restyleMoved(const Styleable& moved, const NodeFeatures* previous, const NodeFeatures* next)
{
    Round round(*this);
    begin(round.lists());
    m_collector.addSubtree(moved);
    m_collector.addAfterRemoval(previous, next);
    m_collector.addAfterInsertion(StyleNode::of(moved));
    restyleNodes(round.lists());
}

void Restyler::restyleSiblings(const NodeFeatures* previous, const NodeFeatures* next)
{
    Round round(*this);
    begin(round.lists());
    m_collector.addAfterRemoval(previous, next);
    restyleNodes(round.lists());
}

void Restyler::restyleAfterChange(const Styleable& changed, const Feature* first, const Feature* end)
{
    Round round(*this);
    begin(round.lists());
    m_collector.addReached(StyleNode::of(changed), first, end);
    restyleNodes(round.lists());
}

void Restyler::restyleNodes(Lists& lists)
{
    if (lists.nodes.empty())
        return;
    if (m_depth > kDeepestRound) {
        Bedrock::Trace::error("StyleEngine # Restyling does not settle: attribute listeners keep changing what the style "
                              "sheets match; the innermost change is not styled");
        return;
    }
    for (std::size_t i = 0; i < lists.nodes.size(); ++i) { // the list may grow on the way
        const auto node = lists.nodes[i];
        node->collection = 0;
        if (node->owner)
            restyleNode(*node, lists);
    }
}

void Restyler::matchRules(const StyleNode& node, std::vector<const RuleIndex::Entry*>& result) const
{
    result.clear();
    m_rules.forEachPossible(node, [&](const RuleIndex::Entry& entry) {
        ++m_counters.selectorsTested;
        if (!entry.selector->matches(node))
            return;
        // A rule counts once, with the most specific of its selectors that match.
        for (const RuleIndex::Entry*& other : result) {
            if (other->rule != entry.rule)
                continue;
            if (other->selector->specificity < entry.selector->specificity)
                other = &entry;
            return;
        }
        result.push_back(&entry);
    });
    std::sort(result.begin(), result.end(), [](const RuleIndex::Entry* a, const RuleIndex::Entry* b) {
        if (!(a->selector->specificity == b->selector->specificity))
            return a->selector->specificity < b->selector->specificity;
        return a->order < b->order;
    });
}

void Restyler::collectCandidates(Lists& lists) const
{
    lists.candidates.clear();
    lists.definesVariables = false;
    int rank = 0;
    for (const bool important : {false, true})
        for (const RuleIndex::Entry* entry : lists.rules)
            for (const Declaration& declaration : entry->rule->declarations)
                if (declaration.isImportant == important) {
                    lists.candidates.push_back({&declaration, ++rank});
                    lists.definesVariables = lists.definesVariables || declaration.isVariable;
                }
    std::sort(lists.candidates.begin(), lists.candidates.end(), [](const Candidate& a, const Candidate& b) {
        if (a.declaration->attributeNumber != b.declaration->attributeNumber)
            return a.declaration->attributeNumber < b.declaration->attributeNumber;
        return a.rank > b.rank;
    });
}

void Restyler::restyleNode(StyleNode& node, Lists& lists)
{
    ++m_counters.nodesRestyled;
    matchRules(node, lists.rules);
    collectCandidates(lists);
    NodeStyler styler(node, lists.candidates);
    if (m_mayHaveVariables && (lists.definesVariables || node.variables.set() || node.parentVariables())) {
        if (!styler.updateVariables().empty())
            inheritVariables(*node.owner, lists);
    }
    styler.apply();
}

/// Gives the nodes below the variables of `parent`, and has those that use changed ones restyled in this round.
void Restyler::inheritVariables(const Styleable& parent, Lists& lists)
{
    for (const Styleable* child : parent.styleChildren()) {
        const auto& node = StyleNode::shared(*child);
        const std::vector<int> changed = node->variables.inherit(StyleNode::of(parent).variables.shared());
        if (changed.empty())
            continue;
        if (node->variables.usesAny(changed) && node->collection != lists.collection) {
            node->collection = lists.collection;
            lists.nodes.push_back(node);
        }
        inheritVariables(*child, lists);
    }
}
}
