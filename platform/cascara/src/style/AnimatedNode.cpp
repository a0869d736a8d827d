#include "style/AnimatedNode.hpp"

#include "style/DeclaredValue.hpp"
#include "style/LoadedSheets.hpp"
#include "style/StyleEnginePrivate.hpp"
#include "values/InheritedValues.hpp"

#include <algorithm>

namespace Cascara
{
bool AnimatedNode::setAnimations(std::shared_ptr<const AnimationList> list, bool mayBegin)
{
    if (list == m_list)
        return false;
    m_list = std::move(list);
    std::vector<Entry> before;
    before.swap(m_entries);
    for (const Animation& animation : m_list->all()) {
        const auto same = std::find_if(before.begin(), before.end(),
                                       [&](const Entry& entry) { return entry.animation.name == animation.name; });
        if (same != before.end()) {
            m_entries.push_back(std::move(*same));
            m_entries.back().animation = animation;
            before.erase(same);
        } else {
            m_entries.push_back({animation, mayBegin ? State::Waiting : State::Untouched});
        }
    }
    m_isChanged = true;
    uncoverAll();
    return true;
}

void AnimatedNode::uncoverAll()
{
    ++m_round;
    std::vector<Covered> all;
    all.swap(m_covered);
    for (Covered& covered : all)
        uncover(std::move(covered));
}

void AnimatedNode::uncover(Covered covered)
{
    Facet::Attribute* const attribute = covered.isWritten ? attributeOf(covered) : nullptr;
    if (!attribute)
        return;
    // The node restores the geometry at rest before listeners to the value read it.
    m_node->reportUncover(*attribute);
    if (covered.restIsCleared)
        attribute->clearValue(Facet::kStyleLayer);
    else
        (void)attribute->setStyleValue(covered.rest, Facet::kStyleLayer, nullptr);
}

void AnimatedNode::begin(const LoadedSheets& sheets, bool jumps)
{
    if (!m_isChanged || !m_node->isInTree())
        return;
    m_jumps = jumps;
    m_isChanged = false;
    for (std::size_t i = 0; i < m_entries.size(); ++i) {
        if (m_entries[i].state == State::Waiting)
            m_entries[i].state = State::Running;
        const auto keyframes = sheets.findKeyframes(m_entries[i].animation.name);
        if (keyframes && m_entries[i].state == State::Running)
            addTracks(i, *keyframes);
    }
    write();
}

void AnimatedNode::addTracks(std::size_t entry, const Keyframes& keyframes)
{
    std::vector<std::pair<int, std::vector<KeyframeTrack::Point>>> ways;
    const TimingFunction& usual = m_entries[entry].animation.function;
    for (const Keyframe& frame : keyframes.frames) {
        TimingFunction function = usual;
        for (const Declaration& declaration : frame.rule->declarations) {
            if (declaration.motionLonghand != int(MotionLonghand::AnimationTiming))
                continue;
            const DeclaredValue declared(*m_node, declaration);
            int position = 0;
            if (declared.isValid() && !TimingFunction::read(declared.value().terms, position, function))
                function = usual;
        }
        for (const Declaration& declaration : frame.rule->declarations)
            if (declaration.motionLonghand < 0)
                addPoint(declaration, frame.offset, function, ways);
    }
    for (auto& [attribute, points] : ways) {
        auto covered = std::find_if(m_covered.begin(), m_covered.end(),
                                    [number = attribute](const Covered& other) { return other.attribute == number; });
        if (covered == m_covered.end())
            covered = m_covered.insert(m_covered.end(), Covered{attribute, {}, {}});
        covered->tracks.emplace_back(entry, KeyframeTrack(std::move(points), usual));
    }
}

void AnimatedNode::addPoint(const Declaration& declaration, double offset, const TimingFunction& function,
                            std::vector<std::pair<int, std::vector<KeyframeTrack::Point>>>& ways)
{
    const int number = declaration.attributeNumber;
    std::optional<QString> text;
    if (!m_node->owner->node().attributeNumbered(number) || !readText(declaration, text))
        return;
    auto way = std::find_if(ways.begin(), ways.end(), [number](const auto& other) { return other.first == number; });
    if (way == ways.end())
        way = ways.insert(ways.end(), {number, {}});
    way->second.push_back({offset, text, function});
}

/// False for a declaration that is wrong, which is reported.
bool AnimatedNode::readText(const Declaration& declaration, std::optional<QString>& text)
{
    const Facet::Attribute& attribute = *m_node->owner->node().attributeNumbered(declaration.attributeNumber);
    const DeclaredValue declared(*m_node, declaration);
    if (!declared.isValid())
        return false;
    QString result;
    QString expected;
    if (declared.keyword() == WideKeyword::None) {
        if (!attribute.textOf(declared.value(), result, &expected)) {
            declared.reportUnfit(expected);
            return false;
        }
    } else {
        const bool inherits = declared.keyword() == WideKeyword::Inherit
            || (declared.keyword() == WideKeyword::Unset && isInheritedAttribute(declaration.attribute));
        const Styleable* const parent = inherits ? m_node->owner->styleParent() : nullptr;
        const Facet::Attribute* const source = parent ? parent->node().attributeNumbered(declaration.attributeNumber) : nullptr;
        result = source && source->isOfSameType(attribute) ? source->layerText(Facet::kStyleLayer)
                                                           : attribute.layerText(Facet::kDefaultLayer);
    }
    text = result;
    return true;
}

AnimationTiming AnimatedNode::timingOf(const Entry& entry) const
{
    AnimationTiming timing = entry.animation.timing;
    if (m_jumps)
        timing.seconds = timing.delaySeconds = 0.0;
    return timing;
}

void AnimatedNode::advance(double seconds, bool jumps)
{
    bool moves = std::exchange(m_jumps, jumps) != jumps;
    for (Entry& entry : m_entries) {
        if (entry.state != State::Running || entry.animation.isPaused || timingOf(entry).hasEnded(entry.passedSeconds))
            continue;
        entry.passedSeconds += seconds;
        moves = true;
    }
    if (moves)
        write();
}

bool AnimatedNode::isMoving() const
{
    return std::any_of(m_entries.begin(), m_entries.end(), [this](const Entry& entry) {
        return entry.state == State::Running && !entry.animation.isPaused && !timingOf(entry).hasEnded(entry.passedSeconds);
    });
}

Facet::Attribute* AnimatedNode::attributeOf(const Covered& covered) const
{
    return m_node->owner ? m_node->owner->node().attributeNumbered(covered.attribute) : nullptr;
}

/// What counts at the moment: no track while none of the animations says anything.
AnimatedNode::Progress AnimatedNode::progressOf(Covered& covered) const
{
    for (auto track = covered.tracks.rbegin(); track != covered.tracks.rend(); ++track) {
        const Entry& entry = m_entries[track->first];
        if (const auto share = timingOf(entry).at(entry.passedSeconds))
            return {&track->second, *share};
    }
    return {};
}

void AnimatedNode::keepRest(Covered& covered, const Facet::Attribute& attribute)
{
    const QString text = attribute.layerText(Facet::kStyleLayer);
    covered.rest = ValueMixer(text, text).at(1.0);
    covered.restIsCleared = !attribute.hasValue(Facet::kStyleLayer);
    for (auto& [entry, track] : covered.tracks)
        track.setRest(text);
}

/// False when a listener made another list of what is covered, or destroyed the node.
bool AnimatedNode::cover(Covered& covered, Facet::Attribute& attribute)
{
    const unsigned round = m_round;
    restyler().transitions().finish(*m_node, attribute);
    if (!isAlive() || m_round != round)
        return false;
    keepRest(covered, attribute);
    covered.isWritten = true;
    m_node->reportCover(attribute);
    return true;
}

void AnimatedNode::write()
{
    const unsigned round = ++m_round;
    for (std::size_t i = 0; m_round == round && i < m_covered.size(); ++i) {
        Covered& covered = m_covered[i];
        Facet::Attribute* const attribute = attributeOf(covered);
        if (!attribute)
            return;
        if (const Progress progress = progressOf(covered); progress.track) {
            if (!covered.isWritten && !cover(covered, *attribute))
                return;
            (void)attribute->setStyleValue(progress.track->at(progress.share), Facet::kStyleLayer, nullptr);
        } else if (covered.isWritten) {
            Covered ended{covered.attribute, {}, covered.rest, covered.restIsCleared, true};
            covered.isWritten = false;
            uncover(std::move(ended));
        }
    }
}

bool AnimatedNode::covers(int attribute) const
{
    return std::any_of(m_covered.begin(), m_covered.end(),
                       [attribute](const Covered& covered) { return covered.attribute == attribute && covered.isWritten; });
}

void AnimatedNode::restWritten(Facet::Attribute& attribute)
{
    for (Covered& covered : m_covered) {
        if (covered.attribute != attribute.nameNumber() || !covered.isWritten)
            continue;
        keepRest(covered, attribute);
        m_node->reportCover(attribute);
        if (const Progress progress = progressOf(covered); progress.track)
            (void)attribute.setStyleValue(progress.track->at(progress.share), Facet::kStyleLayer, nullptr);
        return;
    }
}

void AnimatedNode::hold(Facet::Attribute& attribute)
{
    const auto found = std::find_if(m_covered.begin(), m_covered.end(), [&](const Covered& covered) {
        return covered.attribute == attribute.nameNumber() && covered.isWritten;
    });
    if (found == m_covered.end())
        return;
    ++m_round;
    Covered covered = std::move(*found);
    m_covered.erase(found);
    const Progress progress = progressOf(covered);
    if (progress.track && !attribute.hasValue(Facet::kUserLayer))
        (void)attribute.setStyleValue(progress.track->at(progress.share), Facet::kUserLayer, nullptr);
    uncover(std::move(covered));
}
}
