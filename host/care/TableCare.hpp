#pragma once

#include "care/CardOpenings.hpp"
#include "care/PlaceKeeper.hpp"

#include <Trellis/Operator.hpp>

namespace Host
{
/// The host's care for what opens at cards, as an operator of the main widget. Main thread only.
class TableCare final : public Trellis::Operator
{
public:
    explicit TableCare(float pixelPitchMm) : m_places(pixelPitchMm) {}
    void update(Trellis::Widget& widget, const Trellis::FrameInfo& frame) override;

private:
    CardOpenings m_openings;
    PlaceKeeper m_places;
};
}
