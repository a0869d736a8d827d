#pragma once

#include <Bedrock/Export.hpp>

namespace Tactile
{
struct Sample;

/// Gives the main loop its input: from TUIO, the mouse of a window, or a test's script. Main thread only.
class TAVOLA_EXPORT InputSource
{
public:
    virtual ~InputSource() = default;

    /// Writes the changes since the call before, and the present state, into `sample` (replacing what is in it; buffers
    /// are reused, so that a quiet frame allocates nothing). `nowSeconds` is frame time and never decreases.
    virtual void readSample(double nowSeconds, Sample& sample) = 0;
};
}
