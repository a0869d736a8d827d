#include "WakeDescriptor.hpp"

#include <cerrno>
#include <cstdint>
#include <poll.h>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>

namespace Storage
{
WakeDescriptor::WakeDescriptor() : m_descriptor(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC))
{
    if (m_descriptor < 0)
        throw std::system_error(errno, std::generic_category(), "no descriptor for a store");
}

WakeDescriptor::~WakeDescriptor()
{
    ::close(m_descriptor);
}

void WakeDescriptor::wake() const
{
    const std::uint64_t one = 1;
    // A full counter is readable as well.
    while (::write(m_descriptor, &one, sizeof one) < 0 && errno == EINTR) {}
}

bool WakeDescriptor::wait(int other, int milliseconds) const
{
    pollfd polled[] = {{m_descriptor, POLLIN, 0}, {other, POLLIN, 0}};
    const int count = ::poll(polled, other < 0 ? 1 : 2, milliseconds);
    if (count <= 0)
        return false;
    std::uint64_t calls = 0;
    if ((polled[0].revents & POLLIN) != 0)
        while (::read(m_descriptor, &calls, sizeof calls) < 0 && errno == EINTR) {}
    return polled[1].revents != 0;
}
}
