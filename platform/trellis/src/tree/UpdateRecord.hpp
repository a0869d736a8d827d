#pragma once

#include <Trellis/Operator.hpp>

#include <vector>

namespace Trellis
{
/// The operators of a widget, and its place in the list of widgets that a frame visits, which FrameUpdater writes.
struct UpdateRecord
{
    std::vector<Bedrock::IntrusivePtr<Operator>> operators;
    bool updating = false;
    int activeIndex = -1;   ///< in the list, or -1
    int operatorIndex = -1; ///< the operator that is being updated, or -1
    int operatorEnd = -1;   ///< one past the last operator that takes part in this frame
};
}
