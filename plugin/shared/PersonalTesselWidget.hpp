#pragma once

#include <Tavola/TesselServiceAPI.hpp>
#include <Trellis/Widget.hpp>

namespace Tavola
{
/// Base of the widgets that open for a personal card. Whoever creates one gives it the card's code first, then what is known of
/// its owner, and then adds it to the tree, which owns it. Main thread only.
class PersonalTesselWidget : public Trellis::Widget
{
public:
    explicit PersonalTesselWidget(Trellis::Widget* parent = nullptr);
    ~PersonalTesselWidget() override;

    /// The card's identity. May be called again for another card.
    virtual void setCode(unsigned long code) = 0;
    /// The card's owner; an empty record where nobody is known.
    virtual void setProperties(const TesselServiceAPI::PersonalMarkerProperties& properties) = 0;
};
}
