#pragma once

#include <Bedrock/Color.hpp>
#include <Bedrock/Export.hpp>
#include <Vecta/Vector2T.hpp>

#include <cstddef>

namespace Lantern
{
/// What a box throws, or with `isInset` what its edge throws into it. A plain value.
struct BoxShadow
{
    Vecta::Vector2f offset; ///< pixels
    float blurPx = 0.f;     ///< twice the standard deviation of the blur; at least 0
    float spreadPx = 0.f;   ///< so much larger than the box
    Bedrock::Color color;   ///< not premultiplied
    bool isInset = false;

    /// So far beyond its edges the blur is visible.
    [[nodiscard]] float blurReachPx() const { return 1.5f * blurPx; }
    friend bool operator==(const BoxShadow& a, const BoxShadow& b)
    {
        return a.offset == b.offset && a.blurPx == b.blurPx && a.spreadPx == b.spreadPx && a.color == b.color
            && a.isInset == b.isInset;
    }
};

/// The blurred shapes in memory: boxes of many sizes and places share one. For tools and tests; main thread only.
class TAVOLA_EXPORT KeptShadows
{
public:
    [[nodiscard]] static std::size_t count();
    /// How many were computed since the process began.
    [[nodiscard]] static long built();
};
}
