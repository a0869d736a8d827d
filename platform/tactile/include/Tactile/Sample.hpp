#pragma once

#include <Tactile/Marker.hpp>
#include <Tactile/TrackedObject.hpp>

#include <vector>

namespace Tactile
{
/// What happened to one object since the sample before.
struct InputChange
{
    enum class Kind {
        Down,  ///< appeared
        Move,  ///< moved or turned
        Up,    ///< left the table
        Cancel ///< was taken away (sender lost): ends everything it did, and is no tap
    };
    Kind kind;
    TrackedObject object;
};

/// The table's input at one frame: what lies on it now, and in order what changed since the sample before. A down and an
/// up within one frame are both among the changes.
struct Sample
{
    std::vector<TrackedObject> fingers; ///< by id, ascending
    std::vector<Marker> markers;        ///< in the order in which they were put down
    std::vector<InputChange> changes;

    void clear()
    {
        fingers.clear();
        markers.clear();
        changes.clear();
    }
};
}
