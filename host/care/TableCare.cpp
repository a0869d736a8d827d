#include "care/TableCare.hpp"

#include <Tactile/Sample.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/FrameInfo.hpp>
#include <Trellis/GrabManager.hpp>
#include <Trellis/Widget.hpp>

namespace Host
{
void TableCare::update(Trellis::Widget& widget, const Trellis::FrameInfo& frame)
{
    const auto& application = *Trellis::Application::instance();
    const Tactile::Sample& sample = application.grabManager()->currentSample();
    m_places.update(sample.markers, application.size(), frame.dt());
    for (const CardOpening& opening : m_openings.find(widget, sample))
        m_places.add(opening);
}
}
