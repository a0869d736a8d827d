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
/// The first one below the widget that has a list.
const Trellis::Widget* firstWithClasses(const Trellis::Widget& widget)
{
    for (const auto& child : widget.children()) {
        if (!CareAttributes::openedClasses(*child).isEmpty())
            return child.get();
        if (const Trellis::Widget* const found = firstWithClasses(*child))
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
    const Trellis::Widget* const some = detector->eventHasListeners("marker-down") ? firstWithClasses(root) : nullptr;
    if (some && some->cssType() != detector->cssType())
        detector = root.findAllByType(some->cssType()).front();
    for (const QString& name : CareAttributes::openedClasses(*detector))
        opened->addCSSClass(name.toUtf8());
}
}
