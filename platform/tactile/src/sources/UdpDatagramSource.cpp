#include <Tactile/UdpDatagramSource.hpp>

#include "sources/SocketAddress.hpp"

#include <Bedrock/Trace.hpp>
#include <Tactile/OscDecoder.hpp>

#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace Tactile
{
UdpDatagramSource::UdpDatagramSource(NetworkSettings settings)
    : NetworkDatagramSource("UdpDatagramSource", Transport::Datagrams, std::move(settings))
{
}

UdpDatagramSource::~UdpDatagramSource()
{
    stop();
}

void UdpDatagramSource::receiveAll(std::vector<char>& buffer)
{
    for (;;) {
        SocketAddress from;
        const ssize_t size = ::recvfrom(listeningSocket(), buffer.data(), buffer.size(), 0, from.get(), &from.size);
        if (size < 0) {
            if (errno == EINTR)
                continue;
            return; // none left, or an error of one datagram: poll reports the next
        }
        const SenderAddress sender = from.toSender();
        if (isAllowed(sender, "a datagram"))
            deliver({buffer.data(), static_cast<std::size_t>(size), sender});
        if (isWoken())
            return; // under a flood, too, the thread ends
    }
}

void UdpDatagramSource::receive()
{
    std::vector<char> buffer(OscDecoder::kMaxPacketBytes);
    for (;;) {
        pollfd waiting[2] = {{listeningSocket(), POLLIN, 0}, {wakeDescriptor(), POLLIN, 0}};
        if (::poll(waiting, 2, -1) < 0 && errno != EINTR) {
            Bedrock::Trace::error("UdpDatagramSource # Failed to wait for datagrams (%s); it listens no more",
                                  std::generic_category().message(errno).c_str());
            return;
        }
        if (waiting[1].revents != 0)
            return;
        if (waiting[0].revents != 0)
            receiveAll(buffer);
    }
}
}
