#include "care/OpenedClasses.hpp"

#include "care/CardOpenings.hpp"
#include "care/CareAttributes.hpp"

#include <Trellis/GrabManager.hpp>
#include <Trellis/InputGrabber.hpp>
#include <Trellis/Widget.hpp>

namespace Host
{
namespace
{
bool isDetector(const Trellis::Widget& widget)
{
    return widget.attribute("marker-filters") != nullptr;
}

/// The first detector below the widget, in the order of the tree; null when there is none.
const Trellis::Widget* firstDetector(const Trellis::Widget& widget)
{
    for (const auto& child : widget.children()) {
        if (isDetector(*child))
            return child.get();
        if (const Trellis::Widget* const found = firstDetector(*child))
            return found;
    }
    return nullptr;
}
}

void giveOpenedClasses(const CardOpening& opening, const Trellis::Widget& root, const Trellis::GrabManager& grabManager)
{
    const Trellis::InputGrabber* const grabber = grabManager.grabber(opening.card.id());
    const auto opened = opening.widget.lock();
    if (!grabber || !opened)
        return;
    const Trellis::Widget* detector = &grabber->widget();
    if (!isDetector(*detector) && detector->eventHasListeners("marker-down"))
        detector = firstDetector(root);
    if (!detector)
        return;
    for (const QString& name : CareAttributes::openedClasses(*detector))
        opened->addCSSClass(name.toUtf8());
}
}
