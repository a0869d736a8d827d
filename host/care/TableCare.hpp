#pragma once

#include "care/CardOpenings.hpp"
#include "care/CardSigns.hpp"
#include "care/CareSettings.hpp"
#include "care/DragSigns.hpp"
#include "care/Drags.hpp"
#include "care/IdleSign.hpp"
#include "care/KeyboardPlaces.hpp"
#include "care/PlaceKeeper.hpp"
#include "care/TableTidy.hpp"
#include "care/UseClock.hpp"

#include <Trellis/Operator.hpp>

#include <memory>
#include <vector>

namespace Host
{
class CardLanguages;

/// The host's care for visitors: the places and languages of what opens at cards, closing what was left, answers to cards that
/// nothing took and to drags, the sign of an idle table, and tidying it. While the root has the pseudo-class "reduced-motion", or
/// always where the style engine reduced motion when this was added, nothing glides, and style sheets move nothing either: it is
/// there at once. An operator of the main widget. Main thread only.
class TableCare final : public Trellis::Operator
{
public:
    /// `languages`, if any, are those of the cards.
    TableCare(const CareSettings& settings, float pixelPitchMm, std::shared_ptr<const CardLanguages> languages = nullptr);
    void added(Trellis::Widget& widget) override;
    void removed(Trellis::Widget& widget) override;
    void update(Trellis::Widget& widget, const Trellis::FrameInfo& frame) override;

private:
    void giveLanguage(const CardOpening& opening) const;

    std::shared_ptr<const CardLanguages> m_languages; ///< may be null
    bool m_isAlwaysCalm = false;                      ///< no motion, whatever visitors choose
    CardOpenings m_openings;
    PlaceKeeper m_places;
    KeyboardPlaces m_keyboards;
    std::vector<OpenOutline> m_open; ///< of this frame: keyboards, and then also what opened at cards
    UseClock m_clock;
    CardSigns m_signs;
    Drags m_drags;
    DragSigns m_dragSigns;
    IdleSign m_idle;
    TableTidy m_tidy;
};
}
