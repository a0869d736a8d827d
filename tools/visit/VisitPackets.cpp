#include "VisitPackets.hpp"

#include <algorithm>
#include <utility>

namespace Visit
{
namespace
{
constexpr double kSecondsBetweenWholes = 1.0;
}

// In TUIO 1.1 the first frame is 0, which a table takes as a restart; in TUIO 2.0 that number has no place in the order.
Packets::Packets(std::string source, TuioVersion version, double beganSeconds)
    : m_version(version), m_beganSeconds(beganSeconds), m_encoder(source), m_encoder2(std::move(source)),
      m_frame(version == TuioVersion::One ? -1 : 0)
{
}

void Packets::send(const Frame& frame, double seconds, const Send& send)
{
    if (!m_hasSent || seconds - m_lastWhole >= kSecondsBetweenWholes)
        return sendAll(frame, seconds, send);
    if (frame.cards != m_lastCards || frame.fingers != m_lastFingers)
        sendFrame(frame, seconds, false, send);
}

void Packets::sendAll(const Frame& frame, double seconds, const Send& send)
{
    m_hasSent = true;
    m_lastWhole = seconds;
    sendFrame(frame, seconds, true, send);
}

void Packets::sendFrame(const Frame& frame, double seconds, bool isWhole, const Send& send)
{
    ++m_frame;
    if (m_version == TuioVersion::Two)
        return sendComponents(frame, seconds, isWhole, send);
    // Cards first: a finger that starts in a card's outline is its shadow.
    if (isWhole || frame.cards != m_lastCards)
        sendProfile(Tactile::TuioProfile::Objects, frame.cards, m_lastCards, isWhole, send);
    if (isWhole || frame.fingers != m_lastFingers)
        sendProfile(Tactile::TuioProfile::Cursors, frame.fingers, m_lastFingers, isWhole, send);
}

void Packets::sendComponents(const Frame& frame, double seconds, bool isWhole, const Send& send)
{
    const auto isDue = [isWhole](const Contact& contact, const std::vector<Contact>& last) {
        return isWhole || std::find(last.begin(), last.end(), contact) == last.end();
    };
    m_alive.clear();
    m_encoder2.begin(m_frame, Tactile::Tuio2Encoder::timeTag(m_beganSeconds + seconds));
    for (const Contact& c : frame.cards) {
        m_alive.push_back(c.session);
        if (isDue(c, m_lastCards))
            m_encoder2.token(c.session, c.number, c.x, c.y, c.angleRadians);
    }
    for (const Contact& c : frame.fingers) {
        m_alive.push_back(c.session);
        if (isDue(c, m_lastFingers))
            m_encoder2.pointer(c.session, c.x, c.y);
    }
    send(m_encoder2.finish(m_alive));
    m_lastCards = frame.cards;
    m_lastFingers = frame.fingers;
}

void Packets::sendProfile(Tactile::TuioProfile profile, const std::vector<Contact>& contacts, std::vector<Contact>& last,
                          bool isWhole, const Send& send)
{
    m_alive.clear();
    for (const Contact& c : contacts)
        m_alive.push_back(c.session);
    m_encoder.begin(profile);
    m_encoder.alive(m_alive);
    for (const Contact& c : contacts) {
        if (!isWhole && std::find(last.begin(), last.end(), c) != last.end())
            continue;
        if (profile == Tactile::TuioProfile::Objects)
            m_encoder.setObject(c.session, c.number, c.x, c.y, c.angleRadians);
        else
            m_encoder.setCursor(c.session, c.x, c.y);
    }
    send(m_encoder.finish(m_frame));
    last = contacts;
}
}
