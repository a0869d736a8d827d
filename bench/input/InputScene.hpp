#pragma once

#include <Tactile/TuioEncoder.hpp>
#include <Tactile/TuioInput.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/Widget.hpp>

#include <cstdint>
#include <vector>

namespace Bench
{
/// A table of things to touch, and the packets of so many fingers and cards that move over it all the time. Each finger holds a
/// thing of its own and drags it, each card lies on one that takes cards.
class InputScene
{
public:
    static constexpr double kFrameSeconds = 1.0 / 60.0;

    InputScene(int fingers, int cards);

    /// One packet with all fingers and one with all cards, a step further than before.
    struct Packets
    {
        std::vector<char> fingers;
        std::vector<char> cards;
    };
    [[nodiscard]] Packets nextPackets();
    /// The packets of so many steps, made beforehand: encoding is the sender's work.
    [[nodiscard]] std::vector<Packets> packetsOf(int steps);
    /// Throws std::runtime_error unless every finger holds a thing, and each card was given to one, once.
    void requireAllHeld() const;

    Trellis::Application application{{3840.f, 2160.f}};
    Tactile::TuioInput input{{{0.f, 0.f, 3840.f, 2160.f}, {}}};

private:
    int m_fingers;
    int m_cards;
    int m_cardsHeld = 0;
    std::int32_t m_step = 0;
    std::vector<Trellis::Widget*> m_things; ///< under the fingers
    Tactile::TuioEncoder m_fingerEncoder{"benchmark@localhost"};
    Tactile::TuioEncoder m_cardEncoder{"benchmark@localhost"};
};
}
