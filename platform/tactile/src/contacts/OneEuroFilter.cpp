#include <Tactile/OneEuroFilter.hpp>

#include <Vecta/Angle.hpp>

namespace Tactile
{
namespace
{
float share(float cutoffHz, float dtSeconds) noexcept
{
    const float r = float(Vecta::kTwoPi) * cutoffHz * dtSeconds;
    return r / (r + 1.f);
}
}

void OneEuroFilter::reset(Vecta::Vector2f value)
{
    m_raw = value;
    m_value = value;
    m_speed = {};
}

Vecta::Vector2f OneEuroFilter::filter(Vecta::Vector2f value, double dtSeconds)
{
    const auto dt = static_cast<float>(dtSeconds);
    if (!(dt > 0.f)) {
        reset(value);
        return m_value;
    }
    const Vecta::Vector2f speed = (value - m_raw) / dt;
    m_raw = value;
    m_speed += (speed - m_speed) * share(m_settings.derivativeCutoffHz, dt);
    const float cutoff = m_settings.minCutoffHz + m_settings.beta * m_speed.length();
    m_value += (value - m_value) * share(cutoff, dt);
    return m_value;
}
}
