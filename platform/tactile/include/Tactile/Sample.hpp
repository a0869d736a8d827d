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
        Cancel ///< its sender was lost: ends every gesture without effect, and is no tap
    };
    Kind kind;
    TrackedObject object;
};

/// The table's input at one frame: the present contacts, and the changes since the sample before, in order. A down and an up
/// within one frame are both among the changes.
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
