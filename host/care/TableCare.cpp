#include "care/TableCare.hpp"

#include <Tactile/Sample.hpp>
#include <Tavola/Tavola.hpp>
#include <Tavola/UserInterface.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/FrameInfo.hpp>
#include <Trellis/GrabManager.hpp>
#include <Trellis/Widget.hpp>

namespace Host
{
TableCare::TableCare(const CareSettings& settings, float pixelPitchMm)
    : m_places(pixelPitchMm), m_clock(settings), m_idle(settings.idleAfterSeconds)
{
}

void TableCare::update(Trellis::Widget& widget, const Trellis::FrameInfo& frame)
{
    const auto& application = *Trellis::Application::instance();
    const Tactile::Sample& sample = application.grabManager()->currentSample();
    m_places.update(sample.markers, application.size(), frame.dt());
    for (const CardOpening& opening : m_openings.find(widget, sample)) {
        m_places.add(opening);
        m_clock.add(opening);
    }
    m_clock.update(widget, sample, frame.dt());
    m_signs.update(*Tavola::Tavola::instance()->ui()->internalOverlayWidget(), widget, *application.grabManager(), m_openings);
    m_idle.update(*application.mainLayer(), sample, m_clock.isAnyOpen(), frame.dt());
}
}
