#pragma once

#include "input/Dragging.hpp"
#include "input/HeldFingers.hpp"

#include <Facet/EventName.hpp>
#include <Tactile/TrackedObject.hpp>

namespace Trellis
{
/// Fingers on widgets: taps, drags, pinches, turns.
///
/// A finger belongs to the widget that it hit, and moves the nearest widget upwards that can be moved, turned or scaled
/// (the receiver; the hit widget itself if there is none). All fingers with one receiver make one hold:
///
///     finger down           finger beyond the tap distance,            last finger up
///                           or moving as one of several
///     (no hold) ──► resting ─────────────────────────────► dragging ──────────────────► sliding (MotionController)
///                      │ last finger up, in time
///                      └──► tap
///
/// Handlers may remove any widget: what is held is looked up anew after every call that leaves this class.
class FingerInput
{
public:
    FingerInput(GrabTable& grabs, MotionController& motion);

    [[nodiscard]] Dragging& dragging() noexcept { return m_dragging; }
    void setTapLimits(float distancePx, double seconds) noexcept;

    void beginFrame(double timeSeconds, double dtSeconds) noexcept;
    /// Moves what is dragged, after the frame's changes.
    void endFrame();

    [[nodiscard]] bool isDown(std::int64_t id) { return m_held.findFinger(id) != nullptr; }
    /// The finger came down on `hit`.
    void down(const Tactile::TrackedObject& finger, Widget& hit);
    void moved(const Tactile::TrackedObject& finger);
    void left(const Tactile::TrackedObject& finger, bool cancelled);

    /// Gives a finger that is down to another widget. One that is not down is ignored.
    void transfer(std::int64_t id, Widget& to);
    /// Forgets a finger, silently.
    void drop(std::int64_t id) { m_held.drop(id); }
    /// Ends everything that fingers do with the widget, silently.
    void widgetLeaves(Widget& widget) { m_held.widgetLeaves(widget); }

private:
    enum class Tap { Possible, Impossible };

    void begin(const Tactile::TrackedObject& object, Widget& hit, Tap tap);
    static void sendFinger(Facet::EventName event, Widget& hit, std::int64_t id, Vecta::Vector2f scenePoint);
    static void sendTap(Widget& hit, Vecta::Vector2f scenePoint);
    void touch(Widget* widget) const;

    MotionController& m_motion;
    HeldFingers m_held;
    Dragging m_dragging;
    float m_tapDistancePx = 12.f;
    double m_tapSeconds = 0.5;
    double m_time = 0.0;
    double m_dt = 0.0;
};
}
