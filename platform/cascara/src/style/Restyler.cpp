#include "style/Restyler.hpp"

#include "style/NodePrefetch.hpp"

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
            m_restyler.m_sheets.freeRetired();
    }
    [[nodiscard]] Lists& lists() noexcept { return *m_lists; }

private:
    Restyler& m_restyler;
    Lists* m_lists;
};

void Restyler::addNode(StyleNode& node)
{
    node.index = unsigned(m_nodes.size());
    node.born = m_frame;
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
    m_sheets.add(std::move(sheets));
    rebuildAndRestyle();
}

void Restyler::clearSheets()
{
    m_sheets.retireAll();
    rebuildAndRestyle();
}

void Restyler::setMedia(const Media& media)
{
    m_media = media;
    if (m_sheets.updateRulesInForce(media))
        rebuildAndRestyle();
}

void Restyler::rebuildAndRestyle()
{
    ++m_stillness;
    m_sheets.updateRulesInForce(m_media);
    m_rules.build(m_sheets.all());
    m_invalidation.build(m_sheets.all());
    m_motion.clear();
    m_definedVariables.clear();
    m_takenFromParents.clear();
    m_hasMotion = false;
    bool inherits = false;
    for (const auto& sheet : m_sheets.all())
        for (const auto& rule : sheet->rules)
            for (const Declaration& declaration : rule->declarations) {
                inherits = inherits || declaration.mayInherit();
                m_hasMotion = m_hasMotion || declaration.motionLonghand >= 0;
                if (declaration.isVariable)
                    m_definedVariables.insert(declaration.attributeNumber);
                else if (declaration.takesFromParent)
                    m_takenFromParents.insert(declaration.attributeNumber);
            }
    // What came of sheets that are gone is withdrawn by this restyling.
    m_mayInherit = m_mayInherit || inherits;
    Facet::AttributeObserver::setReceivesValues(!m_invalidation.testedAttributes().empty());
    Round round(*this);
    Lists& lists = round.lists();
    begin(lists);
    for (const StyleNode* node : m_nodes)
        if (!node->parent)
            m_collector.addSubtree(*node->owner);
    restyleNodes(lists);
    m_mayInherit = inherits;
    --m_stillness;
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

/// Some attribute is tested, perhaps this one.
void Restyler::testedAttributeChanged(StyleNode& node, int attribute)
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
    if (m_hasMotion)
        markBorn(moved);
    Round round(*this);
    begin(round.lists());
    m_collector.addSubtree(moved);
    m_collector.addAfterRemoval(previous, next);
    m_collector.addAfterInsertion(StyleNode::of(moved));
    m_animations.end(moved); // a listener may destroy it
    restyleNodes(round.lists());
}

/// What it shows at its new place is no change.
void Restyler::markBorn(const Styleable& root)
{
    StyleNode::of(root).born = m_frame;
    for (const Styleable* child : root.styleChildren())
        markBorn(*child);
}

void Restyler::advance(double seconds)
{
    ++m_frame;
    m_transitions.advance(seconds, m_media.reducesMotion);
    m_animations.advance(seconds, m_media.reducesMotion);
}

void Restyler::beginAnimations()
{
    m_sheets.reportMissing();
    m_animations.begin(m_sheets, m_media.reducesMotion);
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
    if (lists.nodes.empty() || m_pauses > 0)
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
    lists.inherits = lists.defines = false;
    lists.motion = {};
    lists.hasMotion = false;
    int rank = 0;
    for (const bool important : {false, true})
        for (const RuleIndex::Entry* entry : lists.rules)
            for (const Declaration& declaration : entry->rule->declarations)
                if (declaration.isImportant == important && declaration.motionLonghand >= 0) {
                    lists.motion[std::size_t(declaration.motionLonghand)] = &declaration;
                    lists.hasMotion = true;
                } else if (declaration.isImportant == important) {
                    lists.candidates.push_back({&declaration, ++rank});
                    lists.inherits = lists.inherits || declaration.mayInherit();
                    lists.defines = lists.defines || declaration.isVariable || declaration.isInherited;
                }
    std::sort(lists.candidates.begin(), lists.candidates.end(), [](const Candidate& a, const Candidate& b) {
        if (a.declaration->attributeNumber != b.declaration->attributeNumber)
            return a.declaration->attributeNumber < b.declaration->attributeNumber;
        return a.rank > b.rank;
    });
}

MotionDeclarations Restyler::motionOf(const StyleNode& node) const
{
    Lists lists;
    matchRules(node, lists.rules);
    collectCandidates(lists);
    return lists.motion;
}

void Restyler::restyleNode(StyleNode& node, Lists& lists)
{
    ++m_counters.nodesRestyled;
    if (node.inheritance)
        prefetchInheritance(node);
    if (lists.nodes.size() == 1) // of many most keep their values
        prefetchStyledAttribute(node);
    matchRules(node, lists.rules);
    collectCandidates(lists);
    NodeStyler styler(node, lists.candidates, lists.hasMotion ? &lists.motion : nullptr);
    if (m_mayInherit)
        updateInheritance(node, lists);
    styler.apply();
    if (!styler.changedForChildren().empty() && node.owner)
        takeBelow(*node.owner, styler.changedForChildren(), lists);
    if (node.inheritance && node.inheritance->isEmpty())
        node.inheritance.reset();
}
}
