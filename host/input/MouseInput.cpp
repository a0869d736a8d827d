#include "input/MouseInput.hpp"

#include <algorithm>

namespace Host
{
namespace
{
/// The ids of the mouse's contacts are far above those of the trackers' contacts.
constexpr std::int64_t kFirstCardId = std::int64_t(1) << 40;
constexpr std::int64_t kFirstFingerId = std::int64_t(1) << 41;
constexpr float kWheelStepRadians = 0.261799388f;
/// A person at the lower edge lays a card down with its left edge towards them.
constexpr float kFromLowerEdge = 18.f * kWheelStepRadians;

using Kind = Tactile::InputChange::Kind;
}

MouseInput::MouseInput(std::vector<unsigned long> cards, float cardRadiusPx)
    : m_cards(std::move(cards)), m_cardRadiusPx(cardRadiusPx), m_nextFingerId(kFirstFingerId)
{
}

std::int64_t MouseInput::idOfCode(unsigned long code) const
{
    const auto it = std::find(m_cards.begin(), m_cards.end(), code);
    return kFirstCardId + (it - m_cards.begin());
}

Tactile::Marker* MouseInput::cardAt(Vecta::Vector2f point)
{
    Tactile::Marker* nearest = nullptr;
    float best = m_cardRadiusPx;
    for (Tactile::Marker& marker : m_markers) {
        const float distance = (marker.centerLocation() - point).length();
        if (distance <= best) {
            best = distance;
            nearest = &marker;
        }
    }
    return nearest;
}

void MouseInput::note(Kind kind, const Tactile::TrackedObject& object)
{
    m_changes.push_back({kind, object});
}

void MouseInput::press(Vecta::Vector2f point, bool shift)
{
    if (m_heldDigit >= 1 && std::size_t(m_heldDigit) <= m_cards.size()) {
        const unsigned long code = m_cards[std::size_t(m_heldDigit - 1)];
        const auto lies = std::find_if(m_markers.begin(), m_markers.end(),
                                       [code](const Tactile::Marker& marker) { return marker.code() == code; });
        if (lies != m_markers.end()) {
            lies->setCenterLocation(point);
            note(Kind::Move, *lies);
            return;
        }
        m_markers.emplace_back(idOfCode(code), code, point, kFromLowerEdge);
        note(Kind::Down, m_markers.back());
        return;
    }
    if (Tactile::Marker* card = cardAt(point)) {
        if (shift) {
            note(Kind::Up, *card);
            m_markers.erase(m_markers.begin() + (card - m_markers.data()));
        } else {
            m_draggedCard = card->id();
            m_dragOffset = card->centerLocation() - point;
        }
        return;
    }
    m_fingerDown = true;
    m_finger = Tactile::TrackedObject(Tactile::TrackedObject::Type::Finger, m_nextFingerId++, point);
    note(Kind::Down, m_finger);
}

void MouseInput::move(Vecta::Vector2f point)
{
    if (m_fingerDown) {
        m_finger.setCenterLocation(point);
        note(Kind::Move, m_finger);
        return;
    }
    for (Tactile::Marker& marker : m_markers) {
        if (marker.id() == m_draggedCard) {
            marker.setCenterLocation(point + m_dragOffset);
            note(Kind::Move, marker);
        }
    }
}

void MouseInput::release(Vecta::Vector2f point)
{
    m_draggedCard = 0;
    if (!m_fingerDown)
        return;
    m_fingerDown = false;
    m_finger.setCenterLocation(point);
    note(Kind::Up, m_finger);
}

void MouseInput::wheel(Vecta::Vector2f point, float steps)
{
    if (Tactile::Marker* card = cardAt(point)) {
        card->setRotation(card->rotation() + steps * kWheelStepRadians);
        note(Kind::Move, *card);
    }
}

void MouseInput::readSample(double, Tactile::Sample& sample)
{
    sample.clear();
    if (m_fingerDown)
        sample.fingers.push_back(m_finger);
    sample.markers.assign(m_markers.begin(), m_markers.end());
    sample.changes.assign(m_changes.begin(), m_changes.end());
    m_changes.clear();
}
}
