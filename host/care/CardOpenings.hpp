#pragma once

#include <Bedrock/IntrusiveWeakPtr.hpp>
#include <Tactile/Marker.hpp>

#include <optional>
#include <vector>

namespace Tactile
{
struct Sample;
}
namespace Trellis
{
class Widget;
}

namespace Host
{
/// A widget that opened at a card, and the card as it lay then.
struct CardOpening
{
    Bedrock::IntrusiveWeakPtr<Trellis::Widget> widget;
    Tactile::Marker card;
    bool isLaunched = false; ///< has an opening of its own, as what a personal folder shows and moves with its card
};

/// Finds the widgets that open at cards: children that a layer of the table gets with their centre or their top left corner at
/// the centre of a card that lies there; and content and menus with an opening of their own, also in the frame in which a card
/// goes, which are found once and not remembered. Main thread only.
class CardOpenings
{
public:
    /// The widgets that opened since the last call, from the bottom to the top. Call once a frame, after the input.
    [[nodiscard]] std::vector<CardOpening> find(const Trellis::Widget& layer, const Tactile::Sample& sample);
    /// The code of the card at which the widget opened; none for a widget that did not open at a card,
    /// or that was launched.
    [[nodiscard]] std::optional<std::uint64_t> codeOf(const Trellis::Widget& widget) const;
    /// Whether a widget that opened at a card of this code, and was not launched, existed at the last call of `find`.
    [[nodiscard]] bool isOpen(std::uint64_t code) const;

private:
    std::vector<CardOpening> m_open;
    long m_newestChild = 0; ///< the highest node id seen
};
}
