#include "application/FrameUpdater.hpp"

#include "application/Guarded.hpp"
#include "motion/MotionController.hpp"
#include "tree/WidgetPrivate.hpp"

#include <Trellis/FrameInfo.hpp>

namespace Trellis
{
FrameUpdater* FrameUpdater::s_current = nullptr;

FrameUpdater::FrameUpdater()
{
    s_current = this;
}

FrameUpdater::~FrameUpdater()
{
    s_current = nullptr;
}

void FrameUpdater::refresh(Widget& widget)
{
    auto& d = *widget.d;
    const bool wanted = s_current && d.inTree && (d.updating || d.moving || !d.operators.empty());
    if (wanted == (d.activeIndex >= 0))
        return;
    if (wanted) {
        d.activeIndex = int(s_current->m_active.size());
        s_current->m_active.push_back(&widget);
        ++s_current->m_count;
        return;
    }
    if (s_current) {
        s_current->m_active[std::size_t(d.activeIndex)] = nullptr;
        --s_current->m_count;
    }
    d.activeIndex = -1;
}

void FrameUpdater::run(const FrameInfo& frame)
{
    const std::size_t count = m_active.size();
    for (std::size_t i = 0; i < count; ++i) {
        if (!m_active[i])
            continue;
        const Bedrock::IntrusivePtr<Widget> widget(m_active[i]);
        ++m_visits;
        updateOperators(*widget, frame);
        if (m_active[i] == widget && widget->d->updating)
            guarded("Widget::update", [&] { widget->update(frame); });
        if (m_active[i] == widget && widget->d->moving)
            MotionController::slide(*widget, frame.dt());
        // Who left the list is not met again below.
        if (m_active[i] != widget)
            removeDoneOperators(*widget);
    }
    for (std::size_t i = 0; i < count; ++i) {
        if (!m_active[i] || m_active[i]->d->operators.empty())
            continue;
        const Bedrock::IntrusivePtr<Widget> widget(m_active[i]);
        removeDoneOperators(*widget);
    }
    compact();
}

void FrameUpdater::updateOperators(Widget& widget, const FrameInfo& frame)
{
    auto& d = *widget.d;
    d.operatorEnd = int(d.operators.size());
    for (d.operatorIndex = 0; d.operatorIndex < d.operatorEnd; ++d.operatorIndex) {
        const Bedrock::IntrusivePtr<Operator> op = d.operators[std::size_t(d.operatorIndex)];
        if (!op->isDone())
            guarded("Operator::update", [&] { op->update(widget, frame); });
        if (!d.inTree)
            break;
    }
    d.operatorIndex = d.operatorEnd = -1;
}

void FrameUpdater::removeDoneOperators(Widget& widget)
{
    auto& d = *widget.d;
    for (std::size_t i = 0; i < d.operators.size();) {
        if (d.operators[i]->isDone()) {
            widget.removeOperator(*d.operators[i]);
            i = 0; // `removed` may have changed the list.
        } else {
            ++i;
        }
    }
}

void FrameUpdater::compact()
{
    if (std::size_t(m_count) == m_active.size())
        return;
    std::size_t kept = 0;
    for (Widget* widget : m_active) {
        if (!widget)
            continue;
        widget->d->activeIndex = int(kept);
        m_active[kept++] = widget;
    }
    m_active.resize(kept);
}
}
