#pragma once

#include <Tavola/TesselServiceAPI.hpp>
#include <Trellis/Widget.hpp>

namespace Tavola
{
/// Base of the widgets that open for a personal card. The detector sets the card's code first, then the owner's record, and then
/// adds the widget to the tree, which owns it. Main thread only.
class PersonalTesselWidget : public Trellis::Widget
{
public:
    explicit PersonalTesselWidget(Trellis::Widget* parent = nullptr);
    ~PersonalTesselWidget() override;

    /// The card's identity. May be called again for another card.
    virtual void setCode(unsigned long code) = 0;
    /// The card's owner; an empty record for a card without one.
    virtual void setProperties(const TesselServiceAPI::PersonalMarkerProperties& properties) = 0;
};
}
