#include <Trellis/AfterIdleApplyLambdaOperator.hpp>

#include <Trellis/FrameInfo.hpp>
#include <Trellis/Widget.hpp>

#include <algorithm>
#include <utility>

namespace Trellis
{
namespace
{
/// Frame times are sums of rounded steps; ten seconds of tenths must be ten seconds.
constexpr double kToleranceSeconds = 1e-4;
}

AfterIdleApplyLambdaOperator::AfterIdleApplyLambdaOperator(float idleSeconds, std::function<void(Widget&)> function, bool repeat)
    : m_idleSeconds(idleSeconds), m_function(std::move(function)), m_repeat(repeat)
{
}

void AfterIdleApplyLambdaOperator::added(Widget&)
{
    m_elapsedSeconds = 0.0;
}

void AfterIdleApplyLambdaOperator::update(Widget& widget, const FrameInfo& frame)
{
    m_elapsedSeconds += double(frame.dt());
    const double idle = std::min(m_elapsedSeconds, widget.idleSeconds());
    if (idle + kToleranceSeconds < double(m_idleSeconds))
        return;
    m_elapsedSeconds = 0.0;
    if (!m_repeat)
        setDone();
    if (m_function)
        m_function(widget);
}
}
