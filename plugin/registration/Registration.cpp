// What the plug-in offers, made known to the host by static objects while the library is loaded. They live in this one file,
// so that they register in this order and leave in the reverse one.

#include "detector/WidgetTesselDetectorOperator.hpp"
#include "registration/FactoryRegistrant.hpp"
#include "registration/PersonalComponents.hpp"

#include <Cascara/LazyAttributeManager.hpp>
#include <Trellis/Widget.hpp>

namespace Tavola
{
namespace
{
const FactoryRegistrant<WidgetComponent> personalSpaceRegistrant("personal-space-widget", makePersonalSpaceComponent);
const FactoryRegistrant<WidgetComponent> emailPopupRegistrant("email-widget-popup", makeEmailPopupComponent);
const FactoryRegistrant<CustomWidgetInstanceComponent> personalFolderRegistrant("personal-folder", makePersonalFolderComponent);
const FactoryRegistrant<CustomWidgetInstanceComponent> tesselDetectorRegistrant("tavola-personal-tessel-detector",
                                                                                makeTesselDetectorComponent);
const Cascara::LazyAttributeManager::Registrant trackTesselsRegistrant("track-tessels-on-widget", createTrackTesselsAttribute);
}
}
