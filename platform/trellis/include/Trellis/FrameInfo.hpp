#pragma once

namespace Trellis
{
/// The time of a frame. Time enters the widget tree here and nowhere else.
class FrameInfo
{
public:
    FrameInfo(float dtSeconds, double timeSeconds, long number) : m_dt(dtSeconds), m_time(timeSeconds), m_number(number) {}

    /// Seconds since the frame before.
    [[nodiscard]] float dt() const noexcept { return m_dt; }
    /// Seconds since the application began, as the sum of all time steps.
    [[nodiscard]] double time() const noexcept { return m_time; }
    /// 1 for the first frame.
    [[nodiscard]] long number() const noexcept { return m_number; }

private:
    float m_dt;
    double m_time;
    long m_number;
};
}
