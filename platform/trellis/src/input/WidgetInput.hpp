#pragma once

#include <Bedrock/IntrusivePtr.hpp>
#include <Facet/EventName.hpp>
#include <Tactile/Sample.hpp>
#include <Vecta/Vector2T.hpp>

#include <cstdint>
#include <vector>

namespace Trellis
{
class DragObserver;
class GrabManager;
class Widget;

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
/// Handlers may remove any widget: what is held is found anew after every call that leaves this class.
class WidgetInput
{
public:
    explicit WidgetInput(GrabManager& grabManager, Widget& root);
    ~WidgetInput();
    WidgetInput(const WidgetInput&) = delete;
    WidgetInput& operator=(const WidgetInput&) = delete;

    /// Delivers the finger changes of one frame and moves what is dragged.
    void process(const Tactile::Sample& sample, double timeSeconds, double dtSeconds);
    void setObserver(DragObserver* observer) noexcept { m_observer = observer; }
    void setTapLimits(float distancePx, double seconds) noexcept
    {
        m_tapDistancePx = distancePx;
        m_tapSeconds = seconds;
    }
    [[nodiscard]] bool isIdle() const noexcept { return m_fingers.empty(); }

    /// Gives a finger that is down to another widget.
    void transfer(std::int64_t id, Widget& to);
    /// Forgets a finger, silently.
    void drop(std::int64_t id);
    /// Ends everything that fingers and markers do with the widget and what is in it, silently.
    static void dropAllBelow(Widget& widget);
    /// As above for the one widget, which leaves the tree.
    static void widgetLeaves(Widget& widget);

private:
    struct Finger
    {
        std::int64_t id;
        Vecta::Vector2f start; ///< scene
        Vecta::Vector2f now;
        Vecta::Vector2f settled; ///< where it was at the last step, in the coordinates of the receiver's parent
        double downTime;
        Widget* hit; ///< null when that widget has left
        Widget* receiver;
        bool tapPossible;
    };
    struct Hold
    {
        Widget* receiver;
        bool dragging = false;
        bool announced = false; ///< the observer knows of the drag
        Vecta::Vector2f velocity;
        Vecta::Vector2f travel; ///< in this frame
        int movingFrames = 0;
        bool stepped = false; ///< in this frame
    };

    void fingerDown(const Tactile::TrackedObject& object);
    void fingerMoved(const Tactile::TrackedObject& object);
    void fingerLeft(const Tactile::TrackedObject& object, bool cancelled);
    void begin(const Tactile::TrackedObject& object, Widget& hit, bool tapPossible);
    void step(Widget& receiver);
    void stepAll();
    void finishFrame();
    static void sendFinger(Facet::EventName event, Widget& hit, std::int64_t id, Vecta::Vector2f scenePoint);
    void sendTap(Widget& hit, Vecta::Vector2f scenePoint);
    void settle(Widget& receiver);
    void touch(Widget* widget) const;

    [[nodiscard]] Finger* findFinger(std::int64_t id);
    [[nodiscard]] Hold* findHold(const Widget& receiver);
    [[nodiscard]] int fingersOn(const Widget& receiver) const;
    void eraseFinger(std::int64_t id);
    [[nodiscard]] static Widget& receiverOf(Widget& hit);
    [[nodiscard]] static int depthOf(const Widget& widget);

    static WidgetInput* s_current;
    GrabManager& m_grabManager;
    Widget& m_root;
    DragObserver* m_observer = nullptr;
    float m_tapDistancePx = 12.f;
    double m_tapSeconds = 0.5;
    double m_time = 0.0;
    double m_dt = 0.0;
    std::vector<Finger> m_fingers;
    std::vector<Hold> m_holds;
    std::vector<Vecta::Vector2f> m_from; ///< reused
    std::vector<Vecta::Vector2f> m_to;
};
}
