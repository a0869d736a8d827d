#pragma once

#include <Bedrock/Export.hpp>

namespace Tactile
{
struct Sample;

/// Where the main loop gets its input from: the TUIO table, the mouse of a window, a script in a test. Main thread only.
class TAVOLA_EXPORT InputSource
{
public:
    virtual ~InputSource() = default;

    /// Writes the changes since the call before, and the present state, into `sample` (replacing what is in it; buffers
    /// are reused, so that a quiet frame allocates nothing). `nowSeconds` is frame time and only ever grows.
    virtual void takeSample(double nowSeconds, Sample& sample) = 0;
};
}
