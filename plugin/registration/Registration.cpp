// The static registrants of the plug-in's components and attributes. They are in one file, so that they register in this order
// when the library is loaded, and unregister in the reverse order when it is unloaded.

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
