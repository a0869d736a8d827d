#include "table/Shelves.hpp"

#include <Tavola/AttributeCheck.hpp>
#include <Tavola/Component.hpp>
#include <Tavola/ContentMenuWidget.hpp>
#include <Trellis/Widget.hpp>
#include <Vecta/Angle.hpp>

namespace Host
{
namespace
{
void put(Trellis::Widget& widget, const Presentation::Place& place, std::size_t number)
{
    widget.addCSSClass("shelf");
    widget.addCSSClass("place-" + QByteArray::number(qulonglong(number)));
    const float angle = float(Vecta::degreesToRadians(double(place.angleDegrees)));
    // Where its style puts it, seen from the place.
    const Vecta::Vector2f location = place.point + widget.location().rotated(angle);
    const float rotation = widget.rotation() + angle;
    widget.setRotation(rotation);
    widget.setLocation(location);
}
}

void putShelves(const Presentation& presentation, Trellis::Widget& layer,
                std::vector<std::shared_ptr<Tavola::UIComponent>>& components)
{
    Tavola::AttributeCheck attributes;
    for (ComponentUse use : presentation.shelf) {
        Tavola::ContentMenuWidget::readFiles(use);
        // Once, not for each place.
        const auto component = attributes.run(use) ? use.makeComponent() : nullptr;
        if (!component)
            continue;
        components.push_back(component);
        for (std::size_t i = 0; i < presentation.places.size(); ++i) {
            const auto widget = component->createContentWidget();
            if (!widget)
                break;
            layer.addChild(widget);
            put(*widget, presentation.places[i], i + 1);
        }
    }
}
}
