#pragma once

#include <Tactile/InputSource.hpp>
#include <Tactile/Sample.hpp>
#include <Vecta/Vector2T.hpp>

#include <cstdint>
#include <vector>

namespace Host
{
/// Turns a window's mouse and keys into fingers and cards, for trying a presentation without a tracker. Main thread only.
///
/// The left button is a finger. A click while a digit key is held puts that card down as a person at the lower edge does,
/// its left edge towards them; a click on a card with Shift lifts it; the wheel over a card turns it; dragging a card moves it.
class MouseInput final : public Tactile::InputSource
{
public:
    /// `cards`: the codes of the keys 1 to 9. `cardRadiusPx`: a click within this distance of a card's centre means the card.
    MouseInput(std::vector<unsigned long> cards, float cardRadiusPx);

    void press(Vecta::Vector2f point, bool shift);
    void move(Vecta::Vector2f point);
    void release(Vecta::Vector2f point);
    /// Wheel steps, positive turns clockwise; 15 degrees each.
    void wheel(Vecta::Vector2f point, float steps);
    /// The digit key 1 to 9 that is held, 0 for none.
    void setHeldDigit(int digit) { m_heldDigit = digit; }

    void readSample(double nowSeconds, Tactile::Sample& sample) override;

private:
    Tactile::Marker* cardAt(Vecta::Vector2f point);
    void note(Tactile::InputChange::Kind kind, const Tactile::TrackedObject& object);
    std::int64_t idOfCode(unsigned long code) const;

    std::vector<unsigned long> m_cards;
    float m_cardRadiusPx;
    int m_heldDigit = 0;
    std::int64_t m_nextFingerId;
    bool m_fingerDown = false;
    Tactile::TrackedObject m_finger;
    std::int64_t m_draggedCard = 0;
    Vecta::Vector2f m_dragOffset;
    std::vector<Tactile::Marker> m_markers;
    std::vector<Tactile::InputChange> m_changes;
};
}
