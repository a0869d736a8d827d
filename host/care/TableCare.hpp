#pragma once

#include "care/CardOpenings.hpp"
#include "care/CardSigns.hpp"
#include "care/CareSettings.hpp"
#include "care/DragSigns.hpp"
#include "care/Drags.hpp"
#include "care/IdleSign.hpp"
#include "care/PlaceKeeper.hpp"
#include "care/TableTidy.hpp"
#include "care/UseClock.hpp"

#include <Trellis/Operator.hpp>

namespace Host
{
/// The host's care for visitors: the places of what opens at cards, closing what was left, answers to cards that nothing took
/// and to drags, the sign of an idle table, and tidying it. While the root has the pseudo-class
/// "reduced-motion" nothing glides: it is there at once. An operator of the main widget. Main thread only.
class TableCare final : public Trellis::Operator
{
public:
    TableCare(const CareSettings& settings, float pixelPitchMm);
    void update(Trellis::Widget& widget, const Trellis::FrameInfo& frame) override;

private:
    CardOpenings m_openings;
    PlaceKeeper m_places;
    UseClock m_clock;
    CardSigns m_signs;
    Drags m_drags;
    DragSigns m_dragSigns;
    IdleSign m_idle;
    TableTidy m_tidy;
};
}
