#pragma once

#include "motion/AnimationList.hpp"
#include "motion/KeyframeTrack.hpp"
#include "sheet/StyleSheet.hpp"
#include "style/StyleNode.hpp"

#include <memory>
#include <utility>
#include <vector>

namespace Cascara
{
class LoadedSheets;

/// The keyframe animations of one node. They cover the style layer of its attributes; what rules say below is kept and comes back
/// when they end. Main thread only; listeners to the values may change styles, and destroy the node.
class AnimatedNode
{
public:
    explicit AnimatedNode(std::shared_ptr<StyleNode> node) : m_node(std::move(node)) {}

    [[nodiscard]] StyleNode& node() const noexcept { return *m_node; }
    [[nodiscard]] bool isAlive() const noexcept { return m_node->owner != nullptr; }
    /// What the rules name now, never null. Those that are under way and still named go on, the others end; new ones wait for
    /// `begin`, or do not move at all with `mayBegin` false. Returns whether `begin` has something to do.
    bool setAnimations(std::shared_ptr<const AnimationList> list, bool mayBegin);
    /// Begins those that wait, once the node is in the tree. With `jumps` none takes any time.
    void begin(const LoadedSheets& sheets, bool jumps);
    /// Moves them on.
    void advance(double seconds, bool jumps);
    [[nodiscard]] bool isMoving() const;
    /// Gives all values at rest back.
    void uncoverAll();

    [[nodiscard]] bool covers(int attribute) const;
    /// After the style layer of a covered attribute was written or cleared: that is what it has at rest from now on.
    void restWritten(Facet::Attribute& attribute);
    /// The attribute does not move any more; what shows becomes its run-time value.
    void hold(Facet::Attribute& attribute);

private:
    enum class State {
        Waiting,  ///< begins at the end of the frame, or when the node enters the tree
        Running,  ///< has begun, and may have ended
        Untouched ///< came with a style sheet: it does not move
    };
    struct Entry
    {
        Animation animation;
        State state = State::Waiting;
        double passedSeconds = 0.0;
    };
    struct Covered
    {
        int attribute;
        std::vector<std::pair<std::size_t, KeyframeTrack>> tracks; ///< by entry, the one that counts most last
        Facet::StyleValue rest;
        bool restIsCleared = false; ///< the default, which shows without a style value
        bool isWritten = false;
    };

    struct Progress
    {
        KeyframeTrack* track = nullptr;
        double share = 0.0;
    };

    void addTracks(std::size_t entry, const Keyframes& keyframes);
    void addPoint(const Declaration& declaration, double offset, const TimingFunction& function,
                  std::vector<std::pair<int, std::vector<KeyframeTrack::Point>>>& ways);
    [[nodiscard]] bool readText(const Declaration& declaration, std::optional<QString>& text);
    [[nodiscard]] AnimationTiming timingOf(const Entry& entry) const;
    [[nodiscard]] Facet::Attribute* attributeOf(const Covered& covered) const;
    [[nodiscard]] Progress progressOf(Covered& covered) const;
    bool cover(Covered& covered, Facet::Attribute& attribute);
    static void keepRest(Covered& covered, const Facet::Attribute& attribute);
    void write();
    void uncover(Covered covered);

    std::shared_ptr<StyleNode> m_node;
    std::shared_ptr<const AnimationList> m_list;
    std::vector<Entry> m_entries;
    std::vector<Covered> m_covered;
    bool m_isChanged = false;
    bool m_jumps = false;
    unsigned m_round = 0; ///< grows when `m_covered` becomes another list
};
}
