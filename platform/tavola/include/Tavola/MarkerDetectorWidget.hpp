#pragma once

#include <Trellis/Widget.hpp>

#include <cstdint>
#include <map>

namespace Tavola
{
/// The host's own detector in the internal overlay, for cards that are not registered with the marker service. It grabs none by
/// itself; other widgets transfer their grabs to it. While such a card lies on the table a mark of class "unknown-card" stands
/// under it. Covers the table. CSS type "MarkerDetectorWidget". Main thread only.
class TAVOLA_EXPORT MarkerDetectorWidget final : public Trellis::Widget
{
public:
    explicit MarkerDetectorWidget(Trellis::Widget* parent = nullptr);
    ~MarkerDetectorWidget() override;

    void markerDown(Tactile::Marker marker, Trellis::GrabManager& grabManager) override;
    void markerUp(Tactile::Marker marker, Trellis::GrabManager& grabManager) override;
    void update(const Trellis::FrameInfo& frame) override;

private:
    std::map<std::int64_t, Bedrock::IntrusivePtr<Trellis::Widget>> m_marks; ///< by the card's id
};
}
