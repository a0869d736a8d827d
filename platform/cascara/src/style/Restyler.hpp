#pragma once

#include "style/InvalidationIndex.hpp"
#include "style/LoadedSheets.hpp"
#include "style/NodeCollector.hpp"
#include "style/NodeStyler.hpp"
#include "style/RuleIndex.hpp"
#include "style/RunningAnimations.hpp"
#include "style/RunningTransitions.hpp"
#include "style/StyleNode.hpp"

#include <Cascara/StyleEngine.hpp>

#include <memory>
#include <set>
#include <vector>

namespace Cascara
{
/// Keeps layer 1 of all nodes in step with the rules.
///
/// A change first collects the nodes that it can reach and then brings each of them up to date, against the state of the
/// tree at that moment. Writing attributes calls listeners, which may change classes, move and destroy nodes and exchange
/// the sheets: such a change does its own round at once, inside the first one. A round finds nodes gone (and skips them),
/// or finds the node at hand restyled by an inner round (and leaves it), so that after the outermost call all is up to date.
class Restyler
{
public:
    void addNode(StyleNode& node);
    void removeNode(StyleNode& node);
    [[nodiscard]] const std::vector<StyleNode*>& nodes() const noexcept { return m_nodes; }

    /// Adds sheets after those there are and restyles everything.
    void addSheets(std::vector<std::unique_ptr<StyleSheet>> sheets);
    /// Restyles everything when that changes which rules are in force.
    void setMedia(const Media& media);
    [[nodiscard]] const Media& media() const noexcept { return m_media; }
    /// Drops all sheets and restyles everything.
    void clearSheets();

    void restyleSubtree(const Styleable& root);
    /// After `moved` has left its siblings, `previous` and `next` (either may be null), and become the last child of its
    /// present parent, if it has one.
    void restyleMoved(const Styleable& moved, const NodeFeatures* previous, const NodeFeatures* next);
    /// After a node between these two has ended.
    void restyleSiblings(const NodeFeatures* previous, const NodeFeatures* next);
    /// Restyles the node when styles are next finished. For a node that may still be under construction.
    void finishLater(StyleNode& node);
    /// What the change reaches is restyled when styles are next finished: values may change often, and the attribute may still
    /// be under construction.
    void attributeChanged(StyleNode& node, int attribute)
    {
        if (!m_invalidation.testedAttributes().empty())
            testedAttributeChanged(node, attribute);
    }
    /// While one lives, no node is styled. For nodes that go before it does.
    class Pause
    {
    public:
        explicit Pause(Restyler& restyler) : m_restyler(restyler) { ++m_restyler.m_pauses; }
        Pause(const Pause&) = delete;
        Pause& operator=(const Pause&) = delete;
        ~Pause() { --m_restyler.m_pauses; }

    private:
        Restyler& m_restyler;
    };
    /// Restyles the nodes that wait for it, whose constructors have ended by now.
    void finish();
    [[nodiscard]] bool isUnfinished() const noexcept { return !m_unfinished.empty() || !m_changedAttributes.empty(); }
    /// `first` to `end` (exclusive) are the features that `changed` gained or lost.
    void restyleAfterChange(const Styleable& changed, const Feature* first, const Feature* end);
    void restyleAfterChange(const Styleable& changed, Feature feature) { restyleAfterChange(changed, &feature, &feature + 1); }
    [[nodiscard]] RunningTransitions& transitions() noexcept { return m_transitions; }
    [[nodiscard]] RunningAnimations& animations() noexcept { return m_animations; }
    [[nodiscard]] MotionResolver& motion() noexcept { return m_motion; }
    /// What the rules that match the node say of its motion.
    [[nodiscard]] MotionDeclarations motionOf(const StyleNode& node) const;
    /// Whether a keyframe animation that is named now begins: one that comes with a sheet does not, but on what is new.
    [[nodiscard]] bool mayBegin(const StyleNode& node) const { return m_stillness == 0 || node.born == m_frame; }
    /// Whether what changes on the node now may begin a transition: what is new, or comes with a sheet, does not move.
    [[nodiscard]] bool mayMove(const StyleNode& node) const
    {
        return m_stillness == 0 && node.born != m_frame && !m_media.reducesMotion;
    }
    /// Warns of keyframes and variables that no sheet has, see LoadedSheets.
    void reportMissing() { m_sheets.reportMissing(); }
    [[nodiscard]] QString placeOfFile(const QString& path) const { return m_sheets.placeOfFile(path); }
    /// The next frame: transitions and animations move on.
    void advance(double seconds);
    /// The end of a frame: animations that wait begin.
    void beginAnimations();
    /// Whether any sheet defines the variable.
    [[nodiscard]] bool isVariableDefined(int name) const { return m_definedVariables.count(name) > 0; }
    /// Whether any declaration `inherit` takes the attribute from a parent.
    [[nodiscard]] bool isTakenFromParents(int attribute) const
    {
        return !m_takenFromParents.empty() && m_takenFromParents.count(attribute) > 0;
    }
    /// Rules that match, the weakest first; each rule once, with its most specific selector.
    void matchRules(const StyleNode& node, std::vector<const RuleIndex::Entry*>& result) const;
    [[nodiscard]] const StyleEngine::Counters& counters() const noexcept { return m_counters; }

private:
    /// Lists in use by one round; kept for the next one, so that a steady table allocates none.
    struct Lists
    {
        std::vector<std::shared_ptr<StyleNode>> nodes;
        std::vector<const RuleIndex::Entry*> rules;
        std::vector<Candidate> candidates;
        MotionDeclarations motion{};
        bool hasMotion = false;  ///< some declaration is one of motion
        bool inherits = false;   ///< some candidate is a variable, or has to do with the nodes above or below
        bool defines = false;    ///< some candidate is a variable, or a value that children inherit
        unsigned collection = 0; ///< of the nodes, each of which has it until its turn comes
    };
    class Round;

    void rebuildAndRestyle();
    void testedAttributeChanged(StyleNode& node, int attribute);
    /// Begins to collect nodes in the lists.
    void begin(Lists& lists);
    void restyleNodes(Lists& lists);
    void restyleNode(StyleNode& node, Lists& lists);
    void updateInheritance(StyleNode& node, Lists& lists);
    void markBorn(const Styleable& root);
    void collectCandidates(Lists& lists) const;
    static void add(const Styleable& styleable, Lists& lists);
    void inheritBelow(const Styleable& parent, const NodeInheritance::Changes& changes, Lists& lists);
    void takeBelow(const Styleable& parent, const std::vector<int>& changed, Lists& lists);

    std::vector<StyleNode*> m_nodes;
    LoadedSheets m_sheets;
    Media m_media;
    RuleIndex m_rules;
    InvalidationIndex m_invalidation;
    std::set<int> m_definedVariables;
    std::set<int> m_takenFromParents;
    /// Whether nodes may have variables and inherited values: none of the work for them is done where no sheet asks for it.
    bool m_mayInherit = false;
    NodeCollector m_collector{m_invalidation};
    std::vector<std::shared_ptr<StyleNode>> m_unfinished;
    /// Attributes that selectors test, made or changed since styles were last finished.
    struct ChangedAttribute
    {
        std::shared_ptr<StyleNode> node;
        int attribute;
    };
    std::vector<ChangedAttribute> m_changedAttributes;
    std::vector<std::unique_ptr<Lists>> m_lists; ///< by depth of rounds
    int m_depth = 0;
    RunningTransitions m_transitions;
    RunningAnimations m_animations;
    MotionResolver m_motion;
    bool m_hasMotion = false; ///< some rule says something of it
    unsigned m_frame = 0;
    int m_pauses = 0;
    int m_stillness = 0; ///< restylings under way in which nothing begins to move
    mutable StyleEngine::Counters m_counters;
};
}
