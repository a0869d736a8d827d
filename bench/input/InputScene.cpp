#include "InputScene.hpp"

#include <cmath>
#include <stdexcept>

namespace Bench
{
namespace
{
constexpr int kColumns = 16;
constexpr int kRows = 10;

/// Where contact `i` stands after `step` steps, in parts of the surface: a circle of some pixels about the middle of its cell.
Vecta::Vector2f placeOf(int i, int step)
{
    const float angle = 0.05f * float(step) + float(i);
    return {(float(i % kColumns) + 0.5f + 0.2f * std::cos(angle)) / float(kColumns),
            (float(i / kColumns) + 0.5f + 0.2f * std::sin(angle)) / float(kRows)};
}

void set(Trellis::Widget& widget, const char* name)
{
    dynamic_cast<Facet::AttributeT<bool>&>(*widget.attribute(name)).setValue(true);
}
}

InputScene::InputScene(int fingers, int cards) : m_fingers(fingers), m_cards(cards)
{
    if (fingers + cards > kColumns * kRows)
        throw std::runtime_error("more contacts than the table has cells");
    application.addInputSource(input);
    const Vecta::Vector2f cell{3840.f / float(kColumns), 2160.f / float(kRows)};
    for (int i = 0; i < fingers + cards; ++i) {
        auto* thing = new Trellis::Widget(application.mainLayer().get());
        thing->setSize({cell.x, cell.y});
        thing->setLocation({float(i % kColumns) * cell.x, float(i / kColumns) * cell.y});
        set(*thing, "movable");
        if (i < fingers)
            m_things.push_back(thing);
        else
            thing->eventAddListener("marker-down", [this] { ++m_cardsHeld; });
    }
    application.frame(kFrameSeconds);
}

InputScene::Packets InputScene::nextPackets()
{
    ++m_step;
    std::vector<std::int32_t> alive;
    m_fingerEncoder.begin(Tactile::TuioProfile::Cursors);
    for (int i = 0; i < m_fingers; ++i)
        alive.push_back(i);
    m_fingerEncoder.alive(alive);
    for (int i = 0; i < m_fingers; ++i) {
        const Vecta::Vector2f place = placeOf(i, m_step);
        m_fingerEncoder.setCursor(i, place.x, place.y);
    }
    Packets packets{m_fingerEncoder.finish(m_step), {}};

    alive.clear();
    m_cardEncoder.begin(Tactile::TuioProfile::Objects);
    for (int i = 0; i < m_cards; ++i)
        alive.push_back(1000 + i);
    m_cardEncoder.alive(alive);
    for (int i = 0; i < m_cards; ++i) {
        const Vecta::Vector2f place = placeOf(m_fingers + i, m_step);
        m_cardEncoder.setObject(1000 + i, 5000 + i, place.x, place.y, 0.01f * float(m_step % 600));
    }
    packets.cards = m_cardEncoder.finish(m_step);
    return packets;
}

std::vector<InputScene::Packets> InputScene::packetsOf(int steps)
{
    std::vector<Packets> packets;
    for (int i = 0; i < steps; ++i)
        packets.push_back(nextPackets());
    return packets;
}

void InputScene::requireAllHeld() const
{
    for (const Trellis::Widget* thing : m_things)
        if (!thing->isHeld())
            throw std::runtime_error("a finger holds nothing");
    if (m_cardsHeld != m_cards)
        throw std::runtime_error("a card is held by nothing, or came more than once");
}
}
