#include "care/IdleSign.hpp"

#include <Tactile/Sample.hpp>
#include <Trellis/Widget.hpp>

#include <algorithm>

namespace Host
{
void IdleSign::update(Trellis::Widget& root, const Tactile::Sample& sample, bool isAnyOpen, float dtSeconds)
{
    // Trackers report moves of cards that merely lie there.
    const bool isUsed = isAnyOpen || !sample.fingers.empty()
        || std::any_of(sample.changes.begin(), sample.changes.end(), [](const Tactile::InputChange& change) {
                            return change.object.isFinger() || change.kind != Tactile::InputChange::Kind::Move;
                        });
    m_unusedSeconds = isUsed ? 0.f : m_unusedSeconds + dtSeconds;
    root.setPseudoClass("idle", !isUsed && m_unusedSeconds >= m_afterSeconds);
}
}
