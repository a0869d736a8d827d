#include "motion/MotionController.hpp"

#include "tree/WidgetEngines.hpp"
#include "tree/WidgetRecords.hpp"

#include <Cascara/StyleEngine.hpp>

#include <algorithm>
#include <cmath>

namespace Trellis
{
using Vecta::Vector2f;

namespace
{
/// Slower than this is no throw, and ends a slide.
constexpr float kLeastThrow = 80.f;
constexpr float kStandstill = 8.f;
/// A jump of a finger that the hardware lost for a moment must not throw a widget across the table.
constexpr float kFastestThrow = 4000.f;
/// Share of the speed that friction takes per second, as an exponent: a throw of v slides v / 5 pixels.
constexpr float kFriction = 5.f;
/// Fingers that meet in one point say nothing about the size any more.
constexpr float kLeastFactor = 1e-4f;
}

MotionController::Step MotionController::fit(const Vector2f* from, const Vector2f* to, int count, bool turns, bool scales)
{
    Step step;
    for (int i = 0; i < count; ++i) {
        step.from += from[i];
        step.to += to[i];
    }
    step.from = step.from / float(count);
    step.to = step.to / float(count);
    if (count < 2 || (!turns && !scales))
        return step;

    float along = 0.f;
    float across = 0.f;
    float spread = 0.f;
    for (int i = 0; i < count; ++i) {
        const Vector2f p = from[i] - step.from;
        const Vector2f q = to[i] - step.to;
        along += Vecta::dot(p, q);
        across += p.x * q.y - p.y * q.x;
        spread += p.lengthSquared();
    }
    if (spread < 1.f)
        return step;
    if (turns)
        step.turn = std::atan2(across, along);
    if (scales) {
        const float factor = (turns ? std::sqrt(along * along + across * across) : along) / spread;
        if (factor > kLeastFactor)
            step.factor = factor;
    }
    return step;
}

void MotionController::takeOver(Widget& widget)
{
    LayoutRecord& layout = WidgetRecords::of(widget).layout;
    const Vector2f corner = widget.mapToParent({});
    const bool isShifted = layout.cornerShift() != Vector2f();
    Cascara::StyleEngine::instance().hold(widget, {"location", "rotation", "scale"});
    if (isShifted)
        layout.location.setValue(corner);
}

void MotionController::apply(Widget& widget, const Step& step)
{
    takeOver(widget);
    LayoutRecord& layout = WidgetRecords::of(widget).layout;
    const MotionRecord& motion = WidgetRecords::of(widget).motion;
    const Vector2f location = widget.location();
    const float oldScale = layout.scale.value();
    float factor = step.factor;
    if (factor != 1.f && oldScale > 0.f) {
        // Only what the limits allow; a widget that stands beyond them already may come back.
        const float least = std::min(motion.handling->minScale.value(), oldScale);
        const float most = std::max(motion.handling->maxScale.value(), oldScale);
        factor = std::clamp(oldScale * factor, least, most) / oldScale;
    }
    // A widget that must not be moved turns and grows about its own middle.
    const bool moves = motion.handling->movable.value();
    const Vector2f pivot = moves ? step.from : widget.centerLocation();
    const Vector2f target = moves ? step.to : pivot;
    const Vector2f newLocation = target + (location - pivot).rotated(step.turn) * factor;
    const float newRotation = layout.rotation.value().radians + step.turn;

    if (step.turn != 0.f)
        layout.rotation.setValue(Angle{newRotation});
    if (factor != 1.f)
        layout.scale.setValue(oldScale * factor);
    if (newLocation != location)
        layout.location.setValue(newLocation);
}

void MotionController::release(Widget& widget, Vector2f velocity)
{
    MotionRecord& motion = WidgetRecords::of(widget).motion;
    const float speed = velocity.length();
    if (!motion.handling->movable.value() || !motion.handling->inertia.value() || !(speed >= kLeastThrow))
        return;
    motion.velocity = velocity * (std::min(speed, kFastestThrow) / speed);
    motion.moving = true;
    m_engines.activityChanged(widget);
}

void MotionController::slide(Widget& widget, float dtSeconds)
{
    MotionRecord& motion = WidgetRecords::of(widget).motion;
    if (!widget.parent() || motion.velocity.length() < kStandstill) {
        stop(widget);
        return;
    }
    // The exact path of an exponential slow-down, so that the end does not depend on the frame rate.
    const float kept = std::exp(-kFriction * dtSeconds);
    const Vector2f before = widget.centerLocation();
    const Vector2f after = before + motion.velocity * ((1.f - kept) / kFriction);
    motion.velocity *= kept;
    const Vector2f room = widget.parent()->size();
    const auto keptInside = [](float from, float to, float extent, float& speed) {
        // A widget that a finger carried outside is not pulled back, but goes no further out.
        const float inside = std::clamp(to, std::min(0.f, from), std::max(extent, from));
        if (inside != to)
            speed = 0.f;
        return inside;
    };
    const Vector2f inside{keptInside(before.x, after.x, room.x, motion.velocity.x),
                          keptInside(before.y, after.y, room.y, motion.velocity.y)};
    if (inside != before)
        widget.setCenterLocation(inside);
}

void MotionController::stop(Widget& widget)
{
    MotionRecord& motion = WidgetRecords::of(widget).motion;
    motion.velocity = Vector2f();
    if (!motion.moving)
        return;
    motion.moving = false;
    m_engines.activityChanged(widget);
}
}
