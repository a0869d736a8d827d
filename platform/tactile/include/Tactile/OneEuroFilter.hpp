#pragma once

#include <Bedrock/Export.hpp>
#include <Vecta/Vector2T.hpp>

namespace Tactile
{
struct OneEuroSettings
{
    float minCutoffHz = 2.f;        ///< smoothing at rest: lower is calmer
    float beta = 0.02f;             ///< Hz of cutoff for each unit per second of speed: higher follows a quick hand more closely
    float derivativeCutoffHz = 1.f; ///< smoothing of the speed itself
};

/// Low-pass filter whose cutoff rises with speed: calm at rest, without lag in a quick movement. Filters a point, with one
/// cutoff for both axes, so that a curve keeps its shape. Deterministic: the result depends on the calls alone.
class TAVOLA_EXPORT OneEuroFilter
{
public:
    explicit OneEuroFilter(const OneEuroSettings& settings = {}) : m_settings(settings) {}

    /// Sets the filter to rest at `value`.
    void reset(Vecta::Vector2f value);
    /// The filtered value after `dtSeconds` in which the input was `value`. Where no time has passed (0 or less) the
    /// filter is reset to it.
    Vecta::Vector2f filter(Vecta::Vector2f value, double dtSeconds);

    [[nodiscard]] Vecta::Vector2f value() const noexcept { return m_value; }

private:
    OneEuroSettings m_settings;
    Vecta::Vector2f m_raw;
    Vecta::Vector2f m_value;
    Vecta::Vector2f m_speed;
};
}
