#include "VisitPackets.hpp"

#include <algorithm>
#include <utility>

namespace Visit
{
namespace
{
constexpr double kSecondsBetweenWholes = 1.0;
}

Packets::Packets(std::string source) : m_encoder(std::move(source)) {}

void Packets::send(const Frame& frame, double seconds, const Send& send)
{
    if (!m_hasSent || seconds - m_lastWhole >= kSecondsBetweenWholes)
        return sendAll(frame, seconds, send);
    if (frame.cards == m_lastCards && frame.fingers == m_lastFingers)
        return;
    ++m_frame;
    // Cards first: a finger that starts in a card's outline is its shadow.
    if (frame.cards != m_lastCards)
        sendProfile(Tactile::TuioProfile::Objects, frame.cards, m_lastCards, false, send);
    if (frame.fingers != m_lastFingers)
        sendProfile(Tactile::TuioProfile::Cursors, frame.fingers, m_lastFingers, false, send);
}

void Packets::sendAll(const Frame& frame, double seconds, const Send& send)
{
    ++m_frame;
    m_hasSent = true;
    m_lastWhole = seconds;
    sendProfile(Tactile::TuioProfile::Objects, frame.cards, m_lastCards, true, send);
    sendProfile(Tactile::TuioProfile::Cursors, frame.fingers, m_lastFingers, true, send);
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
