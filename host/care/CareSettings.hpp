#pragma once

namespace Host
{
/// What a presentation says about the host's care. A plain record.
struct CareSettings
{
    float closeAfterSeconds = 120.f;       ///< unused for so long, what visitors opened closes
    float closeLiftedAfterSeconds = 120.f; ///< the same, once the card that opened it is lifted
    float idleAfterSeconds = 60.f;         ///< untouched for so long, the table counts as idle
    float tidyAfterSeconds = 120.f;        ///< untouched for so long, content goes home
};
}
