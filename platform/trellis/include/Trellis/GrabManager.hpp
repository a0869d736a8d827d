#pragma once

#include <Bedrock/Export.hpp>

#include <Tactile/Sample.hpp>

#include <cstdint>
#include <optional>

namespace Trellis
{
class InputGrabber;
class InputRouter;

/// What lies on the table and which widget holds it: the widgets' side of the input. Main thread only.
///
/// An object that appears is offered to the widgets under it, from the top to the bottom, until one accepts it
/// (Widget::shouldGrab); an object that none accepts is held by none. A grab lasts until the object leaves, the widget leaves
/// the tree, or the grab is transferred or released.
class TAVOLA_EXPORT GrabManager
{
public:
    /// The application has the one there is: Application::grabManager.
    explicit GrabManager(InputRouter& router) : m_router(router) {}
    GrabManager(const GrabManager&) = delete;
    GrabManager& operator=(const GrabManager&) = delete;

    /// The table's input at this frame.
    [[nodiscard]] const Tactile::Sample& currentSample() const noexcept;
    /// The marker of that id as it lies now. With `includeLifted` also one that left the table in this very frame.
    [[nodiscard]] std::optional<Tactile::Marker> findMarker(std::int64_t id, bool includeLifted = false) const;
    /// The grabber that holds the object, or null.
    [[nodiscard]] InputGrabber* grabber(std::int64_t id) const;
    /// Gives the object to another grabber. The new host's `markerDown` is called before this returns; nothing is called on
    /// the old host. An id that is not on the table is ignored.
    void transferGrab(std::int64_t id, InputGrabber& to);
    /// Releases the object if `grabber` holds it; otherwise nothing happens.
    void ungrab(std::int64_t id, InputGrabber& grabber);

private:
    InputRouter& m_router;
};
}
