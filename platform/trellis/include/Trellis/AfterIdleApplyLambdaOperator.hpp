#pragma once

#include <Trellis/Operator.hpp>

#include <functional>

namespace Trellis
{
/// Applies a function to its widget when the widget has not been touched for a while; then it is done.
class TAVOLA_EXPORT AfterIdleApplyLambdaOperator final : public Operator
{
public:
    /// `idleSeconds` counts frame time from the last touch of the widget or anything inside it, or from the attaching,
    /// whichever is later. With `repeat` the operator stays and applies the function after each further idle time.
    AfterIdleApplyLambdaOperator(float idleSeconds, std::function<void(Widget&)> function, bool repeat);
    void added(Widget& widget) override;
    void update(Widget& widget, const FrameInfo& frame) override;

private:
    float m_idleSeconds;
    std::function<void(Widget&)> m_function;
    bool m_repeat;
    double m_elapsedSeconds = 0.0;
};
}
