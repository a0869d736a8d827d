#pragma once

#include "care/PlaceSearch.hpp"

#include <Cascara/LazyAttributeManager.hpp>
#include <Vecta/Rect.hpp>

#include <QStringList>

#include <vector>

namespace Trellis
{
class Widget;
}

namespace Host
{
/// The attributes that style sheets give any widget for the host's care: "placement" of what opens at a card, "keep-clear" of its
/// parts that no card should cover, "in-use" of what works for a waiting visitor, "takes-focus" of an input field
/// (see FieldFocus), "stays" of content that is not tidied, and "opened-classes" of what opens something at cards. Widgets have
/// them while this object exists; make it before style sheets are loaded, and destroy it after the widgets. Main thread only.
class CareAttributes
{
public:
    CareAttributes();

    /// `Placement::At` where no style names one.
    [[nodiscard]] static Placement placementOf(const Trellis::Widget& widget);
    /// Bounds of the visible widgets inside `widget` that have "keep-clear", in table pixels from its top left corner, not
    /// turned.
    [[nodiscard]] static std::vector<Vecta::Rect> keptClear(const Trellis::Widget& widget);
    /// Whether the widget or anything visible in it has "in-use".
    [[nodiscard]] static bool isInUse(const Trellis::Widget& widget);
    [[nodiscard]] static bool stays(const Trellis::Widget& widget);
    /// The classes for what opens at a card that `detector` holds.
    [[nodiscard]] static QStringList openedClasses(const Trellis::Widget& detector);

private:
    Cascara::LazyAttributeManager::Registrant m_placement;
    Cascara::LazyAttributeManager::Registrant m_keepClear;
    Cascara::LazyAttributeManager::Registrant m_inUse;
    Cascara::LazyAttributeManager::Registrant m_takesFocus;
    Cascara::LazyAttributeManager::Registrant m_openedClasses;
    Cascara::LazyAttributeManager::Registrant m_stays;
};
}
