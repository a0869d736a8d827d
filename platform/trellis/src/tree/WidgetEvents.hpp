#pragma once

#include <Facet/EventName.hpp>

/// The events that every widget sends.
namespace Trellis::WidgetEvents
{
extern const Facet::EventName kInteractionBegin;
extern const Facet::EventName kInteractionEnd;
extern const Facet::EventName kFingerDown;
extern const Facet::EventName kFingerUp;
extern const Facet::EventName kSingleTap;
extern const Facet::EventName kMarkerDown;
extern const Facet::EventName kMarkerUp;
}
