#pragma once

#include <Tactile/NetworkDatagramSource.hpp>

#include <vector>

namespace Tactile
{
/// Receives UDP datagrams, each of them one packet.
class TAVOLA_EXPORT UdpDatagramSource final : public NetworkDatagramSource
{
public:
    explicit UdpDatagramSource(NetworkSettings settings);
    ~UdpDatagramSource() override;

private:
    void receive() override;
    void receiveAll(std::vector<char>& buffer);
};
}
