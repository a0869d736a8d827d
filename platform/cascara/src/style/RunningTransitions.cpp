#include "style/RunningTransitions.hpp"

#include <Facet/NameTable.hpp>

#include <algorithm>
#include <cmath>
#include <utility>

namespace Cascara
{
namespace
{
/// Sums of rounded steps must reach the end in the frame that they are meant to.
constexpr double kToleranceSeconds = 1e-6;

Facet::Attribute* attributeOf(const StyleNode& node, int attribute)
{
    return node.owner ? node.owner->node().attributeNumbered(attribute) : nullptr;
}
}

double RunningTransitions::Running::progress() const
{
    const double since = passedSeconds - transition.delaySeconds;
    return since <= 0.0 ? 0.0 : transition.timing.at(transition.seconds > 0.0 ? since / transition.seconds : 1.0);
}

bool RunningTransitions::Running::hasEnded() const
{
    return passedSeconds + kToleranceSeconds >= transition.delaySeconds + transition.seconds;
}

RunningTransitions::Pointer RunningTransitions::find(const StyleNode& node, int attribute) const
{
    for (const Pointer& running : m_running)
        if (running->node.get() == &node && running->attribute == attribute)
            return running;
    return nullptr;
}

bool RunningTransitions::moves(const StyleNode& node) const
{
    return std::any_of(m_running.begin(), m_running.end(), [&](const Pointer& running) { return running->node.get() == &node; });
}

void RunningTransitions::valueWritten(StyleNode& node, Facet::Attribute& attribute, const QString& before,
                                      const TransitionList* transitions)
{
    const Transition* const transition = transitions ? transitions->find(attribute.name()) : nullptr;
    const int number = attribute.nameNumber();
    const Pointer old = find(node, number);
    const bool isHidden = attribute.hasValue(Facet::kUserLayer); // what shows does not change
    const QString target = isHidden ? QString() : attribute.toText();
    if (old && !isHidden && target == old->target) {
        if (transitions && transitions->names(attribute.name())) { // as far as it has come; its time stays what it was
            write(*old);
            return;
        }
        end(*old);
        removeEnded();
        return;
    }
    double factor = 1.0;
    const bool reverses = old && target == old->start;
    if (reverses) // how much of the way there is to go back
        factor = std::clamp(std::abs(old->progress() * old->reversingFactor + 1.0 - old->reversingFactor), 0.0, 1.0);
    if (old)
        end(*old);
    if (isHidden || !transition || before == target) {
        removeEnded();
        return;
    }
    const auto running = std::make_shared<Running>(
        Running{StyleNode::shared(*node.owner), number, ValueMixer(before, target), reverses ? old->target : before, target,
                ValueMixer(target, target).at(1.0), !attribute.hasValue(Facet::kStyleLayer), *transition});
    running->transition.seconds *= factor;
    if (running->transition.delaySeconds < 0.0)
        running->transition.delaySeconds *= factor;
    running->reversingFactor = factor;
    m_running.push_back(running);
    write(*running);
    removeEnded();
}

void RunningTransitions::keepOnly(StyleNode& node, const TransitionList* transitions)
{
    for (std::size_t i = 0; i < m_running.size(); ++i) {
        const Pointer running = m_running[i];
        if (running->node.get() != &node)
            continue;
        const QByteArray name = Facet::NameTable::instance().name(running->attribute);
        if (!transitions || !transitions->names(name))
            finish(*running);
    }
    removeEnded();
}

void RunningTransitions::finish(StyleNode& node, Facet::Attribute& attribute)
{
    if (const Pointer running = find(node, attribute.nameNumber()))
        finish(*running);
    removeEnded();
}

void RunningTransitions::advance(double seconds, bool finishAll)
{
    if (m_running.empty() || m_isAdvancing)
        return;
    m_isAdvancing = true;
    // What begins on the way begins with the next frame.
    for (std::size_t i = 0, count = m_running.size(); i < count; ++i) {
        const Pointer running = m_running[i];
        if (!running->node)
            continue;
        running->passedSeconds += seconds;
        if (finishAll || running->hasEnded() || !running->node->owner)
            finish(*running);
        else
            write(*running);
    }
    m_isAdvancing = false;
    removeEnded();
}

void RunningTransitions::hold(StyleNode& node, Facet::Attribute& attribute)
{
    const Pointer running = find(node, attribute.nameNumber());
    if (!running)
        return;
    // A run-time value hides what moves: it stays.
    const bool shows = !attribute.hasValue(Facet::kUserLayer);
    const Facet::StyleValue shown = running->mixer.at(running->progress());
    if (shows && (!attribute.setStyleValue(shown, Facet::kUserLayer, nullptr) || !node.owner))
        return;
    finish(*running);
    removeEnded();
}

void RunningTransitions::write(Running& running)
{
    if (Facet::Attribute* const attribute = attributeOf(*running.node, running.attribute))
        (void)attribute->setStyleValue(running.mixer.at(running.progress()), Facet::kStyleLayer, nullptr);
}

/// Leaves the value at the end of the way.
void RunningTransitions::finish(Running& running)
{
    const auto node = std::exchange(running.node, nullptr);
    Facet::Attribute* const attribute = node ? attributeOf(*node, running.attribute) : nullptr;
    if (attribute && running.endsCleared)
        attribute->clearValue(Facet::kStyleLayer);
    else if (attribute)
        (void)attribute->setStyleValue(running.targetValue, Facet::kStyleLayer, nullptr);
}

/// Leaves the value as it is.
void RunningTransitions::end(Running& running)
{
    running.node = nullptr;
}

void RunningTransitions::removeEnded()
{
    if (m_isAdvancing)
        return;
    m_running.erase(std::remove_if(m_running.begin(), m_running.end(), [](const Pointer& running) { return !running->node; }),
                    m_running.end());
}
}
