#pragma once

#include <Tactile/ContactEvent.hpp>
#include <Tactile/OneEuroFilter.hpp>

#include <cstdint>
#include <memory>
#include <vector>

namespace Tactile
{
struct Sample;

struct TrackerSettings
{
    float pixelPitchMm = 0.6f;          ///< millimetres of table for each scene pixel
    double holdSeconds = 0.6;           ///< how long a marker that vanished stays on the table
    float holdDistanceMm = 40.f;        ///< how near the same code must come back to be the same card
    float markerOutlineRadiusMm = 40.f; ///< fingers that start within it are the card's own shadow
    double lostSenderSeconds = 5.0;     ///< silence after which a sender is given up
    bool smoothing = true;
    OneEuroSettings positionFilter;                ///< speed in pixels per second
    OneEuroSettings rotationFilter{2.f, 1.f, 1.f}; ///< speed in radians per second
    float quietDistancePx = 0.25f;                 ///< smaller movements since the last reported place are not reported
    float quietRadians = 0.002f;                   ///< the same for turning
};

/// Decides which reports belong to the same finger or card, and gives each its id.
///
/// - A marker that vanishes is held; the same code back in time and near enough goes on as if it had never left.
///   Back further away, it was lifted: an Up, and in the next frame a Down under the same id.
/// - A code seen twice within the hold distance is one card seen twice. Further apart, the second is a card with an id of
///   its own, and a warning.
/// - Fingers are never held. One that starts in a marker's outline is ignored until it is lifted.
/// - A contact that appears in an ignored area is ignored until it is lifted, also when it moves out. A card that was on the
///   table already, comes back there under the rules above; and what moves into the area stays.
/// - A sender silent for too long: its fingers are cancelled, the hold of its markers begins.
///
/// All time is that of `update`, so frames cranked by hand give the same results. Events of a frame are applied before holds
/// end: a card that is back in the same frame was never gone, however long that frame took. One thread at a time.
class TAVOLA_EXPORT ContactTracker
{
public:
    explicit ContactTracker(const TrackerSettings& settings = {});
    ~ContactTracker();

    /// Applies the `events` since the call before, positions in scene pixels, and writes the result to `sample`, replacing its
    /// contents. A contact has at most one Move in a frame.
    void update(double nowSeconds, const std::vector<ContactEvent>& events, Sample& sample);

    struct LostSource
    {
        std::uint16_t source;
        bool hadContacts;
    };
    /// The senders given up in the last update.
    [[nodiscard]] const std::vector<LostSource>& lostSources() const noexcept;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
}
