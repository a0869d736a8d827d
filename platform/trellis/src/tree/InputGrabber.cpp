#include <Trellis/InputGrabber.hpp>

#include <Trellis/Widget.hpp>

namespace Trellis
{
Facet::Node* InputGrabber::host() const noexcept
{
    return &m_host;
}
}
