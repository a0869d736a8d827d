#include "application/FrameUpdater.hpp"

#include "motion/MotionController.hpp"
#include "tree/FrameGuard.hpp"
#include "tree/WidgetRecords.hpp"

#include <Trellis/FrameInfo.hpp>

namespace Trellis
{
void FrameUpdater::refresh(Widget& widget)
{
    const WidgetRecords& records = WidgetRecords::of(widget);
    UpdateRecord& update = WidgetRecords::of(widget).update;
    const bool wanted = records.drawing.inTree && (update.updating || records.motion.moving || !update.operators.empty());
    if (wanted == (update.activeIndex >= 0))
        return;
    if (wanted) {
        update.activeIndex = int(m_active.size());
        m_active.push_back(&widget);
        ++m_count;
    } else {
        m_active[std::size_t(update.activeIndex)] = nullptr;
        update.activeIndex = -1;
        --m_count;
    }
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
        if (m_active[i] == widget && WidgetRecords::of(*widget).update.updating)
            guardedInFrame("Widget::update", [&] { widget->update(frame); });
        if (m_active[i] == widget && WidgetRecords::of(*widget).motion.moving)
            m_motion.slide(*widget, frame.dt());
        // A widget that left the list is not met again below.
        if (m_active[i] != widget)
            removeDoneOperators(*widget);
    }
    for (std::size_t i = 0; i < count; ++i) {
        if (!m_active[i] || WidgetRecords::of(*m_active[i]).update.operators.empty())
            continue;
        const Bedrock::IntrusivePtr<Widget> widget(m_active[i]);
        removeDoneOperators(*widget);
    }
    compact();
}

void FrameUpdater::updateOperators(Widget& widget, const FrameInfo& frame)
{
    UpdateRecord& d = WidgetRecords::of(widget).update;
    d.operatorEnd = int(d.operators.size());
    for (d.operatorIndex = 0; d.operatorIndex < d.operatorEnd; ++d.operatorIndex) {
        const Bedrock::IntrusivePtr<Operator> op = d.operators[std::size_t(d.operatorIndex)];
        if (!op->isDone())
            guardedInFrame("Operator::update", [&] { op->update(widget, frame); });
        if (!WidgetRecords::of(widget).drawing.inTree)
            break;
    }
    d.operatorIndex = d.operatorEnd = -1;
}

void FrameUpdater::removeDoneOperators(Widget& widget)
{
    const UpdateRecord& d = WidgetRecords::of(widget).update;
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
        WidgetRecords::of(*widget).update.activeIndex = int(kept);
        m_active[kept++] = widget;
    }
    m_active.resize(kept);
}
}
