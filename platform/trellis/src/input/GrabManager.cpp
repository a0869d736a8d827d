#include <Trellis/GrabManager.hpp>

#include "input/InputRouter.hpp"

#include <Trellis/InputGrabber.hpp>
#include <Trellis/Widget.hpp>

namespace Trellis
{
const Tactile::Sample& GrabManager::currentSample() const noexcept
{
    return m_router.sample();
}

std::optional<Tactile::Marker> GrabManager::findMarker(std::int64_t id, bool includeLifted) const
{
    return m_router.findMarker(id, includeLifted);
}

InputGrabber* GrabManager::grabber(std::int64_t id) const
{
    Widget* holder = m_router.holder(id);
    return holder ? &holder->inputGrabber() : nullptr;
}

void GrabManager::transferGrab(std::int64_t id, InputGrabber& to)
{
    m_router.transfer(id, to.widget());
}

void GrabManager::ungrab(std::int64_t id, InputGrabber& grabber)
{
    m_router.release(id, grabber.widget());
}
}
