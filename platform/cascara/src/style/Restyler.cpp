#include "style/Restyler.hpp"

#include <Bedrock/Trace.hpp>
#include <Cascara/LazyAttributeManager.hpp>
#include <Facet/Node.hpp>

#include <algorithm>
#include <utility>

namespace Cascara
{
namespace
{
/// Deeper than any sensible chain of listeners; beyond it listeners are undoing each other's work for ever.
constexpr int kDeepestRound = 100;

void report(const Declaration& declaration, const QString& text)
{
    if (std::exchange(declaration.isReported, true))
        return;
    Bedrock::Trace::warning("StyleEngine # %s:%d:%d: %s: %s; the declaration is skipped",
                            declaration.rule->sheet->name.toUtf8().constData(), declaration.line, declaration.column,
                            declaration.attribute.constData(), text.toUtf8().constData());
}

auto findApplied(StyleNode& node, int attribute)
{
    return std::lower_bound(node.applied.begin(), node.applied.end(), attribute,
                            [](const StyleNode::Applied& applied, int name) { return applied.attribute < name; });
}

/// The declaration in force, 0 for none.
long appliedDeclaration(StyleNode& node, int attribute)
{
    const auto found = findApplied(node, attribute);
    return found != node.applied.end() && found->attribute == attribute ? found->declaration : 0;
}

void setApplied(StyleNode& node, int attribute, long declaration)
{
    const auto found = findApplied(node, attribute);
    const bool exists = found != node.applied.end() && found->attribute == attribute;
    if (exists && declaration == 0)
        node.applied.erase(found);
    else if (exists)
        found->declaration = declaration;
    else if (declaration != 0)
        node.applied.insert(found, {attribute, declaration});
}

bool isCurrent(const StyleNode& node, unsigned restyling)
{
    return node.owner && node.restyling == restyling;
}
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
    node.index = m_nodes.size();
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
    Facet::AttributeObserver::setReceivesValues(!m_invalidation.testedAttributes().empty());
    Round round(*this);
    for (StyleNode* node : m_nodes)
        round.lists().nodes.push_back(StyleNode::shared(*node->owner));
    restyleNodes(round.lists());
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
    auto& changed = node.changedAttributes;
    if (std::find(changed.begin(), changed.end(), attribute) == changed.end())
        changed.push_back(attribute);
    finishLater(node);
}

void Restyler::finish()
{
    if (m_unfinished.empty())
        return;
    Round round(*this);
    std::vector<std::shared_ptr<StyleNode>> unfinished;
    unfinished.swap(m_unfinished);
    m_collector.begin(round.lists().nodes);
    for (const auto& node : unfinished) {
        node->isNew = node->isUnfinished = false;
        if (!node->owner)
            continue;
        for (const int attribute : node->changedAttributes) {
            const Feature changed{Feature::Kind::Attribute, attribute};
            m_collector.addReached(*node, &changed, &changed + 1);
        }
        if (node->changedAttributes.empty() || !node->missing.empty())
            m_collector.addNode(*node);
        node->changedAttributes.clear();
    }
    restyleNodes(round.lists());
}

void Restyler::restyleSubtree(const Styleable& root)
{
    Round round(*this);
    m_collector.begin(round.lists().nodes);
    m_collector.addSubtree(root);
    restyleNodes(round.lists());
}

void Restyler::restyleMoved(const Styleable& moved, const NodeFeatures* previous, const NodeFeatures* next)
{
    Round round(*this);
    m_collector.begin(round.lists().nodes);
    m_collector.addSubtree(moved);
    m_collector.addAfterRemoval(previous, next);
    m_collector.addAfterInsertion(StyleNode::of(moved));
    restyleNodes(round.lists());
}

void Restyler::restyleSiblings(const NodeFeatures* previous, const NodeFeatures* next)
{
    Round round(*this);
    m_collector.begin(round.lists().nodes);
    m_collector.addAfterRemoval(previous, next);
    restyleNodes(round.lists());
}

void Restyler::restyleAfterChange(const Styleable& changed, const Feature* first, const Feature* end)
{
    Round round(*this);
    m_collector.begin(round.lists().nodes);
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
    for (const auto& node : lists.nodes)
        if (node->owner)
            restyleNode(*node, lists);
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
    int rank = 0;
    for (const bool important : {false, true})
        for (const RuleIndex::Entry* entry : lists.rules)
            for (const Declaration& declaration : entry->rule->declarations)
                if (declaration.isImportant == important)
                    lists.candidates.push_back({&declaration, ++rank});
    std::sort(lists.candidates.begin(), lists.candidates.end(), [](const Candidate& a, const Candidate& b) {
        if (a.declaration->attributeNumber != b.declaration->attributeNumber)
            return a.declaration->attributeNumber < b.declaration->attributeNumber;
        return a.rank > b.rank;
    });
}

void Restyler::restyleNode(StyleNode& node, Lists& lists)
{
    ++m_counters.nodesRestyled;
    const unsigned restyling = ++node.restyling;
    node.missing.clear();
    matchRules(node, lists.rules);
    collectCandidates(lists);
    if (!withdraw(node, restyling, lists))
        return;
    const Candidate* const last = lists.candidates.data() + lists.candidates.size();
    for (const Candidate* first = lists.candidates.data(); first != last;) {
        const Candidate* end = first;
        while (end != last && end->declaration->attributeNumber == first->declaration->attributeNumber)
            ++end;
        if (!apply(node, restyling, first, end))
            return;
        first = end;
    }
}

bool Restyler::withdraw(StyleNode& node, unsigned restyling, const Lists& lists)
{
    for (std::size_t i = 0; i < node.applied.size();) {
        const int attributeNumber = node.applied[i].attribute;
        const auto candidate =
            std::lower_bound(lists.candidates.begin(), lists.candidates.end(), attributeNumber,
                             [](const Candidate& entry, int number) { return entry.declaration->attributeNumber < number; });
        if (candidate != lists.candidates.end() && candidate->declaration->attributeNumber == attributeNumber) {
            ++i;
            continue;
        }
        node.applied.erase(node.applied.begin() + std::ptrdiff_t(i));
        if (Facet::Attribute* attribute = node.owner->node().attributeNumbered(attributeNumber)) {
            attribute->clearValue(Facet::kStyleLayer);
            if (!isCurrent(node, restyling))
                return false;
        }
    }
    return true;
}

void Restyler::attributeIsMissing(StyleNode& node, const Candidate* first, const Candidate* end)
{
    node.missing.push_back(first->declaration->attributeNumber);
    const QByteArray& name = first->declaration->attribute;
    if (Facet::Attribute::isKnownName(name) || LazyAttributeManager::isRegistered(name))
        return;
    if (node.isNew) {
        finishLater(node);
        return;
    }
    for (const Candidate* candidate = first; candidate != end; ++candidate)
        report(*candidate->declaration, QStringLiteral("no attribute has this name"));
}

/// Gives an attribute the first of its candidates that fits it, or none.
bool Restyler::apply(StyleNode& node, unsigned restyling, const Candidate* first, const Candidate* end)
{
    const int number = first->declaration->attributeNumber;
    const long before = appliedDeclaration(node, number);
    if (before == first->declaration->serial)
        return true;

    Facet::Attribute* attribute = node.owner->node().attributeNumbered(number);
    if (!attribute) {
        setApplied(node, number, 0);
        attribute = LazyAttributeManager::create(*node.owner, first->declaration->attribute);
        if (!isCurrent(node, restyling))
            return false;
    }
    if (!attribute) {
        attributeIsMissing(node, first, end);
        return true;
    }

    for (const Candidate* candidate = first; candidate != end; ++candidate) {
        const Declaration& declaration = *candidate->declaration;
        if (declaration.serial == before)
            return true;
        QString error;
        setApplied(node, number, declaration.serial); // before the listeners read it
        const bool fits = attribute->setStyleValue(declaration.value, Facet::kStyleLayer, &error);
        if (!isCurrent(node, restyling))
            return false;
        if (fits)
            return true;
        setApplied(node, number, before);
        report(declaration, QStringLiteral("%1, got '%2'").arg(error, declaration.value.toString()));
    }
    if (before != 0) {
        setApplied(node, number, 0);
        attribute->clearValue(Facet::kStyleLayer);
    }
    return isCurrent(node, restyling);
}
}
