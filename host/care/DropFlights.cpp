#include "care/DropFlights.hpp"

#include "care/Drags.hpp"
#include "care/FlyingPicture.hpp"

#include <Tavola/DropListener.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/Widget.hpp>

#include <algorithm>

namespace Host
{
namespace
{
using Trellis::Widget;

/// The larger side of the picture; a flight is short.
constexpr int kPicturePx = 360;

/// The drop area at the point that shows a hover.
Widget* takerAt(Widget& widget, Vecta::Vector2f scenePoint)
{
    const auto& children = widget.children();
    for (auto child = children.rbegin(); child != children.rend(); ++child)
        if (Widget* const found = takerAt(**child, scenePoint))
            return found;
    const bool isTaker = dynamic_cast<const Tavola::DropListener*>(&widget) && widget.parent()
        && widget.parent()->hasPseudoClass("valid-hover") && widget.isInside(widget.mapFromScene(scenePoint));
    return isTaker ? &widget : nullptr;
}

void fly(Widget& dragged, Widget& taker, Widget& overlay, Vecta::Vector2f finger)
{
    if (taker.children().empty())
        return;
    // A tile is made in the drop, so it is the last child.
    Widget& tile = *taker.children().back();
    const QImage picture = Trellis::Application::instance()->renderWidgetToImage(dragged, kPicturePx);
    if (picture.isNull())
        return;
    FlyingPicture::addTo(overlay, picture, {finger, dragged.size() * dragged.scale(), dragged.rotation()}, tile);
}

/// Puts the content below all of `above` that lie beside it, without changing the order of the others.
void lowerBelow(Widget& layer, Widget& dragged, const std::vector<const Widget*>& above)
{
    const auto children = layer.children(); // a copy: the order changes
    const auto lowest = std::find_if(children.begin(), children.end(), [&above](const auto& child) {
        return std::find(above.begin(), above.end(), child.get()) != above.end();
    });
    dragged.lowerToBottom();
    for (auto child = lowest; child != children.begin();)
        (*--child)->lowerToBottom();
}
}

void DropFlights::update(Widget& content, Widget* overlay, const std::vector<Drag>& drags)
{
    for (const Drag& drag : drags) {
        // The hover's end clears this class; a drop that is refused ends the hover, an accepted one does not.
        const bool isAccepted =
            !drag.isHeld && drag.isDragging && drag.widget->parent() == &content && drag.widget->hasPseudoClass("valid-drop");
        Widget* const taker = isAccepted ? takerAt(content, drag.finger) : nullptr;
        if (!taker)
            continue;
        if (overlay)
            fly(*drag.widget, *taker, *overlay, drag.finger);
        std::vector<const Widget*> above{taker->nearest([&content](const Widget& w) { return w.parent() == &content; })};
        for (const auto& weak : drag.covering)
            above.push_back(weak.lock().get());
        lowerBelow(content, *drag.widget, above);
    }
}
}
