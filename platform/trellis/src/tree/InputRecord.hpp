#pragma once

#include <Facet/AttributeT.hpp>
#include <Trellis/InputGrabber.hpp>

namespace Trellis
{
/// Whether a widget can be touched, and what is kept of its touches; the counts are written by the input.
struct InputRecord
{
    explicit InputRecord(Widget* host);

    Facet::AttributeT<bool> inputTransparent;

    InputGrabber grabber;
    bool inputDisabled = false; ///< the widget and what is in it receive no input
    bool holdsFingers = false;  ///< what fingers do inside moves nothing above it
    bool fadingOut = false;     ///< as inputDisabled, from the beginning of a fade that ends the widget
    int fingersHeld = 0;        ///< fingers that move this widget or came down on it
    double lastTouch = 0.0;     ///< frame time

    [[nodiscard]] bool isClosed() const noexcept { return inputDisabled || fadingOut; }
};
}
