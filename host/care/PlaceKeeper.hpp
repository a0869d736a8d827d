#pragma once

#include "care/CardOpenings.hpp"
#include "care/OpenOutline.hpp"

#include <optional>
#include <utility>
#include <vector>

namespace Host
{
/// Lets what opened at cards glide from there to where it is whole on the table and its parts are free of cards
/// (PlaceSearch says how). In the frame in which it opened it stands exactly where it was put; then it glides for 0.3 s of frame
/// time. It glides again when its size or its parts change and its place is no longer good for that, until a finger touches it or
/// other code moves it: from then on it stays where it is put. Main thread only.
class PlaceKeeper
{
public:
    static constexpr float kGlideSeconds = 0.3f;

    explicit PlaceKeeper(float pixelPitchMm) : m_pixelPitchMm(pixelPitchMm) {}

    /// A widget that opened in this frame; it does not move before the next call of `update`.
    void add(const CardOpening& opening);
    /// What was launched in this frame: where it is a menu, what opens at other people's cards makes room for it.
    void addLaunched(const CardOpening& opening);
    /// Once a frame. `cards`: what lies on the table; `keyboards`: those that are open; `table`: its size in pixels.
    void update(const std::vector<Tactile::Marker>& cards, const std::vector<OpenOutline>& keyboards, Vecta::Vector2f table,
                float dtSeconds);

    /// The centre on the table where a widget that opens at a card, a menu's node, has its best place; it is not moved by this.
    [[nodiscard]] Vecta::Vector2f findPlace(const CardOpening& opening, const Trellis::Widget& widget,
                                            Vecta::Vector2f table) const;
    /// Appends what opened at cards, where it stands or will stand, and the nodes of menus.
    void appendTo(std::vector<OpenOutline>& open) const;
    /// The outlines on the table of the cards and of what other people's cards opened, seen from a widget that opened at a card.
    [[nodiscard]] std::vector<PlaceSearch::Outline> neighboursOf(const Trellis::Widget& widget) const;

private:
    struct Guest
    {
        explicit Guest(CardOpening opened) : opening(std::move(opened)) {}

        CardOpening opening;
        bool isKept = true; ///< this class still moves it
        float sinceCheckSeconds = 0.f;
        std::optional<PlaceSearch> last;
        Vecta::Vector2f openedAt; ///< its centre in table pixels
        Vecta::Vector2f from;
        Vecta::Vector2f to;
        float glideSeconds = kGlideSeconds;      ///< how long the present glide lasts already
        std::optional<Vecta::Vector2f> location; ///< that this class set last
    };

    [[nodiscard]] PlaceSearch searchFor(const Guest& guest, const Trellis::Widget& widget) const;
    void forgetClosed();
    void surround(PlaceSearch& search, const Guest& guest, const std::vector<Tactile::Marker>& cards) const;
    void check(Guest& guest, Trellis::Widget& widget, const std::vector<Tactile::Marker>& cards, Vecta::Vector2f table);
    static void glide(Guest& guest, Trellis::Widget& widget, float dtSeconds);

    float m_pixelPitchMm;
    std::vector<Tactile::Marker> m_cards; ///< of the last update, as the keyboards
    std::vector<OpenOutline> m_keyboards;
    std::vector<Guest> m_guests; ///< in the order in which they opened
    std::vector<CardOpening> m_menus;
};
}
