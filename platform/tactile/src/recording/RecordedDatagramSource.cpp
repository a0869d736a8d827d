#include <Tactile/RecordedDatagramSource.hpp>

#include <utility>

namespace Tactile
{
bool RecordedDatagramSource::start(Handler handler)
{
    m_handler = std::move(handler);
    return true;
}

void RecordedDatagramSource::stop()
{
    m_handler = nullptr;
}

void RecordedDatagramSource::play(const Datagram& datagram) const
{
    if (m_handler)
        m_handler(datagram);
}
}
