#pragma once

#include <Bedrock/Export.hpp>

#include <Tactile/Sample.hpp>

#include <cstdint>
#include <memory>
#include <optional>

namespace Trellis
{
class InputGrabber;
class Widget;

/// Knows what lies on the table and which widget holds it. Main thread only.
///
/// An object that appears is offered to the widgets under it, from the top to the bottom, until one takes it
/// (Widget::shouldGrab); what nobody takes belongs to nobody. A grab lasts until the object leaves, the widget leaves the
/// tree, or somebody moves or releases it.
class TAVOLA_EXPORT GrabManager
{
public:
    explicit GrabManager(Widget& root);
    ~GrabManager();
    GrabManager(const GrabManager&) = delete;
    GrabManager& operator=(const GrabManager&) = delete;

    /// The table's input at this frame.
    [[nodiscard]] const Tactile::Sample& currentSample() const noexcept;
    /// The marker of that id as it lies now. With `includeLifted` also one that left the table in this very frame.
    [[nodiscard]] std::optional<Tactile::Marker> findMarker(std::int64_t id, bool includeLifted = false) const;
    /// Who holds the object, or null.
    [[nodiscard]] InputGrabber* grabber(std::int64_t id) const;
    /// Gives the object to another grabber. The new host's `markerDown` is called before this returns; the old host hears
    /// nothing. An id that is not on the table is ignored.
    void transferGrab(std::int64_t id, InputGrabber& to);
    /// Releases the object if `grabber` holds it; otherwise nothing happens.
    void ungrab(std::int64_t id, InputGrabber& grabber);

private:
    friend class Application;
    friend class WidgetInput;
    struct Private;
    std::unique_ptr<Private> d;
};
}
