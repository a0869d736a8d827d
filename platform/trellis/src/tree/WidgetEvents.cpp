#include "tree/WidgetEvents.hpp"

namespace Trellis::WidgetEvents
{
const Facet::EventName kInteractionBegin("interaction-begin");
const Facet::EventName kInteractionEnd("interaction-end");
const Facet::EventName kFingerDown("finger-down");
const Facet::EventName kFingerUp("finger-up");
const Facet::EventName kSingleTap("single-tap");
const Facet::EventName kMarkerDown("marker-down");
const Facet::EventName kMarkerUp("marker-up");
}
