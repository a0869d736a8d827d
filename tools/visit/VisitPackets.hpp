#pragma once

#include "VisitPlayer.hpp"

#include <Tactile/TuioEncoder.hpp>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace Visit
{
/// Turns frames into the TUIO 1.1 packets that a table's tracker would send: one bundle for cards and one for fingers when
/// something changed, and the whole state once a second, so that a lost packet does no lasting harm.
class Packets
{
public:
    using Send = std::function<void(const std::vector<char>& packet)>;

    explicit Packets(std::string source = "tavola-visit@localhost");

    /// Sends what is due for `frame` at `seconds` (growing). The packet is valid during the call.
    void send(const Frame& frame, double seconds, const Send& send);
    /// The whole state, whether it is due or not.
    void sendAll(const Frame& frame, double seconds, const Send& send);

private:
    void sendProfile(Tactile::TuioProfile profile, const std::vector<Contact>& contacts, std::vector<Contact>& last,
                     bool isWhole, const Send& send);

    Tactile::TuioEncoder m_encoder;
    std::int32_t m_frame = -1; // the first is 0, which a table takes as a restart
    bool m_hasSent = false;
    double m_lastWhole = 0.0;
    std::vector<Contact> m_lastCards;
    std::vector<Contact> m_lastFingers;
    std::vector<std::int32_t> m_alive;
};
}
