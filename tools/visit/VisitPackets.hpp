#pragma once

#include "VisitPlayer.hpp"

#include <Tactile/Tuio2Encoder.hpp>
#include <Tactile/TuioEncoder.hpp>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace Visit
{
enum class TuioVersion { One, Two };

/// Turns frames into the packets of a tracker: one when a contact has changed, and the whole state once a second, so that a lost
/// packet does no lasting harm. In TUIO 1.1 cards and fingers have a bundle each, in TUIO 2.0 one bundle has both.
class Packets
{
public:
    using Send = std::function<void(const std::vector<char>& packet)>;

    /// `beganSeconds`: when the sender began, in seconds of any clock, above 0. Frames of TUIO 2.0 carry their time, by which a
    /// table recognises that a sender of the same name has restarted.
    explicit Packets(std::string source = "tavola-visit@localhost", TuioVersion version = TuioVersion::One,
                     double beganSeconds = 1.0);

    /// Sends what is due for `frame` at `seconds` (growing). The packet is valid during the call.
    void send(const Frame& frame, double seconds, const Send& send);
    /// The whole state, whether it is due or not.
    void sendAll(const Frame& frame, double seconds, const Send& send);

private:
    void sendFrame(const Frame& frame, double seconds, bool isWhole, const Send& send);
    void sendComponents(const Frame& frame, double seconds, bool isWhole, const Send& send);
    void sendProfile(Tactile::TuioProfile profile, const std::vector<Contact>& contacts, std::vector<Contact>& last, bool isWhole,
                     const Send& send);

    TuioVersion m_version;
    double m_beganSeconds;
    Tactile::TuioEncoder m_encoder;
    Tactile::Tuio2Encoder m_encoder2;
    std::int32_t m_frame; // of the last one sent
    bool m_hasSent = false;
    double m_lastWhole = 0.0;
    std::vector<Contact> m_lastCards;
    std::vector<Contact> m_lastFingers;
    std::vector<std::int32_t> m_alive;
};
}
