#pragma once

#include "input/FingerInput.hpp"
#include "input/GrabTable.hpp"

#include <Tactile/Sample.hpp>
#include <Trellis/GrabManager.hpp>

#include <cstdint>
#include <optional>
#include <vector>

namespace Tactile
{
class InputSource;
}

namespace Trellis
{
/// The one way of input to the widgets. Once a frame it collects the sample of all sources and delivers its changes in
/// their order, cards and fingers alike: an object that appears is offered to the widgets under it, and what becomes of it
/// goes to the widget that holds it. Fingers also drag (FingerInput).
class InputRouter
{
public:
    InputRouter(Widget& root, MotionController& motion);
    InputRouter(const InputRouter&) = delete;
    InputRouter& operator=(const InputRouter&) = delete;

    /// Sources are read in the order they were added. Not owned.
    void addSource(Tactile::InputSource& source);
    void removeSource(Tactile::InputSource& source);
    /// Collects and delivers the input of one frame.
    void run(double timeSeconds, double dtSeconds);

    [[nodiscard]] GrabManager& grabManager() noexcept { return m_grabManager; }
    [[nodiscard]] FingerInput& fingers() noexcept { return m_fingers; }
    [[nodiscard]] const Tactile::Sample& sample() const noexcept { return m_sample; }
    /// The marker as it lies now, or with `includeLifted` as it left in this frame.
    [[nodiscard]] std::optional<Tactile::Marker> findMarker(std::int64_t id, bool includeLifted) const;
    [[nodiscard]] Widget* holder(std::int64_t id) const { return m_grabs.holder(id); }

    /// Gives an object that is on the table to a widget of the tree; anything else is ignored.
    void transfer(std::int64_t id, Widget& to);
    /// Releases the object if the widget holds it.
    void release(std::int64_t id, const Widget& holder);
    /// Ends everything that fingers and markers do with the widget and what is in it, silently.
    void dropAllBelow(Widget& widget);

private:
    void collectSample(double timeSeconds);
    void deliver(const Tactile::InputChange& change);
    void appeared(const Tactile::TrackedObject& object);
    void left(const Tactile::TrackedObject& object, bool cancelled);
    void giveMarker(const Tactile::Marker& marker, Widget& to);

    Widget& m_root;
    GrabManager m_grabManager;
    GrabTable m_grabs;
    FingerInput m_fingers;
    std::vector<Tactile::InputSource*> m_sources;
    Tactile::Sample m_sample;
    Tactile::Sample m_scratch;             ///< of one source, reused
    std::vector<Tactile::Marker> m_lifted; ///< in this frame
};
}
